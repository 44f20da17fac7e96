#include "language/zones.h"

namespace {

constexpr LanguageZone kZones[] = {
    {0, kEnglishZone, 0, 1},        {8, "[Zone_Nederlands]", 2, 3}, {1, "[Zone_Deutsch]", 4, 5},
    {2, "[Zone_Francais]", 6, 7},   {3, "[Zone_Espanol]", 8, 9},    {5, "[Zone_Portuguese]", 10, 11},
    {7, "[Zone_Italiano]", 12, 13}, {4, "[Zone_Japanese]", 14, 15}, {6, "[Zone_Chinese]", 16, 17},
    {9, "[Zone_Russian]", 18, 19},
};

}  // namespace

std::span<const LanguageZone> LanguageZones() {
    return kZones;
}

const LanguageZone& ZoneOfLanguage(uint32_t dwCode) {
    for (const LanguageZone& zone : kZones) {
        if (zone.dwCode == dwCode) return zone;
    }
    return kZones[0];
}
