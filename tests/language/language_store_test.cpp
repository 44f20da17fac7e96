// The language in force: zones, the language text file, failures, and reading while it changes.
#include "language/language_store.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "platform/files/files.h"
#include "platform/system/language_table.h"
#include "tests/language/language_fixture.h"
#include "tests/support/failing_new.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kNoSize[] =
    "Unable to determine language strings file size: "
    "Language strings file is of size zero or has no size, English will be used...";
constexpr char kNoMemoryForFile[] =
    "Unable to allocate the memory for the language strings: "
    "Unable to allocate the memory needed to parse the language strings buffer, English will be used...";
constexpr char kNotOpened[] =
    "Unable to open language strings file: Unable to open language strings file, English will be used...";
constexpr char kNoMemoryForTable[] =
    "Unable to allocate the memory for the language strings: "
    "Fatal: Unable to allocate the memory needed to parse the language strings buffer, English will be used...";

using LanguageStore = CLanguageTest;

TEST_F(LanguageStore, CodesSelectZonesAndUnknownCodesEnglish) {
    Apply(1);
    EXPECT_EQ(Slot(6), "Fehler");
    for (const uint32_t dwCode : {0U, 10U, 999U, 1001U, 0xFFFFFFFFU}) {
        Apply(dwCode);
        EXPECT_EQ(Slot(6), "Error") << dwCode;
        EXPECT_EQ(m_settings.languageCode, dwCode);
    }
    EXPECT_THAT(TakeMessages(), IsEmpty());
}

TEST_F(LanguageStore, GeneralTextsNameTheLanguages) {
    LoadGeneralTexts(&m_settings);
    EXPECT_EQ(m_settings.generalTable.Text(4), "Deutsch");
    EXPECT_EQ(m_settings.generalTable.Text(6),
              "Fran\xE7"
              "ais");
    EXPECT_EQ(m_settings.generalTable.Text(14), "\xBF\xBF\xBF");
    EXPECT_EQ(m_settings.generalTable.Text(20), "");
}

TEST_F(LanguageStore, NothingIsReadBeforeTheFirstLoadAndBeyondTheTable) {
    EXPECT_EQ(Slot(0), "");
    EXPECT_EQ(Slot(1024), "");
    EXPECT_EQ(Slot(0xFFFFFFFF), "");
}

TEST_F(LanguageStore, FileGivesItsOwnSlotsAndNoOthers) {
    Apply(1);
    ApplyFile(u"\r\n[0]\tnull\r\n[5]\tfive \r\n");
    EXPECT_EQ(Slot(0), "null");
    EXPECT_EQ(Slot(5), "five");
    EXPECT_THAT(FilledSlots(), ElementsAre(0, 5));
    EXPECT_THAT(TakeMessages(), IsEmpty());
}

TEST_F(LanguageStore, FileBeginsWithALineEndOrLosesItsFirstEntry) {
    ApplyFile(u"[0]\tzero\r\n[1]\tone\r\n");
    EXPECT_THAT(FilledSlots(), ElementsAre(1));
    ApplyFile(u"\uFEFF\r\n[0]\tzero\r\n[1]\tone\r\n");
    EXPECT_THAT(FilledSlots(), ElementsAre(0, 1));
    ApplyFile(u"\uFEFF[Zone_Mine]\r\n[1]\tone\r\n[Zone_Yours]\r\n[2]\ttwo\r\n");
    EXPECT_THAT(FilledSlots(), ElementsAre(1));
}

TEST_F(LanguageStore, FileInAnotherEncodingGivesNothingWithoutAMessage) {
    const std::string strText = "\r\n[0]\tzero\r\n[1]\tone\r\n";
    ApplyFile(std::vector<uint8_t>(strText.begin(), strText.end()));
    EXPECT_THAT(FilledSlots(), IsEmpty());
    ApplyFile(std::vector<uint8_t>{'x'});
    EXPECT_THAT(FilledSlots(), IsEmpty());
    EXPECT_THAT(TakeMessages(), IsEmpty());
}

