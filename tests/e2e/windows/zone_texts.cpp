#include "tests/e2e/windows/zone_texts.h"

#include <sstream>

#include "platform/system/windows_api.h"
#include "resources/resource.h"

namespace {

std::wstring TableOf(const std::string& strProgram) {
    const HMODULE hProgram = LoadLibraryExA(strProgram.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    if (!hProgram) return {};
    std::wstring strTable;
    const HRSRC hTable = FindResourceA(hProgram, MAKEINTRESOURCEA(IDR_LANGUAGE_TABLE), "TEXT");
    if (const HGLOBAL hData = hTable ? LoadResource(hProgram, hTable) : nullptr) {
        strTable.assign(static_cast<const wchar_t*>(LockResource(hData)), SizeofResource(hProgram, hTable) / 2);
    }
    FreeLibrary(hProgram);
    return strTable;
}

std::string ToCodePage(const std::wstring& strWide) {
    const int nWide = static_cast<int>(strWide.size());
    std::string strNarrow(strWide.size() * 4, '\0');
    const int nSize = static_cast<int>(strNarrow.size());
    const int n = WideCharToMultiByte(CP_ACP, 0, strWide.data(), nWide, strNarrow.data(), nSize, "\xBF", nullptr);
    strNarrow.resize(static_cast<size_t>(n));
    return strNarrow;
}

}  // namespace

std::map<int, std::string> ZoneTexts(const std::string& strProgram, const std::string& strZone) {
    const std::string strTable = ToCodePage(TableOf(strProgram));
    const size_t nZone = strTable.find("[" + strZone + "]");
    if (nZone == std::string::npos) return {};
    std::istringstream lines(strTable.substr(nZone));
    std::string strLine;
    std::getline(lines, strLine);
    std::map<int, std::string> texts;
    while (std::getline(lines, strLine) && !strLine.starts_with("[Zone_")) {
        if (strLine.ends_with('\r')) strLine.pop_back();
        const size_t nTab = strLine.find("]\t");
        if (strLine.starts_with('[') && nTab != std::string::npos) {
            texts[std::stoi(strLine.substr(1))] = strLine.substr(nTab + 2);
        }
    }
    return texts;
}
