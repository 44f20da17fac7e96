#include "platform/files/file_handle.h"

#include <algorithm>

#include "platform/system/windows_api.h"

namespace {

constexpr size_t kLargestCall = size_t{1} << 30;

HANDLE ToHandle(intptr_t hFile) {
    return reinterpret_cast<HANDLE>(hFile);
}

// INVALID_HANDLE_VALUE, which the calls on files give when they fail, is -1.
intptr_t OpenFile(const std::string& strPath, DWORD dwAccess, DWORD dwDisposition) {
    return reinterpret_cast<intptr_t>(CreateFileA(strPath.c_str(), dwAccess, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                                  nullptr, dwDisposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

DWORD CallSize(size_t nSize) {
    return static_cast<DWORD>(std::min(nSize, kLargestCall));
}

}  // namespace

FileError CFileHandle::Close() {
    const intptr_t hFile = std::exchange(m_hFile, kNone);
    if (hFile == kNone || CloseHandle(ToHandle(hFile)) != 0) return 0;
    return LastFileError();
}

CFileHandle CFileHandle::OpenToRead(const std::string& strPath) {
    return CFileHandle(OpenFile(strPath, GENERIC_READ, OPEN_EXISTING));
}

CFileHandle CFileHandle::OpenToReplace(const std::string& strPath) {
    return CFileHandle(OpenFile(strPath, GENERIC_WRITE, CREATE_ALWAYS));
}

CFileHandle CFileHandle::OpenToAppend(const std::string& strPath) {
    CFileHandle file(OpenFile(strPath, GENERIC_WRITE, OPEN_ALWAYS));
    if (!file.IsOpen()) return file;
    // The high half must be asked for: without it the call fails in a file of 4 GiB and more.
    LONG nHigh = 0;
    const DWORD dwLow = SetFilePointer(ToHandle(file.m_hFile), 0, &nHigh, FILE_END);
    const DWORD dwError = dwLow == INVALID_SET_FILE_POINTER ? GetLastError() : NO_ERROR;
    if (dwError == NO_ERROR) return file;
    // The close must not replace the reason that the caller will read.
    static_cast<void>(file.Close());
    SetLastError(dwError);
    return file;
}

CFileHandle CFileHandle::OpenToChange(const std::string& strPath) {
    return CFileHandle(OpenFile(strPath, GENERIC_WRITE | DELETE, OPEN_EXISTING));
}

CFileHandle CFileHandle::CreateForOwner(const std::string& strPath) {
    return CreateForAll(strPath);
}

CFileHandle CFileHandle::CreateForAll(const std::string& strPath) {
    return CFileHandle(OpenFile(strPath, GENERIC_WRITE, CREATE_NEW));
}

int64_t CFileHandle::Read(void* pBuffer, size_t nSize) const {
    DWORD dwRead = 0;
    return ReadFile(ToHandle(m_hFile), pBuffer, CallSize(nSize), &dwRead, nullptr) != 0 ? int64_t{dwRead} : -1;
}

int64_t CFileHandle::Write(const void* pData, size_t nSize) const {
    DWORD dwWritten = 0;
    return WriteFile(ToHandle(m_hFile), pData, CallSize(nSize), &dwWritten, nullptr) != 0 ? int64_t{dwWritten} : -1;
}

FileError CFileHandle::Flush() const {
    return FlushFileBuffers(ToHandle(m_hFile)) != 0 ? 0 : LastFileError();
}

FileError LastFileError() {
    return static_cast<FileError>(GetLastError());
}

void RemoveFile(const std::string& strPath) {
    DeleteFileA(strPath.c_str());
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
