// Files that break off or lie about a size: what was read stays, and nothing else happens.
#include <gmock/gmock.h>

#include <algorithm>

#include "store/settings_format.h"
#include "tests/store/settings_fixture.h"
#include "tests/support/failing_new.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kRange = "\x0A\x01\x02\x03\x0A\x01\x02\x63";

TEST_F(SettingsFile, AFileCutAnywhereGivesWhatItHolds) {
    const CFileText file;
    const std::string strWhole = file.Bytes();
    const std::string strName = Header().substr(0, 40);
    for (size_t nSize = 0; nSize < strWhole.size(); ++nSize) {
        SCOPED_TRACE(nSize);
        const SettingsFileResult result = Load(strWhole.substr(0, nSize));
        const bool bRefused = nSize < strName.size();
        EXPECT_EQ(result.status == SettingsFileStatus::CutOff, !bRefused);
        EXPECT_EQ(s_messages.size(), bRefused ? 1u : 0u);
        int32_t nWhole = 0;
        while (nWhole < 3 && file.RecordStart(static_cast<size_t>(nWhole) + 1) <= nSize) ++nWhole;
        EXPECT_EQ(Settings().opCount, nWhole);
        EXPECT_EQ(Settings().operations.size(), static_cast<size_t>(nWhole));
        EXPECT_EQ(Settings().runningOpCount, std::max(0, nWhole - 1));
        EXPECT_EQ(Settings().languageCode, nSize < 68 ? 0u : 7u);
        EXPECT_EQ(Settings().columnWidths.back(), nSize < file.RecordStart(0) - 4 ? 93 : 36);
        const size_t nBehind = file.RecordStart(3);
        EXPECT_EQ(Settings().lastOptions.m_strLocalInterface, nSize < nBehind + Text("lastif").size() ? "" : "lastif");
        EXPECT_EQ(Settings().trayPromptDone, nSize < strWhole.size() - Text("language.txt").size() ? 0 : 69);
        EXPECT_EQ(Settings().languageFilePath, bRefused ? "chosen.txt" : "");
    }
}

TEST_F(SettingsFile, AFileCutInItsVersionIsOfAnotherVersion) {
    EXPECT_EQ(LoadBeside(Header().substr(0, 47), false).status, SettingsFileStatus::OtherVersion);
    const SettingsFileResult result = LoadBeside(Header().substr(0, 47), true);
    EXPECT_EQ(result.status, SettingsFileStatus::CutOff);
    EXPECT_EQ(result.strVersion, "");
    EXPECT_TRUE(result.bOtherVersion);
}

TEST_F(SettingsFile, TextCountsHaveLimits) {
    const std::string strMillion(1'000'000, 'x');
    const struct {
        std::string strField;
        bool bRead;
        std::string strText;
    } cases[] = {
        {U32(0), false, ""},
        {U32(0xFFFFFFFF), false, ""},
        {U32(0x80000000), false, ""},
        {U32(1'000'001) + strMillion + '\0', false, ""},
        {U32(1'000'000) + strMillion, true, strMillion},
        {U32(1'000'000) + strMillion.substr(1) + '\0', true, strMillion.substr(1)},
        {U32(1) + '\0', true, ""},
        {U32(3) + "abc", true, "abc"},
        {U32(8) + std::string("ab\0c\0\0\0\0", 8), true, "ab"},
    };
    for (const auto& test : cases) {
        CFileText file;
        file.m_strBehind.replace(0, Text("lastif").size(), test.strField);
        const SettingsFileResult result = Load(file.Bytes());
        EXPECT_EQ(result.status, test.bRead ? SettingsFileStatus::Complete : SettingsFileStatus::CutOff);
        EXPECT_TRUE(Settings().lastOptions.m_strLocalInterface == test.strText) << test.strText.size();
        EXPECT_EQ(Settings().lastOptions.m_strRemoteHost, test.bRead ? "lasthost" : "");
        EXPECT_EQ(Settings().opCount, 3);
    }
}

