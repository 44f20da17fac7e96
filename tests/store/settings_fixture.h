// Saved-settings files built byte by byte, without the program's own coding, and what the reader does with them.
#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/files/files.h"
#include "platform/system/message_box.h"
#include "platform/system/process.h"
#include "shell/app_settings.h"
#include "store/settings_file.h"
#include "tests/support/wait.h"

/// How often the language was chosen. Each choice makes "new" texts of the "old" ones.
inline int g_nLanguageChoices = 0;

/// The texts that the reader of a file may show.
inline TextTable Texts(const std::string& strWord) {
    TextTable texts;
    for (const uint32_t n : {30U, 31U, 64U, 65U, 66U, 215U, 216U}) texts.SetText(n, strWord + std::to_string(n));
    return texts;
}

class SettingsFile : public testing::Test {
  protected:
    SettingsFile() {
        std::filesystem::remove_all(m_folder);
        std::filesystem::create_directories(m_folder);
        std::filesystem::remove(m_strBeside);
        SetMessageHandler(TakeMessage);
    }
    ~SettingsFile() override {
        SetMessageHandler(nullptr);
        std::filesystem::remove_all(m_folder);
        std::filesystem::remove(m_strBeside);
    }

    // Fields as they stand in a file
    static std::string U8(uint32_t nValue) { return {static_cast<char>(nValue)}; }
    static std::string U16(uint32_t nValue) { return U8(nValue & 0xFF) + U8(nValue >> 8); }
    static std::string U32(uint32_t nValue) { return U16(nValue & 0xFFFF) + U16(nValue >> 16); }
    static std::string Text(const std::string& str) { return U32(static_cast<uint32_t>(str.size() + 1)) + str + '\0'; }
    static std::string Six(uint32_t n) {
        return U32(n) + U32(n + 1) + U32(n + 2) + U32(n + 3) + U32(n + 4) + U32(n + 5);
    }

    /// The first 64 bytes of a file.
    static std::string Header(const std::string& strName = "Velmoorstack ZELKOR", uint32_t nMajor = 1,
                              uint32_t nMinor = 0) {
        const std::string strMagic = "\x7C\x55\xD3\x92\x6E\x94\x45\x48\xA5\x51\xF5\xF1\xD0\xAF\xE4\x40";
        return strMagic + Text(strName) + U32(nMajor) + U32(nMinor) + std::string(16, '\0');
    }
    /// An operation record with these lists, as they stand in the file with their sizes.
    static std::string Record(const std::string& strAllow, const std::string& strBlock, uint32_t nRunning = 0) {
        return U8(3) + U32(17) + U8(nRunning) + U8(0) + Text("here") + "\x7F\x01\x02\x03" + U16(0x1234) +
               Text("there.example") + U16(0xFEDC) + U32(0xFFFFFFFE) + U32(70000) + U8(5) + U8(6) + strAllow + strBlock;
    }
    static inline const std::string kRange = "\x0A\x01\x02\x03\x0A\x01\x02\x63";

    /// A file in which every field differs from its default and from its neighbours, in parts that a test can replace.
    struct FileText {
        std::string m_strHeader = Header();
        std::string m_strAhead =
            U32(7) + U8(9) + Text("kept") + U32(11) + U32(0xFFFFFFF4) + U32(13) + U32(14) + U32(3) + Six(21) + Six(31);
        std::string m_strCount = U32(3);
        std::vector<std::string> m_records = {Record(U32(0), U32(0)),
                                              Record(U32(16) + kRange + kRange, U32(8) + kRange, 2),
                                              Record(U32(0), U32(8) + kRange, 1)};
        std::string m_strFirst = Text("lastif");  // behind the records
        std::string m_strBehind = Text("lasthost") + U8(41) + U8(42) + U8(43) + U16(0x4445) + U16(0x4647) + U32(48) +
                                  U32(49) + U8(51) + U8(52) + U8(53) + U8(54) + U8(55) + Text("resolver") +
                                  Text("afrom") + Text("bfrom") + Text("ato") + Text("bto") + U32(61) + U8(62) +
                                  U8(63) + Text("date") + Text("logfile") + Text("entry") + U32(64) + Text("profiles") +
                                  Text("logs") + U32(65) + U8(66) + U8(67) + U8(68) + U8(69) + Text("language.txt");

        /// The bytes ahead of a record, or of what follows the records.
        std::string Ahead(size_t nRecord) const {
            std::string strBytes = m_strHeader + m_strAhead + m_strCount;
            for (size_t n = 0; n < nRecord; ++n) strBytes += m_records[n];
            return strBytes;
        }
        std::string Bytes() const { return Ahead(m_records.size()) + m_strFirst + m_strBehind; }
    };

    static void Write(const std::string& strPath, const std::string& strBytes) {
        EXPECT_EQ(WriteWholeFile(strPath, {strBytes.begin(), strBytes.end()}), 0);
    }
    static std::string Read(const std::string& strPath) {
        std::vector<uint8_t> data;
        EXPECT_EQ(ReadWholeFile(strPath, &data), 0);
        return {data.begin(), data.end()};
    }
    /// Reads a file into a new record.
    SettingsFileResult LoadFrom(const std::string& strPath) {
        s_messages.clear();
        g_nLanguageChoices = 0;
        m_pSettings = std::make_unique<AppSettings>();
        m_pSettings->slotTable.Replace(Texts("old"));
        return LoadSettingsFile(m_pSettings.get(), strPath);
    }
    SettingsFileResult Load(const std::string& strBytes) {
        Write(m_strPath, strBytes);
        return LoadFrom(m_strPath);
    }
    /// The same for the file beside the executable, with the answer that the user would give to a question.
    SettingsFileResult LoadBeside(const std::string& strBytes, bool bAnswer = true) {
        Write(m_strBeside, strBytes);
        s_bAnswer = bAnswer;
        return LoadFrom("");
    }
    /// The bytes that a save of the record gives.
    std::string Save() {
        EXPECT_EQ(SaveSettingsFile(Settings(), m_strPath.c_str()), 0);
        return Read(m_strPath);
    }
    AppSettings& Settings() { return *m_pSettings; }
    OpSettings& Op(size_t nIndex) { return Settings().operations.at(nIndex)->m_settings; }

    static bool TakeMessage(const Message& message) {
        s_messages.push_back(message.strText + "|" + message.strCaption +
                             (message.icon == MessageIcon::Question ? "|?" : "|") +
                             (message.icon == MessageIcon::Information ? "i" : "") +
                             (message.buttons == MessageButtons::YesNo ? "|yes no" : "") +
                             (message.buttons == MessageButtons::Ok ? "|ok" : ""));
        return s_bAnswer;
    }
    /// The questions and messages of a load: "text|caption|icon|buttons".
    static inline std::vector<std::string> s_messages;
    static inline bool s_bAnswer = true;

    CWatchdog m_watchdog;
    std::unique_ptr<AppSettings> m_pSettings;
    const std::filesystem::path m_folder = std::filesystem::absolute("settings_test_files");
    const std::string m_strPath = (m_folder / "zelkor.KVR").string();
    const std::string m_strBeside = SettingsPathFor(ModulePath());
};
