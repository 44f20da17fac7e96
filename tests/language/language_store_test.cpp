// The language in force: the zones of the executable, the language text file, failures, and reading while it changes.
#include "language/language_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <random>
#include <thread>
#include <utility>

#include "language/zones.h"
#include "platform/files/files.h"
#include "platform/system/language_table.h"
#include "platform/system/message_box.h"
#include "tests/language/texts.h"
#include "tests/support/failing_new.h"

namespace {

namespace fs = std::filesystem;

const std::string kNoSize =
    "Unable to determine language strings file size: "
    "Language strings file is of size zero or has no size, English will be used...";
const std::string kNotOpened =
    "Unable to open language strings file: Unable to open language strings file, English will be used...";
const std::string kNoMemory = "Unable to allocate the memory for the language strings: ";
const std::string kNoMemoryToParse =
    "Unable to allocate the memory needed to parse the language strings buffer, English will be used...";

// "caption: text" of what the test has not yet looked at.
std::string g_strMessages;

bool CollectMessage(const Message& message) {
    EXPECT_TRUE(message.icon == MessageIcon::Error && message.buttons == MessageButtons::Ok);
    g_strMessages += message.strCaption + ": " + message.strText;
    return true;
}

class LanguageStore : public testing::Test {
  protected:
    LanguageStore() { SetMessageHandler(CollectMessage); }
    ~LanguageStore() override {
        EXPECT_EQ(std::exchange(g_strMessages, {}), "") << "told without a reason";
        FailNextAllocationOf(0);
        SetMessageHandler(nullptr);
        fs::remove(m_strFile);
    }

    std::string Slot(uint32_t nSlot) const { return m_settings.slotTable.Text(nSlot); }
    /// What is in force after this choice.
    Texts Apply(uint32_t dwCode) {
        m_settings.languageCode = dwCode;
        ApplyLanguage(&m_settings);
        EXPECT_EQ(m_settings.languageCode, dwCode);
        return TextsOf(*m_settings.slotTable.Snapshot());
    }
    Texts ApplyFileAt(const std::string& strPath) {
        m_settings.languageFilePath = strPath;
        return Apply(LANGUAGE_FILE);
    }
    Texts ApplyFile(const std::vector<uint8_t>& bytes) {
        EXPECT_EQ(WriteWholeFile(m_strFile, bytes), 0);
        return ApplyFileAt(m_strFile);
    }
    Texts ApplyFile(std::u16string_view strText) { return ApplyFile(Utf16Bytes(strText)); }
    /// The load failed with this message, and the English texts are in force.
    void ExpectEnglishAfter(const std::string& strMessage) {
        EXPECT_EQ(std::exchange(g_strMessages, {}), strMessage);
        EXPECT_EQ(Slot(6), "Error");
    }

