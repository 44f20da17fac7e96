#include "platform/files/file_handle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

constexpr mode_t kNewFileMode = 0666;  // the user's mask takes off what he does not want
constexpr mode_t kOwnerMode = 0600;

// A named pipe that nobody serves fails or reads as empty at once: a wait for its other end could not be ended, since
// the program holds the end signals back. Ordinary files know no such wait.
int OpenFile(const std::string& strPath, int nFlags, mode_t nMode = kNewFileMode) {
    return open(strPath.c_str(), nFlags | O_CLOEXEC | O_NONBLOCK, nMode);
}

int Descriptor(intptr_t hFile) {
    return static_cast<int>(hFile);
}

}  // namespace

FileError CFileHandle::Close() {
    const int nDescriptor = Descriptor(std::exchange(m_hFile, kNone));
    if (nDescriptor < 0 || close(nDescriptor) == 0) return 0;
    // An interrupted close has given the number back all the same.
    return errno == EINTR ? 0 : errno;
}

CFileHandle CFileHandle::OpenToRead(const std::string& strPath) {
    return CFileHandle(OpenFile(strPath, O_RDONLY));
}

CFileHandle CFileHandle::OpenToReplace(const std::string& strPath) {
    return CFileHandle(OpenFile(strPath, O_WRONLY | O_CREAT | O_TRUNC));
}

CFileHandle CFileHandle::OpenToAppend(const std::string& strPath) {
    return CFileHandle(OpenFile(strPath, O_WRONLY | O_CREAT | O_APPEND));
}

CFileHandle CFileHandle::OpenToChange(const std::string& strPath) {
    return CFileHandle(OpenFile(strPath, O_WRONLY));
}

CFileHandle CFileHandle::CreateForOwner(const std::string& strPath) {
    return CFileHandle(OpenFile(strPath, O_WRONLY | O_CREAT | O_EXCL, kOwnerMode));
}

CFileHandle CFileHandle::CreateForAll(const std::string& strPath) {
    return CFileHandle(OpenFile(strPath, O_WRONLY | O_CREAT | O_EXCL));
}

int64_t CFileHandle::Read(void* pBuffer, size_t nSize) const {
    for (;;) {
        const ssize_t nRead = read(Descriptor(m_hFile), pBuffer, nSize);
        if (nRead >= 0 || errno != EINTR) return nRead;
    }
}

int64_t CFileHandle::Write(const void* pData, size_t nSize) const {
    for (;;) {
        const ssize_t nWritten = write(Descriptor(m_hFile), pData, nSize);
        if (nWritten >= 0 || errno != EINTR) return nWritten;
    }
}

FileError CFileHandle::Flush() const {
    for (;;) {
        if (fsync(Descriptor(m_hFile)) == 0) return 0;
        if (errno != EINTR) return errno;
    }
}

FileError LastFileError() {
    return errno;
}

void RemoveFile(const std::string& strPath) {
    unlink(strPath.c_str());
}

FileError TooLargeError() {
    return EFBIG;
}

FileError NoMemoryError() {
    return ENOMEM;
}

FileError DiskFullError() {
    return ENOSPC;
}

int64_t FileSize(const std::string& strPath) {
    struct stat status = {};
    if (stat(strPath.c_str(), &status) != 0) return 0;
    return S_ISDIR(status.st_mode) ? -1 : status.st_size;
}
