// The languages: their codes, their zones in the table, and the general texts that name them.
#pragma once

#include <cstdint>
#include <span>

struct LanguageZone {
    uint32_t dwCode;       // a value of languageCode
    const char* pszLabel;  // the line that opens the zone
    uint32_t nNameSlot;    // general slot of the language's own name
    uint32_t nPromptSlot;  // general slot of "Please choose your language" in it
};

inline constexpr char kGeneralZone[] = "[Zone_General]";
inline constexpr char kEnglishZone[] = "[Zone_English]";

/// In the order of the table. The first is English.
std::span<const LanguageZone> LanguageZones();

/// The zone of a language; English for a code that names no zone.
const LanguageZone& ZoneOfLanguage(uint32_t dwCode);
