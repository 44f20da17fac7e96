// The system's calls on files, as files.cpp needs them: each platform half defines them. Nothing outside platform/
// includes this.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/files/file_handle.h"
#include "platform/files/files.h"

/// The handle is empty when the system refused; LastFileError tells why.
CFileHandle OpenToRead(const std::string& strPath);
/// Creates the file or empties the one that exists.
CFileHandle OpenToReplace(const std::string& strPath);
/// Creates the file if it is absent. What is written goes behind the end.
CFileHandle OpenToAppend(const std::string& strPath);

/// One call: the byte count (0 is the end of the file), or -1 and LastFileError tells why.
int64_t ReadSome(const CFileHandle& file, void* pBuffer, size_t nSize);
/// One call, which may write less than all; -1 and LastFileError tells why.
int64_t WriteSome(const CFileHandle& file, const void* pData, size_t nSize);

/// The code of the call before. Read directly behind it.
FileError LastFileError();

// The system's codes for what files.cpp finds out itself.
FileError TooLargeError();
FileError DiskFullError();
