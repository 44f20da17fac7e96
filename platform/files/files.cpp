#include "platform/files/files.h"

#include <new>

#include "platform/files/file_handle.h"
#include "platform/files/file_replacement.h"

namespace {

// The files of the program are thousands of bytes long, and the largest list of operations that a user could type in
// is a few million. An endless special file must not take the machine's memory.
constexpr size_t kMaxFileSize = size_t{64} << 20;
constexpr size_t kReadSize = size_t{64} << 10;

FileError ReadToEnd(const CFileHandle& file, std::vector<uint8_t>* pData) {
    // The size that the system tells is no help: special files tell 0, and a file can grow meanwhile.
    for (;;) {
        const size_t nHave = pData->size();
        if (nHave > kMaxFileSize) return TooLargeError();
        pData->resize(nHave + kReadSize);
        const int64_t nRead = file.Read(pData->data() + nHave, kReadSize);
        if (nRead < 0) return LastFileError();
        pData->resize(nHave + static_cast<size_t>(nRead));
        if (nRead == 0) return 0;
    }
}

// One call writes all, or the disk is full: the calls behind it are there to learn the reason.
FileError WriteAll(const CFileHandle& file, const char* pBytes, size_t nSize) {
    size_t nDone = 0;
    while (nDone < nSize) {
        const int64_t nWritten = file.Write(pBytes + nDone, nSize - nDone);
        if (nWritten < 0) return LastFileError();
        if (nWritten == 0) return DiskFullError();
        nDone += static_cast<size_t>(nWritten);
    }
    return 0;
}

const char* Bytes(const std::vector<uint8_t>& data) {
    return reinterpret_cast<const char*>(data.data());
}

// The file is closed in any case; the reason told is the first one.
FileError WriteAndClose(CFileHandle file, const char* pBytes, size_t nSize) {
    const FileError nWriteError = WriteAll(file, pBytes, nSize);
    const FileError nCloseError = file.Close();
    return nWriteError != 0 ? nWriteError : nCloseError;
}

FileError ReplaceBy(const std::string& strPath, const std::vector<uint8_t>& data) {
    CFileReplacement replacement;
    FileError nError = replacement.Create(strPath);
    if (nError == 0) nError = WriteAll(replacement.File(), Bytes(data), data.size());
    return nError == 0 ? replacement.PutInPlace() : nError;
}

}  // namespace

FileError ReadWholeFile(const std::string& strPath, std::vector<uint8_t>* pData) {
    pData->clear();
    const CFileHandle file = CFileHandle::OpenToRead(strPath);
    if (!file.IsOpen()) return LastFileError();
    FileError nError = 0;
    try {
        nError = ReadToEnd(file, pData);
    } catch (const std::bad_alloc&) {
        nError = NoMemoryError();
    }
    if (nError != 0) pData->clear();
    return nError;
}

FileError WriteWholeFile(const std::string& strPath, const std::vector<uint8_t>& data) {
    CFileHandle file = CFileHandle::OpenToReplace(strPath);
    if (!file.IsOpen()) return LastFileError();
    return WriteAndClose(std::move(file), Bytes(data), data.size());
}

FileError SaveWholeFile(const std::string& strPath, const std::vector<uint8_t>& data) {
    const FileError nError = ReplaceBy(strPath, data);
    return IsReplacementRefusal(nError) ? WriteWholeFile(strPath, data) : nError;
}

FileError AppendToFile(const std::string& strPath, std::string_view strBytes) {
    CFileHandle file = CFileHandle::OpenToAppend(strPath);
    if (!file.IsOpen()) return LastFileError();
    return WriteAndClose(std::move(file), strBytes.data(), strBytes.size());
}
