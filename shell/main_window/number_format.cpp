#include "shell/main_window/number_format.h"

#include <array>
#include <cstdio>

namespace {

constexpr double kStep = 1024.0;
constexpr std::array<char, 5> kPrefixes = {'K', 'M', 'G', 'T', 'P'};

struct Scaled {
    double dValue;
    char chPrefix;  // 0 below the first step
};

// What lies above the last unit stays in it.
Scaled Scale(double dValue) {
    Scaled scaled = {dValue, 0};
    for (const char chPrefix : kPrefixes) {
        if (scaled.dValue < kStep) break;
        scaled = {scaled.dValue / kStep, chPrefix};
    }
    return scaled;
}

std::string Print(const Scaled& scaled, const char* pszUnit) {
    // The largest double has 309 digits ahead of the point.
    std::array<char, 400> text = {};
    const int nLength =
        scaled.chPrefix == 0
            ? std::snprintf(text.data(), text.size(), "%.0f %s", scaled.dValue, pszUnit)
            : std::snprintf(text.data(), text.size(), "%.2f %c%s", scaled.dValue, scaled.chPrefix, pszUnit);
    return {text.data(), static_cast<size_t>(nLength)};
}

}  // namespace

std::string FormatBytes(double dBytes) {
    const Scaled scaled = Scale(dBytes);
    return Print(scaled, scaled.chPrefix == 0 ? "Bytes" : "B");
}

std::string FormatRate(double dRate, char chUnit) {
    return Print(Scale(dRate), chUnit == 'b' ? "bps" : "Bps");
}
