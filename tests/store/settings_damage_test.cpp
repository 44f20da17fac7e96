// Files that break off or lie about a size: what was read stays, and nothing else happens.
#include <algorithm>

#include "store/settings_format.h"
#include "tests/store/settings_fixture.h"
#include "tests/support/failing_new.h"

TEST_F(SettingsFile, AFileCutAnywhereGivesWhatItHolds) {
    const FileText file;
    const std::string strWhole = file.Bytes();
    const size_t nRecords = file.Ahead(0).size();
    const size_t nBehind = file.Ahead(3).size();
    for (size_t nSize = 0; nSize < strWhole.size(); ++nSize) {
        SCOPED_TRACE(nSize);
        const SettingsFileResult result = Load(strWhole.substr(0, nSize));
        const bool bRefused = nSize < 40;  // in the magic or the name
        EXPECT_EQ(result.status == SettingsFileStatus::CutOff, !bRefused);
        EXPECT_EQ(s_messages.size(), bRefused ? 1u : 0u);
        int32_t nWhole = 0;
        while (nWhole < 3 && file.Ahead(static_cast<size_t>(nWhole) + 1).size() <= nSize) ++nWhole;
        EXPECT_EQ(Settings().opCount, nWhole);
        EXPECT_EQ(std::ssize(Settings().operations), nWhole);
        EXPECT_EQ(Settings().runningOpCount, std::max(0, nWhole - 1));
        EXPECT_EQ(Settings().languageCode, nSize < 68 ? 0u : 7u);
        EXPECT_EQ(Settings().columnWidths.back(), nSize < nRecords - 4 ? 93 : 36);
        EXPECT_EQ(Settings().lastOptions.m_strLocalInterface, nSize < nBehind + Text("lastif").size() ? "" : "lastif");
        EXPECT_EQ(Settings().trayPromptDone, nSize < strWhole.size() - Text("language.txt").size() ? 0 : 69);
        EXPECT_EQ(Settings().languageFilePath, bRefused ? "chosen.txt" : "");
    }
    const std::string strInVersion = strWhole.substr(0, 47);
    EXPECT_EQ(LoadBeside(strInVersion, false).status, SettingsFileStatus::OtherVersion);
    const SettingsFileResult result = LoadBeside(strInVersion, true);
    EXPECT_EQ(result.status, SettingsFileStatus::CutOff);
    EXPECT_EQ(result.strVersion, "");
    EXPECT_TRUE(result.bOtherVersion);
}

