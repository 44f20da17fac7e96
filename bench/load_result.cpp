#include "bench/load_result.h"

#include <cstdio>

namespace {

// Texts here are the system's messages and this program's own: hardly more than a quotation mark could be in the way.
std::string Quoted(std::string strText) {
    for (char& ch : strText) {
        if (ch == '"' || ch == '\\' || static_cast<unsigned char>(ch) < ' ') ch = '\'';
    }
    return '"' + strText + '"';
}

}  // namespace

LoadResult FailedLoad(std::string strError) {
    LoadResult result;
    result.strError = std::move(strError);
    return result;
}

void PrintResult(const LoadResult& result) {
    std::string strLine = "{";
    for (const auto& [strName, dValue] : result.figures) {
        char text[64];
        std::snprintf(text, sizeof text, "%.17g", dValue);
        strLine += Quoted(strName) + ": " + text + ", ";
    }
    std::printf("%s\"error\": %s}\n", strLine.c_str(), Quoted(result.strError).c_str());
    std::fflush(stdout);
}
