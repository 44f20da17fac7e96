// Makes Win32 calls for a program that is none of Windows, so that it can drive the windows there.
//
// Each line of standard input is a call: library, function and at most twelve arguments, separated by blanks.
//   NUMBER    this value, negative or not
//   =BYTES    the address of these bytes, given in hexadecimal, and a NUL behind them
//   ~SIZE     the address of so many zero bytes, for what the function writes
// The answer is a line: the result as an unsigned number of 64 bits, and for each argument that is an address a point
// and the bytes that now stand there, in hexadecimal, up to the last one that is not zero. The first call that cannot
// be made ends the program with code 1, the end of the input with 0.
#include <array>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <list>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>

#include "platform/system/windows_api.h"

namespace {

using Values = std::array<uintptr_t, 12>;

std::string FromHex(const std::string& strHex) {
    std::string strBytes;
    for (size_t n = 0; n + 1 < strHex.size(); n += 2) {
        strBytes += static_cast<char>(std::strtoul(strHex.substr(n, 2).c_str(), nullptr, 16));
    }
    return strBytes;
}

std::string ToHex(const std::string& strBytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string strHex;
    for (const char ch : strBytes.substr(0, strBytes.find_last_not_of('\0') + 1)) {
        strHex += kDigits[static_cast<unsigned char>(ch) >> 4];
        strHex += kDigits[ch & 15];
    }
    return strHex;
}

/// Null when there is no such function.
FARPROC FunctionOf(std::istream& line) {
    std::string strLibrary;
    std::string strFunction;
    line >> strLibrary >> strFunction;
    const HMODULE hLibrary = LoadLibraryA(strLibrary.c_str());
    return hLibrary ? GetProcAddress(hLibrary, strFunction.c_str()) : nullptr;
}

// The caller of a function clears the stack here, so that arguments beyond those it takes do no harm.
template <size_t... N>
uint64_t Call(FARPROC pfnFunction, const Values& values, std::index_sequence<N...> /*all*/) {
    using Function = uint64_t(WINAPI*)(std::tuple_element_t<N, Values>...);
    return reinterpret_cast<Function>(reinterpret_cast<void*>(pfnFunction))(values[N]...);
}

/// False when the call cannot be made.
bool Answer(const std::string& strLine) {
    std::istringstream line(strLine);
    const FARPROC pfnFunction = FunctionOf(line);
    if (!pfnFunction) return false;
    Values values = {};
    size_t nValues = 0;
    std::list<std::string> bytes;
    for (std::string strWord; line >> strWord; ++nValues) {
        if (nValues == values.size()) return false;
        const char chKind = strWord[0];
        if (chKind == '=') bytes.push_back(FromHex(strWord.substr(1)));
        if (chKind == '~') bytes.emplace_back(std::strtoul(strWord.c_str() + 1, nullptr, 10), '\0');
        values[nValues] = chKind == '=' || chKind == '~'
                              ? reinterpret_cast<uintptr_t>(bytes.back().data())
                              : static_cast<uintptr_t>(std::strtoll(strWord.c_str(), nullptr, 10));
    }
    std::cout << Call(pfnFunction, values, std::make_index_sequence<std::tuple_size_v<Values>>());
    for (const std::string& strBytes : bytes) std::cout << " ." << ToHex(strBytes);
    std::cout << std::endl;
    return true;
}

}  // namespace

int main() {
    for (std::string strLine; std::getline(std::cin, strLine);) {
        if (!Answer(strLine)) return 1;
    }
    return 0;
}
