#include "language/language_store.h"

#include <algorithm>
#include <new>
#include <span>
#include <vector>

#include "language/language_parser.h"
#include "language/zones.h"
#include "platform/files/files.h"
#include "platform/system/code_page.h"
#include "platform/system/language_table.h"
#include "platform/system/message_box.h"

namespace {

constexpr char kNoMemoryCaption[] = "Unable to allocate the memory for the language strings";

void ShowFailure(const char* pszText, const char* pszCaption) try {
    Message message;
    message.strText = pszText;
    message.strCaption = pszCaption;
    message.icon = MessageIcon::Error;
    ShowMessage(message);
} catch (const std::bad_alloc&) {
    // Not even the message finds room. The texts stay as they are, which the user sees.
}

void ShowNoMemoryForFile() {
    ShowFailure("Unable to allocate the memory needed to parse the language strings buffer, English will be used...",
                kNoMemoryCaption);
}

void ShowNoMemoryForTable() {
    ShowFailure(
        "Fatal: Unable to allocate the memory needed to parse the language strings buffer, English will be used...",
        kNoMemoryCaption);
}

// Little-endian bytes as units, of which the last nLeftOut do not count. An odd last byte is dropped.
bool ConvertTable(std::span<const uint8_t> bytes, size_t nLeftOut, std::string* pstrText) try {
    std::u16string strWide(bytes.size() / 2, u'\0');
    for (size_t n = 0; n < strWide.size(); ++n) {
        strWide[n] = static_cast<char16_t>(bytes[2 * n] | bytes[2 * n + 1] << 8);
    }
    strWide.resize(strWide.size() - std::min(strWide.size(), nLeftOut));
    return WideToAnsi(strWide, pstrText);
} catch (const std::bad_alloc&) {
    return false;
}

// False when the file gives no working text; the user has then been told why.
bool ReadLanguageFile(const std::string& strPath, std::string* pstrText) {
    if (FileSize(strPath) <= 0) {
        ShowFailure("Language strings file is of size zero or has no size, English will be used...",
                    "Unable to determine language strings file size");
        return false;
    }
    std::vector<uint8_t> bytes;
    const FileError nError = ReadWholeFile(strPath, &bytes);
    if (nError == NoMemoryError() || (nError == 0 && !ConvertTable(bytes, 0, pstrText))) {
        ShowNoMemoryForFile();
        return false;
    }
    if (nError != 0) {
        ShowFailure("Unable to open language strings file, English will be used...",
                    "Unable to open language strings file");
        return false;
    }
    return true;
}

// The texts in force stay when there is no room for the new ones.
void Install(TextTable table, SlotTable* pTable) try {
    pTable->Replace(std::move(table));
} catch (const std::bad_alloc&) {
    ShowNoMemoryForTable();
}

}  // namespace

void LoadLanguageZone(TextTable* pTable, const char* pszZoneLabel, std::span<const uint8_t> table) {
    std::string strText;
    // The last unit of the table, the LF of its last line, counts as its terminator.
    if (!ConvertTable(table, 1, &strText)) {
        ShowNoMemoryForTable();
        return;
    }
    const size_t nStart = FindZone(strText, pszZoneLabel);
    if (nStart != std::string::npos) ParseLanguageTexts(strText, nStart, pTable);
}

void LoadLanguageStrings(TextTable* pTable, const char* pszZoneLabel, const char* pszFilePath) {
    std::string strText;
    if (pszFilePath == nullptr) {
        LoadLanguageZone(pTable, pszZoneLabel, LanguageTableResource());
    } else if (ReadLanguageFile(pszFilePath, &strText)) {
        ParseLanguageTexts(strText, 0, pTable);
    } else {
        LoadLanguageZone(pTable, kEnglishZone, LanguageTableResource());
    }
}

void LoadGeneralTexts(LanguageSettings* pSettings) {
    TextTable table;
    LoadLanguageStrings(&table, kGeneralZone, nullptr);
    Install(std::move(table), &pSettings->generalTable);
}

void ApplyLanguage(LanguageSettings* pSettings) {
    TextTable table;
    if (pSettings->languageCode == LANGUAGE_FILE) {
        LoadLanguageStrings(&table, kEnglishZone, pSettings->languageFilePath.c_str());
    } else {
        LoadLanguageStrings(&table, ZoneOfLanguage(pSettings->languageCode).pszLabel, nullptr);
    }
    Install(std::move(table), &pSettings->slotTable);
}
