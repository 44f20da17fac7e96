// Whole files: read in one piece, written or replaced in one piece, appended to in one piece. Paths are in the ANSI code page.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// 0, or the system's error code of the call that failed.
using FileError = int32_t;

/// Reads the whole file. *pData is complete on 0 and empty otherwise; a directory is an error.
[[nodiscard]] FileError ReadWholeFile(const std::string& strPath, std::vector<uint8_t>* pData);

/// Empties or creates the file and writes the image to it with one write. A file that cannot be opened for writing
/// keeps what it holds.
[[nodiscard]] FileError WriteWholeFile(const std::string& strPath, const std::vector<uint8_t>& data);

/// The same for a file that must not be lost: the image goes to the disk as a new file in the same folder, which takes the
/// place of the old one when it is whole. Owner and rights stay, a link stays and its target is replaced. On an error
/// the old file is as it was. Where a second file is not allowed, or cannot have the same owner and rights, the file is
/// written to as by WriteWholeFile.
[[nodiscard]] FileError SaveWholeFile(const std::string& strPath, const std::vector<uint8_t>& data);

/// Opens the file (creating it if it is absent, sharing it for reading and writing), writes the bytes behind its end
/// with one write and closes it. No directory is ever created.
[[nodiscard]] FileError AppendToFile(const std::string& strPath, std::string_view strBytes);

/// The system's code for want of memory.
FileError NoMemoryError();

/// The 64-bit size of a file: 0 if it does not exist, -1 if the name is that of a directory.
int64_t FileSize(const std::string& strPath);
