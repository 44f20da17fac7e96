// The one owner of an open file of the system (a descriptor on Linux, a file handle on Windows) and the calls on it, as
// files.cpp needs them. Only platform/ includes this.
//
// The handle is closed by Close, by the destructor and by an assignment over it. One thread at a time. The codes are the
// system's; LastFileError is read directly behind the call that failed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "platform/files/files.h"

class CFileHandle {
  public:
    CFileHandle() = default;
    ~CFileHandle() { static_cast<void>(Close()); }
    CFileHandle(CFileHandle&& other) noexcept : m_hFile(std::exchange(other.m_hFile, kNone)) {}
    CFileHandle& operator=(CFileHandle&& other) noexcept {
        CFileHandle taken(std::move(other));  // first, so that an assignment to itself loses nothing
        std::swap(m_hFile, taken.m_hFile);
        return *this;
    }
    CFileHandle(const CFileHandle&) = delete;
    CFileHandle& operator=(const CFileHandle&) = delete;

    // The object is empty when the system refused; LastFileError tells why.
    static CFileHandle OpenToRead(const std::string& strPath);
    /// Creates the file or empties the one that exists.
    static CFileHandle OpenToReplace(const std::string& strPath);
    /// Creates the file if it is absent. What is written goes behind the end.
    static CFileHandle OpenToAppend(const std::string& strPath);
    /// A file that exists, which the opening leaves as it is; on Windows only one that could also be exchanged now: one that
    /// somebody else has open mostly cannot.
    static CFileHandle OpenToChange(const std::string& strPath);
    /// A file that does not exist yet, and no link either: on Linux for its owner alone, or for all that the user's mask
    /// lets in.
    static CFileHandle CreateForOwner(const std::string& strPath);
    static CFileHandle CreateForAll(const std::string& strPath);

    bool IsOpen() const { return m_hFile != kNone; }
    /// One call: the byte count (0 is the end of the file), or -1 and LastFileError tells why.
    int64_t Read(void* pBuffer, size_t nSize) const;
    /// One call, which may write less than all; -1 and LastFileError tells why.
    int64_t Write(const void* pData, size_t nSize) const;
    /// Waits until the disk has what was written. 0 or the system's error code.
    [[nodiscard]] FileError Flush() const;
    /// 0, or the system's error code: some systems tell only here that written bytes were lost. The handle is given
    /// back in any case. Closing nothing is no error.
    [[nodiscard]] FileError Close();
    /// For calls of the system; stays with the object.
    intptr_t Handle() const { return m_hFile; }

  private:
    /// What the system's open calls give when they fail, on both systems.
    static constexpr intptr_t kNone = -1;

    explicit CFileHandle(intptr_t hFile) : m_hFile(hFile) {}

    intptr_t m_hFile = kNone;
};

FileError LastFileError();

/// Nothing is told: it is called where a failure has been told already.
void RemoveFile(const std::string& strPath);

// The system's codes for what files.cpp finds out itself.
FileError TooLargeError();
FileError DiskFullError();
