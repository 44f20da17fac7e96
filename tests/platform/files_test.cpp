#include "platform/files/files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/files/file_handle.h"

namespace {

FileError Write(const std::string& strPath, const std::string& strText) {
    return WriteWholeFile(strPath, {strText.begin(), strText.end()});
}

FileError Save(const std::string& strPath, const std::string& strText) {
    return SaveWholeFile(strPath, {strText.begin(), strText.end()});
}

// In the place of an error, behind which the output must be empty: "refused".
std::string Read(const std::string& strPath) {
    std::vector<uint8_t> data = {'o', 'l', 'd'};
    const FileError nError = ReadWholeFile(strPath, &data);
    return (nError == 0 ? "" : "refused") + std::string(data.begin(), data.end());
}

TEST(Files, AFileHoldsWhatWasWrittenLast) {
    std::string strLong(3 * 65536 + 1, 'x');
    strLong[70000] = '\0';
    strLong[65535] = '\n';
    std::filesystem::remove_all("folder");
    std::filesystem::create_directory("folder");
    for (const auto pfnWrite : {Save, Write, Save}) {
        for (const std::string& strText :
             {strLong, std::string(65536, 'y'), std::string("a\r\nb\x1a"), std::string()}) {
            EXPECT_EQ(pfnWrite("folder/file", strText), 0);
            EXPECT_EQ(Read("folder/file"), strText);
            EXPECT_EQ(FileSize("folder/file"), static_cast<int64_t>(strText.size()));
        }
    }
    const CFileHandle reader = CFileHandle::OpenToRead("folder/file");
    EXPECT_EQ(Save("folder/file", "new"), 0) << "open in another place";
    EXPECT_EQ(Read("folder/file"), "new");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator("folder"), {}), 1) << "something was left behind";
}

TEST(Files, AppendingKeepsWhatIsThere) {
    std::filesystem::remove("log");
    EXPECT_EQ(AppendToFile("log", "\r\none"), 0);
    EXPECT_EQ(AppendToFile("log", ""), 0);
    const CFileHandle reader = CFileHandle::OpenToRead("log");
    EXPECT_EQ(AppendToFile("log", std::string("\r\ntwo\0", 6)), 0) << "open in another place";
    EXPECT_EQ(Read("log"), std::string("\r\none\r\ntwo\0", 11));
}

TEST(Files, WhatCannotBeOpenedIsRefused) {
    for (const char* const pszPath : {".", "no/file", ""}) {
        EXPECT_EQ(Read(pszPath), "refused") << pszPath;
        EXPECT_NE(Write(pszPath, "x"), 0) << pszPath;
        EXPECT_NE(Save(pszPath, "x"), 0) << pszPath;
        EXPECT_NE(AppendToFile(pszPath, "x"), 0) << pszPath;
        EXPECT_EQ(FileSize(pszPath), std::string(pszPath) == "." ? -1 : 0) << pszPath;
    }
    EXPECT_FALSE(std::filesystem::exists("no"));
}

TEST(Files, AFileAboveTheLimitAndAFullDiskAreRefused) {
    constexpr size_t kLimit = size_t{64} << 20;
    EXPECT_EQ(Write("large", ""), 0);
    std::filesystem::resize_file("large", kLimit);
    EXPECT_EQ(Read("large").size(), kLimit);
    std::filesystem::resize_file("large", kLimit + 1);
    EXPECT_EQ(Read("large"), "refused");
    EXPECT_EQ(FileSize("large"), int64_t{kLimit + 1});
    std::filesystem::remove("large");
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no such devices on this system";
    EXPECT_EQ(Read("/dev/zero"), "refused");
    EXPECT_NE(Write("/dev/full", "x"), 0);
    EXPECT_NE(Save("/dev/full", "x"), 0);
    EXPECT_NE(AppendToFile("/dev/full", "x"), 0);
}

}  // namespace
