#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "platform/files/file_handle.h"
#include "platform/files/files_system.h"

namespace {

constexpr mode_t kNewFileMode = 0666;  // the user's mask takes off what he does not want

// A named pipe that nobody serves fails or reads as empty at once: a wait for its other end could not be ended, since
// the program holds the end signals back. Ordinary files know no such wait.
CFileHandle OpenFile(const std::string& strPath, int nFlags) {
    return CFileHandle(open(strPath.c_str(), nFlags | O_CLOEXEC | O_NONBLOCK, kNewFileMode));
}

int Descriptor(const CFileHandle& file) {
    return static_cast<int>(file.Get());
}

}  // namespace

FileError CFileHandle::Close() {
    const int nDescriptor = static_cast<int>(std::exchange(m_hFile, kNone));
    if (nDescriptor < 0 || close(nDescriptor) == 0) return 0;
    // An interrupted close has given the number back all the same.
    return errno == EINTR ? 0 : errno;
}

CFileHandle OpenToRead(const std::string& strPath) {
    return OpenFile(strPath, O_RDONLY);
}

CFileHandle OpenToReplace(const std::string& strPath) {
    return OpenFile(strPath, O_WRONLY | O_CREAT | O_TRUNC);
}

CFileHandle OpenToAppend(const std::string& strPath) {
    return OpenFile(strPath, O_WRONLY | O_CREAT | O_APPEND);
}

int64_t ReadSome(const CFileHandle& file, void* pBuffer, size_t nSize) {
    for (;;) {
        const ssize_t nRead = read(Descriptor(file), pBuffer, nSize);
        if (nRead >= 0 || errno != EINTR) return nRead;
    }
}

int64_t WriteSome(const CFileHandle& file, const void* pData, size_t nSize) {
    for (;;) {
        const ssize_t nWritten = write(Descriptor(file), pData, nSize);
        if (nWritten >= 0 || errno != EINTR) return nWritten;
    }
}

FileError LastFileError() {
    return errno;
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

std::string ModulePath() {
    std::array<char, 10000> buffer = {};
    const ssize_t nLength = readlink("/proc/self/exe", buffer.data(), buffer.size());
    // A text that fills the buffer may have been cut.
    if (nLength <= 0 || static_cast<size_t>(nLength) == buffer.size()) return {};
    return {buffer.data(), static_cast<size_t>(nLength)};
}

std::string SystemErrorText(int32_t nError) {
    std::array<char, 256> buffer = {};
    return strerror_r(nError, buffer.data(), buffer.size());
}