TEST_F(SettingsFile, TextCountsHaveLimits) {
    const std::string strMillion(1'000'000, 'x');
    for (const auto& [strField, bRead, strText] : {std::tuple<std::string, bool, std::string>{U32(0), false, ""},
                                                   {U32(0xFFFFFFFF), false, ""},
                                                   {U32(0x80000000), false, ""},
                                                   {U32(1'000'001) + strMillion + '\0', false, ""},
                                                   {U32(1'000'000) + strMillion, true, strMillion},
                                                   {U32(1) + '\0', true, ""},
                                                   {U32(3) + "abc", true, "abc"},
                                                   {U32(8) + std::string("ab\0c\0\0\0\0", 8), true, "ab"}}) {
        FileText file;
        file.m_strFirst = strField;
        EXPECT_EQ(Load(file.Bytes()).status, bRead ? SettingsFileStatus::Complete : SettingsFileStatus::CutOff);
        EXPECT_TRUE(Settings().lastOptions.m_strLocalInterface == strText) << strText.size();
        EXPECT_EQ(Settings().lastOptions.m_strRemoteHost, bRead ? "lasthost" : "");
        EXPECT_EQ(Settings().opCount, 3);
    }
    Settings().lastOptions.m_strLocalInterface = std::string("ab\0cd", 5);
    Settings().lastOptions.m_strRemoteHost = std::string(1'000'005, 'x');
    EXPECT_EQ(Load(Save()).status, SettingsFileStatus::Complete) << "a text is written so that it can be read";
    EXPECT_EQ(Settings().lastOptions.m_strLocalInterface, "ab");
    EXPECT_EQ(Settings().lastOptions.m_strRemoteHost.size(), 999'999u);
}

TEST_F(SettingsFile, ABadListSizeBreaksTheRecordOff) {
    for (const uint32_t nSize : {0xFFFFFFFFu, 0xFFFFFFF8u, 0x80000000u, 4u, 7u, 9u, 0x7FFFFFF8u, 0x7FFFFFFFu}) {
        SCOPED_TRACE(nSize);
        const std::string strBad = U32(nSize) + kRange + kRange;
        for (const std::string& strRecord : {Record(strBad, U32(0), 1), Record(U32(0), strBad, 1)}) {
            FileText file;
            file.m_records[1] = strRecord;
            EXPECT_EQ(Load(file.Bytes()).status, SettingsFileStatus::CutOff);
            EXPECT_EQ(Settings().opCount, 1);
            EXPECT_EQ(Settings().runningOpCount, 0);
            EXPECT_EQ(Settings().firstOp->m_pNext, nullptr);
            EXPECT_EQ(Settings().lastOptions, OpSettings());
        }
    }
}

TEST_F(SettingsFile, AZeroInFrontOfARangeEndsTheList) {
    const std::string strEnd(8, '\0');
    const std::string strNoLast = kRange.substr(0, 4) + std::string(4, '\0');  // matches nothing, but ends no list
    FileText file;
    file.m_records = {Record(U32(24) + kRange + strEnd + kRange, U32(8) + strEnd),
                      Record(U32(16) + strNoLast + kRange, U32(0))};
    file.m_strCount = U32(2);
    EXPECT_EQ(Load(file.Bytes()).status, SettingsFileStatus::Complete);
    EXPECT_EQ(Op(0).m_allowRanges.size(), 1u);
    file.m_records[0] = Record(U32(8) + kRange, U32(0));
    EXPECT_EQ(Save(), file.Bytes()) << "what lies behind the end is not written";
    Op(1).m_allowRanges.insert(Op(1).m_allowRanges.begin(), IpRange{});
    EXPECT_EQ(Load(Save()).status, SettingsFileStatus::Complete);
    EXPECT_TRUE(Op(1).m_allowRanges.empty());
}

TEST_F(SettingsFile, TheCountOfOperationsIsNotBelieved) {
    FileText file;
    for (const uint32_t nCount : {4u, 1'000'000u, 0x7FFFFFFFu}) {
        file.m_strCount = U32(nCount);
        const SettingsFileResult result = Load(file.Ahead(3));
        EXPECT_EQ(result.status, SettingsFileStatus::CutOff);
        EXPECT_EQ(result.nOperationsTold, static_cast<int32_t>(nCount));
        EXPECT_EQ(Settings().opCount, 3);
    }
    file.m_records.clear();
    for (const uint32_t nCount : {0u, 0xFFFFFFFFu, 0x80000000u}) {
        file.m_strCount = U32(nCount);
        EXPECT_EQ(Load(file.Bytes()).status, SettingsFileStatus::Complete);
        EXPECT_EQ(Settings().firstOp, nullptr);
        EXPECT_EQ(Settings().lastOptions.m_nMaxSessions, 48) << "what follows the records is read";
    }
}

TEST_F(SettingsFile, WantOfMemoryEndsTheReadingOrTheWriting) {
    FileText file;
    file.m_strFirst = Text(std::string(77'776, 'x'));
    const std::string strBytes = file.Bytes();
    for (const auto& [nSize, nOperations] : {std::pair{sizeof(CPortForwardOp), 0}, {size_t{77'777}, 3}}) {
        FailNextAllocationOf(nSize);
        EXPECT_EQ(Load(strBytes).status, SettingsFileStatus::CutOff);
        FailNextAllocationOf(0);
        EXPECT_EQ(Settings().opCount, nOperations);
        EXPECT_EQ(Settings().languageCode, 7u);
        EXPECT_EQ(Settings().lastOptions.m_strLocalInterface, "");
    }
    FailNextAllocationOf(kFileMagic.size());  // the first of the image
    EXPECT_NE(SaveSettingsFile(Settings(), m_strPath.c_str()), 0);
    FailNextAllocationOf(0);
    EXPECT_TRUE(Read(m_strPath) == strBytes) << "the file is touched only when the image stands";
}
