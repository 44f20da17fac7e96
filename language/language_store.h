// Loads language texts: a zone of the table inside the executable, or a text file that the user named.
//
// Runs on the thread of the windows only. Failures are shown to the user and leave what was loaded so far.
#pragma once

#include <cstdint>
#include <span>

#include "language/language_settings.h"

/// Adds the texts of a zone of the table (pszZoneLabel, such as "[Zone_English]"), or of the language text file if
/// pszFilePath is not null; a file that cannot be read is reported and the English zone loaded in its place.
void LoadLanguageStrings(TextTable* pTable, const char* pszZoneLabel, const char* pszFilePath);

/// The same for a zone of a table that is given as bytes, in the form of the executable's own.
void LoadLanguageZone(TextTable* pTable, const char* pszZoneLabel, std::span<const uint8_t> table);

/// Loads the general zone, with the names of the languages, into generalTable. Once, at start-up.
void LoadGeneralTexts(LanguageSettings* pSettings);

/// Makes slotTable hold the language of languageCode, and only that. A code that names no language gives English.
void ApplyLanguage(LanguageSettings* pSettings);
