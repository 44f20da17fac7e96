// The language part of the program's record: which language is chosen, and the texts in force.
#pragma once

#include <cstdint>
#include <string>

#include "language/text_table.h"

/// `languageCode` of the language text file that the user chose.
inline constexpr uint32_t LANGUAGE_FILE = 1000;

/// The thread of the windows (on Linux: the thread that runs main) writes; texts are read by any thread.
struct LanguageSettings {
    uint32_t languageCode = 0;
    SlotTable slotTable;           // not saved
    SlotTable generalTable;        // not saved; fixed after start-up
    std::string languageFilePath;  // of LANGUAGE_FILE
};
