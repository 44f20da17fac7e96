// The choice of a language and the texts that it puts in force.
//
// The application record is one of these, so that it lives as long as the run. The thread of the windows (on Linux: the
// thread that runs main) reads and writes all of it; other threads touch only the field that says so.
#pragma once

#include <cstdint>
#include <string>

#include "language/text_table.h"

/// `languageCode` of the language text file that the user chose.
inline constexpr uint32_t LANGUAGE_FILE = 1000;

struct LanguageSettings {
    uint32_t languageCode = 0;
    SlotTable slotTable;     // any thread reads
    SlotTable generalTable;  // fixed after start-up
    std::string languageFilePath;
};