    // Tests of one program may run at the same time, each in a process of its own.
    const std::string m_strFile =
        (fs::temp_directory_path() / ("zelkor_language_" + std::to_string(std::random_device()()) + ".txt")).string();
    LanguageSettings m_settings;
};

// Saved files hold the codes. What the code page of the tests lacks is shown as an upside-down question mark, which
// only Spanish texts have of their own; Western ones lose nothing.
TEST_F(LanguageStore, CodesSelectZonesWithTheirNamesAndPrompts) {
    const auto table = LanguageTableResource();
    ptrdiff_t nMarks = 0;
    for (size_t n = 0; n + 1 < table.size(); n += 2) nMarks += table[n] == 0xBF && table[n + 1] == 0;
    LoadGeneralTexts(&m_settings);
    const auto pGeneral = m_settings.generalTable.Snapshot();
    std::string strZones;
    for (const LanguageZone& zone : LanguageZones()) {
        const std::string strPrompt = pGeneral->Text(zone.nPromptSlot);
        Texts texts = Apply(zone.dwCode);
        strZones += std::to_string(zone.dwCode) + " " + pGeneral->Text(zone.nNameSlot) + " " +
                    strPrompt.substr(0, strPrompt.find(' ')) + " " + texts[2] + "\n";
        if (zone.dwCode == 4 || zone.dwCode == 6 || zone.dwCode == 9) continue;
        for (const auto& [nSlot, strText] : texts) nMarks -= std::ranges::count(strText, '\xBF');
    }
    std::ranges::replace(strZones, '\xBF', '?');
    EXPECT_EQ(strZones,
              "0 English Please Close\n8 Nederlands Gelieve Sluiten\n1 Deutsch W\xE4hlen Schlie\xDF\x65n\n"
              "2 Fran\xE7\x61is Veuillez Fermer\n3 Espa\xF1ol Elija Cerrar\n5 Portuguese Escolha Fechar\n"
              "7 Italiano Scelga Chiudi\n4 ??? ???????????? ???\n6 ?? ??????? ??\n9 ?????? ?????????? ???????\n");
    EXPECT_EQ(nMarks, 0);
    EXPECT_EQ(TextsOf(*pGeneral).size(), 20U);
    for (const uint32_t dwCode : {10U, 999U, 1001U, 0xFFFFFFFFU}) EXPECT_EQ(Apply(dwCode), Apply(0)) << dwCode;
}

TEST_F(LanguageStore, FileGivesItsOwnSlotsAndNoOthers) {
    for (const uint32_t nSlot : {0U, 1023U, 1024U, 0xFFFFFFFFU}) EXPECT_EQ(Slot(nSlot), "") << nSlot;
    Apply(1);
    EXPECT_EQ(ApplyFile(u"\r\n[0]\tnull\r\n[5]\tfive \r\n"), (Texts{{0, "null"}, {5, "five"}}));
    EXPECT_EQ(ApplyFile(u"[0]\tzero\r\n[1]\tone\r\n"), (Texts{{1, "one"}})) << "no line end ahead of the first";
    EXPECT_EQ(ApplyFile(u"\uFEFF\r\n[0]\tzero\r\n[1]\tone\r\n"), (Texts{{0, "zero"}, {1, "one"}}));
    EXPECT_EQ(ApplyFile(u"\uFEFF[Zone_Mine]\r\n[1]\tone\r\n[Zone_Yours]\r\n[2]\ttwo\r\n"), (Texts{{1, "one"}}));
}

TEST_F(LanguageStore, FileInAnotherEncodingGivesNothingAndAnOddByteIsDropped) {
    const std::string strText = "\r\n[0]\tzero\r\n[1]\tone\r\n";
    EXPECT_EQ(ApplyFile({strText.begin(), strText.end()}), Texts{});
    EXPECT_EQ(ApplyFile(std::vector<uint8_t>{'x'}), Texts{});
    std::vector<uint8_t> bytes = Utf16Bytes(u"\r\n[1]\tone");
    bytes.push_back('x');
    EXPECT_EQ(ApplyFile(bytes), (Texts{{1, "one"}}));
}

TEST_F(LanguageStore, FileThatCannotBeReadGivesEnglish) {
    for (const std::string& strPath : {std::string(), m_strFile, fs::temp_directory_path().string()}) {
        ApplyFileAt(strPath);
        ExpectEnglishAfter(kNoSize);
        EXPECT_EQ(m_settings.languageFilePath, strPath);
    }
    ApplyFile(u"");
    ExpectEnglishAfter(kNoSize);
    fs::resize_file(m_strFile, (uint64_t{64} << 20) + 2);
    ApplyFileAt(m_strFile);
    ExpectEnglishAfter(kNotOpened);
}

TEST_F(LanguageStore, WithoutMemoryAFileGivesEnglishAndAZoneNothing) {
    const std::u16string strText = u"\r\n[1]\t" + std::u16string(20000, u'x');
    // The units of the file with their terminator, then the bytes that they are converted to.
    for (const size_t nSize : {2 * (strText.size() + 1), strText.size() + 1}) {
        FailNextAllocationOf(nSize);
        ApplyFile(strText);
        ExpectEnglishAfter(kNoMemory + kNoMemoryToParse);
    }
    EXPECT_EQ(ApplyFile(strText)[1].size(), 20000U);
    FailNextAllocationOf(LanguageTableResource().size() + 2);
    EXPECT_EQ(Apply(0), Texts{});
    Apply(0);
    ExpectEnglishAfter(kNoMemory + "Fatal: " + kNoMemoryToParse);
}

TEST_F(LanguageStore, SecondLoadOnlyAdds) {
    TextTable table;
    table.SetText(600, "kept");
    LoadLanguageStrings(&table, "[Zone_Deutsch]", nullptr);
    LoadLanguageStrings(&table, kGeneralZone, nullptr);
    EXPECT_EQ(table.Text(600) + table.Text(4) + table.Text(202), "keptDeutschDatei");
}

// A reader that finds one German text in a snapshot finds nothing but German there, and what it holds stays alive.
TEST_F(LanguageStore, ReadersNeverSeeHalfALanguage) {
    Apply(0);
    std::atomic<bool> bStop = false;
    std::atomic<int> nReads = 0;
    std::thread reader([&] {
        for (; !bStop; ++nReads) {
            const auto pTable = m_settings.slotTable.Snapshot();
            EXPECT_EQ(pTable->Text(202), pTable->Text(6) == "Fehler" ? "Datei" : "File");
            EXPECT_NE(Slot(143), "");
        }
    });
    for (uint32_t nRound = 0; nRound < 20 || nReads < 1000; ++nRound) Apply(nRound % 2);
    bStop = true;
    reader.join();
}

}  // namespace
