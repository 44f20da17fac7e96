// Random load and random faults, for as long as it is told; every byte is checked.
//
//   zelkor_soak SECONDS [--seed N] [--program FILE]
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <optional>

#include "soak/supervisor.h"

namespace {

template <class T>
bool ReadNumber(const char* pszText, T* pnNumber) {
    const char* const pszEnd = pszText + std::strlen(pszText);
    const auto result = std::from_chars(pszText, pszEnd, *pnNumber);
    return result.ec == std::errc() && result.ptr == pszEnd;
}

std::optional<SoakOptions> ReadOptions(int nArguments, char** ppszArguments) {
    SoakOptions options;
    options.nSeed = static_cast<uint64_t>(std::chrono::system_clock::now().time_since_epoch().count());
    if (nArguments < 2 || nArguments % 2 != 0 || !ReadNumber(ppszArguments[1], &options.nSeconds)) return std::nullopt;
    for (int n = 2; n < nArguments; n += 2) {
        const bool bSeed = std::strcmp(ppszArguments[n], "--seed") == 0;
        const bool bProgram = std::strcmp(ppszArguments[n], "--program") == 0;
        if (bProgram) options.strProgram = ppszArguments[n + 1];
        if (bSeed ? !ReadNumber(ppszArguments[n + 1], &options.nSeed) : !bProgram) return std::nullopt;
    }
    return options;
}

}  // namespace

int main(int nArguments, char** ppszArguments) {
    const auto options = ReadOptions(nArguments, ppszArguments);
    if (!options || options->nSeconds < 5) {
        std::fputs("usage: zelkor_soak SECONDS [--seed N] [--program FILE]     at least 5 seconds\n", stderr);
        return 1;
    }
    return RunSoak(*options);
}
