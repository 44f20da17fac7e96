// Tables and language text files made by the tests, and what loading them gives: texts and messages.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "language/language_settings.h"
#include "platform/system/message_box.h"

/// UTF-16 little-endian bytes.
std::vector<uint8_t> Utf16Bytes(std::u16string_view strText);

/// Collects the messages of the program and owns a language text file.
class CLanguageTest : public testing::Test {
  protected:
    CLanguageTest();
    ~CLanguageTest() override;

    /// Makes the bytes, or the text in UTF-16, the language text file, chooses it and applies it.
    void ApplyFile(const std::vector<uint8_t>& bytes);
    void ApplyFile(std::u16string_view strText) { ApplyFile(Utf16Bytes(strText)); }
    void Apply(uint32_t dwCode);
    std::string Slot(uint32_t nSlot) const { return m_settings.slotTable.Text(nSlot); }
    /// The slots that hold a text.
    std::vector<uint32_t> FilledSlots() const;
    /// "caption: text" of each message since the last call.
    std::vector<std::string> TakeMessages();

    LanguageSettings m_settings;
    const std::filesystem::path m_file;
};