TEST_F(LanguageStore, OddLastByteIsDropped) {
    std::vector<uint8_t> bytes = Utf16Bytes(u"\r\n[1]\tone");
    bytes.push_back('x');
    ApplyFile(bytes);
    EXPECT_EQ(Slot(1), "one");
}

TEST_F(LanguageStore, FileWithoutASizeGivesEnglish) {
    std::vector<std::string> paths = {"", m_file.string(), std::filesystem::temp_directory_path().string()};
    for (const std::string& strPath : paths) {
        m_settings.languageFilePath = strPath;
        Apply(LANGUAGE_FILE);
        EXPECT_THAT(TakeMessages(), ElementsAre(kNoSize)) << strPath;
        EXPECT_EQ(Slot(6), "Error");
        EXPECT_EQ(m_settings.languageCode, LANGUAGE_FILE);
        EXPECT_EQ(m_settings.languageFilePath, strPath);
    }
    ApplyFile(std::vector<uint8_t>());
    EXPECT_THAT(TakeMessages(), ElementsAre(kNoSize));
}

TEST_F(LanguageStore, FileThatCannotBeReadGivesEnglish) {
    ASSERT_EQ(WriteWholeFile(m_file.string(), {'x'}), 0);
    std::filesystem::resize_file(m_file, (uint64_t{64} << 20) + 2);
    m_settings.languageFilePath = m_file.string();
    Apply(LANGUAGE_FILE);
    EXPECT_THAT(TakeMessages(), ElementsAre(kNotOpened));
    EXPECT_EQ(Slot(6), "Error");
}

TEST_F(LanguageStore, FileWithoutMemoryForItGivesEnglish) {
    std::u16string strText = u"\r\n[1]\t";
    strText.append(20000, u'x');
    // The units of the file with their terminator, then the bytes that they are converted to.
    for (const size_t nSize : {2 * (strText.size() + 1), strText.size() + 1}) {
        FailNextAllocationOf(nSize);
        ApplyFile(strText);
        EXPECT_THAT(TakeMessages(), ElementsAre(kNoMemoryForFile)) << nSize;
        EXPECT_EQ(Slot(6), "Error");
    }
    ApplyFile(strText);
    EXPECT_EQ(Slot(1).size(), 20000U);
}

TEST_F(LanguageStore, TableWithoutMemoryForItLeavesTheSlotsEmpty) {
    Apply(1);
    FailNextAllocationOf(LanguageTableResource().size() + 2);
    Apply(0);
    EXPECT_THAT(TakeMessages(), ElementsAre(kNoMemoryForTable));
    EXPECT_THAT(FilledSlots(), IsEmpty());
    Apply(0);
    EXPECT_EQ(Slot(6), "Error");
}

TEST_F(LanguageStore, SecondLoadOnlyAdds) {
    TextTable table;
    table.SetText(600, "kept");
    LoadLanguageStrings(&table, "[Zone_Deutsch]", nullptr);
    LoadLanguageStrings(&table, "[Zone_General]", nullptr);
    EXPECT_EQ(table.Text(600), "kept");
    EXPECT_EQ(table.Text(4), "Deutsch");
    EXPECT_EQ(table.Text(202), "Datei");
}

// A reader that finds one German text in a snapshot finds nothing but German there, and what it holds stays alive.
TEST_F(LanguageStore, ReadersNeverSeeHalfALanguage) {
    Apply(0);
    std::atomic<bool> bStop = false;
    std::atomic<int> nMixed = 0;
    std::atomic<int> nReads = 0;
    const auto read = [&] {
        while (!bStop) {
            const auto pTable = m_settings.slotTable.Snapshot();
            const bool bGerman = pTable->Text(6) == "Fehler";
            if (pTable->Text(202) != (bGerman ? "Datei" : "File")) ++nMixed;
            if (m_settings.slotTable.Text(143).empty()) ++nMixed;
            ++nReads;
        }
    };
    std::thread first(read);
    std::thread second(read);
    for (uint32_t nRound = 0; nRound < 20 || nReads < 1000; ++nRound) Apply(nRound % 2);
    bStop = true;
    first.join();
    second.join();
    EXPECT_EQ(nMixed, 0);
}

}  // namespace
