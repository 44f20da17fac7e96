#include <algorithm>
#include <array>

#include "platform/files/files_system.h"
#include "platform/system/windows_api.h"

namespace {

constexpr DWORD kModulePathSize = 10000;
constexpr size_t kLargestCall = size_t{1} << 30;

HANDLE ToHandle(intptr_t hFile) {
    return reinterpret_cast<HANDLE>(hFile);
}

CFileHandle OpenFileToWrite(const std::string& strPath, DWORD dwDisposition) {
    return CFileHandle(
        reinterpret_cast<intptr_t>(CreateFileA(strPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                               nullptr, dwDisposition, FILE_ATTRIBUTE_NORMAL, nullptr)));
}

DWORD CallSize(size_t nSize) {
    return static_cast<DWORD>(std::min(nSize, kLargestCall));
}

}  // namespace

static_assert(CFileHandle::kNone == -1, "the empty value must be INVALID_HANDLE_VALUE");

FileError CFileHandle::Close() {
    const intptr_t hFile = std::exchange(m_hFile, kNone);
    if (hFile == kNone || CloseHandle(ToHandle(hFile)) != 0) return 0;
    return LastFileError();
}

CFileHandle OpenToRead(const std::string& strPath) {
    return CFileHandle(
        reinterpret_cast<intptr_t>(CreateFileA(strPath.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                               nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)));
}

CFileHandle OpenToReplace(const std::string& strPath) {
    return OpenFileToWrite(strPath, CREATE_ALWAYS);
}

CFileHandle OpenToAppend(const std::string& strPath) {
    CFileHandle file = OpenFileToWrite(strPath, OPEN_ALWAYS);
    if (!file.IsOpen()) return file;
    // The high half must be asked for: without it the call fails in a file of 4 GiB and more.
    LONG nHigh = 0;
    const DWORD dwLow = SetFilePointer(ToHandle(file.Get()), 0, &nHigh, FILE_END);
    const DWORD dwError = dwLow == INVALID_SET_FILE_POINTER ? GetLastError() : NO_ERROR;
    if (dwError == NO_ERROR) return file;
    // The close must not replace the reason that the caller will read.
    static_cast<void>(file.Close());
    SetLastError(dwError);
    return file;
}

int64_t ReadSome(const CFileHandle& file, void* pBuffer, size_t nSize) {
    DWORD dwRead = 0;
    return ReadFile(ToHandle(file.Get()), pBuffer, CallSize(nSize), &dwRead, nullptr) != 0 ? int64_t{dwRead} : -1;
}

int64_t WriteSome(const CFileHandle& file, const void* pData, size_t nSize) {
    DWORD dwWritten = 0;
    return WriteFile(ToHandle(file.Get()), pData, CallSize(nSize), &dwWritten, nullptr) != 0 ? int64_t{dwWritten} : -1;
}

FileError LastFileError() {
    return static_cast<FileError>(GetLastError());
}

FileError TooLargeError() {
    return ERROR_FILE_TOO_LARGE;
}

FileError NoMemoryError() {
    return ERROR_NOT_ENOUGH_MEMORY;
}

FileError DiskFullError() {
    return ERROR_DISK_FULL;
}

int64_t FileSize(const std::string& strPath) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (GetFileAttributesExA(strPath.c_str(), GetFileExInfoStandard, &data) == 0) return 0;
    if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return -1;
    return (int64_t{data.nFileSizeHigh} << 32) | int64_t{data.nFileSizeLow};
}

std::string ModulePath() {
    std::array<char, kModulePathSize> buffer = {};
    const DWORD dwLength = GetModuleFileNameA(GetModuleHandleA(nullptr), buffer.data(), kModulePathSize);
    // A text that fills the buffer has been cut.
    return dwLength < kModulePathSize ? std::string(buffer.data(), dwLength) : std::string();
}

std::string SystemErrorText(int32_t nError) {
    std::array<char, 1024> buffer = {};
    const DWORD dwFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
    const DWORD dwLength = FormatMessageA(dwFlags, nullptr, static_cast<DWORD>(nError), 0, buffer.data(),
                                          static_cast<DWORD>(buffer.size()), nullptr);
    std::string strText(buffer.data(), dwLength);
    while (!strText.empty() && static_cast<unsigned char>(strText.back()) <= ' ') strText.pop_back();
    return strText.empty() ? "Unknown error " + std::to_string(nError) : strText;
}