TEST_F(SettingsFile, ATextIsWrittenSoThatItCanBeRead) {
    Load(CFileText().Bytes());
    Settings().lastOptions.m_strLocalInterface = std::string("ab\0cd", 5);
    Settings().lastOptions.m_strRemoteHost = std::string(1'000'005, 'x');
    EXPECT_EQ(Load(Save()).status, SettingsFileStatus::Complete);
    EXPECT_EQ(Settings().lastOptions.m_strLocalInterface, "ab");
    EXPECT_EQ(Settings().lastOptions.m_strRemoteHost.size(), 999'999u);
}

TEST_F(SettingsFile, ABadListSizeBreaksTheRecordOff) {
    for (const uint32_t nSize : {0xFFFFFFFFu, 0xFFFFFFF8u, 0x80000000u, 4u, 7u, 9u, 0x7FFFFFF8u, 0x7FFFFFFFu}) {
        SCOPED_TRACE(nSize);
        for (const bool bBlockList : {false, true}) {
            const std::string strBad = U32(nSize) + kRange + kRange;
            CFileText file;
            file.m_records[1] = bBlockList ? Record(U32(0), strBad, 1) : Record(strBad, U32(0), 1);
            EXPECT_EQ(Load(file.Bytes()).status, SettingsFileStatus::CutOff);
            EXPECT_EQ(Settings().opCount, 1);
            EXPECT_EQ(Settings().runningOpCount, 0);
            EXPECT_EQ(Op(0).m_pNext, nullptr);
            EXPECT_EQ(Settings().lastOptions.m_nMaxSessions, 100);
            EXPECT_THAT(s_messages, IsEmpty());
        }
    }
}

TEST_F(SettingsFile, AZeroInFrontOfARangeEndsTheList) {
    const std::string strEnd(8, '\0');
    const std::string strNoLast = kRange.substr(0, 4) + std::string(4, '\0');
    CFileText file;
    file.m_records = {Record(U32(24) + kRange + strEnd + kRange, U32(8) + strEnd),
                      Record(U32(16) + strNoLast + kRange, U32(0))};
    file.m_strCount = U32(2);
    EXPECT_EQ(Load(file.Bytes()).status, SettingsFileStatus::Complete);
    EXPECT_EQ(Op(0).m_settings.m_allowRanges.size(), 1u);
    EXPECT_TRUE(Op(0).m_settings.m_blockRanges.empty());
    EXPECT_EQ(Op(1).m_settings.m_allowRanges.size(), 2u)
        << "one without a last address matches nothing, but does not end the list";
    file.m_records[0] = Record(U32(8) + kRange, U32(0));
    EXPECT_EQ(Save(), file.Bytes()) << "what lies behind the end is not written";
    Op(1).m_settings.m_allowRanges.insert(Op(1).m_settings.m_allowRanges.begin(), IpRange{});
    EXPECT_EQ(Load(Save()).status, SettingsFileStatus::Complete);
    EXPECT_TRUE(Op(1).m_settings.m_allowRanges.empty());
}

TEST_F(SettingsFile, TheCountOfOperationsIsNotBelieved) {
    CFileText file;
    for (const uint32_t nCount : {4u, 1'000'000u, 0x7FFFFFFFu}) {
        file.m_strCount = U32(nCount);
        file.m_strBehind = "";
        const SettingsFileResult result = Load(file.Bytes());
        EXPECT_EQ(result.status, SettingsFileStatus::CutOff);
        EXPECT_EQ(result.nOperationsTold, static_cast<int32_t>(nCount));
        EXPECT_EQ(Settings().opCount, 3);
    }
    file = CFileText();
    file.m_records.clear();
    for (const uint32_t nCount : {0u, 0xFFFFFFFFu, 0x80000000u}) {
        file.m_strCount = U32(nCount);
        EXPECT_EQ(Load(file.Bytes()).status, SettingsFileStatus::Complete);
        EXPECT_EQ(Settings().opCount, 0);
        EXPECT_EQ(Settings().firstOp, nullptr);
        EXPECT_EQ(Settings().lastOptions.m_nMaxSessions, 48) << "what follows the records is read";
    }
}

TEST_F(SettingsFile, WantOfMemoryEndsTheReadingOrTheWriting) {
    const CFileText file;
    FailNextAllocationOf(sizeof(CPortForwardOp));
    EXPECT_EQ(Load(file.Bytes()).status, SettingsFileStatus::CutOff);
    FailNextAllocationOf(0);
    EXPECT_EQ(Settings().opCount, 0);
    EXPECT_EQ(Settings().languageCode, 7u);
    CFileText longText;
    longText.m_strBehind.replace(0, Text("lastif").size(), Text(std::string(77'776, 'x')));
    const std::string strBytes = longText.Bytes();
    FailNextAllocationOf(77'777);
    EXPECT_EQ(Load(strBytes).status, SettingsFileStatus::CutOff);
    FailNextAllocationOf(0);
    EXPECT_EQ(Settings().opCount, 3);
    EXPECT_EQ(Settings().lastOptions.m_strLocalInterface, "");
    FailNextAllocationOf(kFileMagic.size());  // the first of the image
    EXPECT_NE(SaveSettingsFile(Settings(), m_strPath.c_str()), 0);
    FailNextAllocationOf(0);
    EXPECT_TRUE(Read(m_strPath) == strBytes) << "the file is touched only when the image stands";
}

}  // namespace
