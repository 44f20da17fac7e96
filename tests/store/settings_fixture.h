// Saved-settings files built byte by byte, without the program's own coding, and what the reader does with them.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/system/message_box.h"
#include "shell/app_settings.h"
#include "store/settings_file.h"
#include "tests/support/wait.h"

// Fields as they stand in a file.
std::string U8(uint32_t nValue);
std::string U16(uint32_t nValue);
std::string U32(uint32_t nValue);
std::string Text(const std::string& strText);

/// The first 64 bytes of a file.
std::string Header(const std::string& strName = "Velmoorstack ZELKOR", uint32_t nMajor = 1, uint32_t nMinor = 0);

/// A file in which every field differs from its default and from its neighbours, in parts that a test can replace.
class CFileText {
  public:
    CFileText();
    std::string Bytes() const;
    /// Where a record, or what follows the records, begins in Bytes.
    size_t RecordStart(size_t nRecord) const;

    std::string m_strHeader = Header();
    std::string m_strAhead;
    std::string m_strCount;
    std::vector<std::string> m_records;
    std::string m_strBehind;
};

/// An operation record with these lists, as they stand in the file with their sizes.
std::string Record(const std::string& strAllowList, const std::string& strBlockList, uint32_t nRunning = 0);

class SettingsFile : public testing::Test {
  protected:
    SettingsFile();
    ~SettingsFile() override;

    /// Puts the bytes into a file and reads that into a new record.
    SettingsFileResult Load(const std::string& strBytes);
    /// The same for the file beside the executable, with the answer that the user would give to a question.
    SettingsFileResult LoadBeside(const std::string& strBytes, bool bAnswer = true);
    SettingsFileResult LoadFrom(const std::string& strPath);
    /// The bytes that a save of the record gives.
    std::string Save();
    std::string Read(const std::string& strPath);
    AppSettings& Settings() { return *m_pSettings; }
    CPortForwardOp& Op(size_t nIndex);

    static bool TakeMessage(const Message& message);
    static inline std::vector<Message> s_messages;
    static inline bool s_bAnswer = true;

    CWatchdog m_watchdog;
    std::unique_ptr<AppSettings> m_pSettings;
    const std::filesystem::path m_folder = std::filesystem::absolute("settings_test_files");
    const std::string m_strPath = (m_folder / "zelkor.KVR").string();
    const std::string m_strBeside;
};

/// How often the language was chosen. Each choice makes "new" texts of the "old" ones.
extern int g_nLanguageChoices;
