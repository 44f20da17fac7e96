#include "platform/files/file_replacement.h"

#include "platform/system/windows_api.h"

namespace {

constexpr DWORD kLongestPath = 32768;

HANDLE ToHandle(const CFileHandle& file) {
    return reinterpret_cast<HANDLE>(file.Handle());
}

// Of a junction point or a symbolic link too.
bool IsLink(const std::string& strPath) {
    const DWORD dwAttributes = GetFileAttributesA(strPath.c_str());
    return dwAttributes != INVALID_FILE_ATTRIBUTES && (dwAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// What such a call put into the buffer, whose size it was told; empty if it failed.
std::string CutToResult(std::string strBuffer, DWORD dwLength) {
    strBuffer.resize(dwLength < strBuffer.size() ? dwLength : 0);
    return strBuffer;
}

// Wine 8 exchanges files only where their paths have a folder and no forward slashes.
std::string FullPath(const std::string& strPath) {
    std::string strFull(kLongestPath, '\0');
    const DWORD dwLength = GetFullPathNameA(strPath.c_str(), kLongestPath, strFull.data(), nullptr);
    return CutToResult(std::move(strFull), dwLength);
}

std::string PathBehindLinks(const CFileHandle& file) {
    std::string strReal(kLongestPath, '\0');
    const DWORD dwLength = GetFinalPathNameByHandleA(ToHandle(file), strReal.data(), kLongestPath, 0);
    return CutToResult(std::move(strReal), dwLength);
}

}  // namespace

FileError CFileReplacement::FindOld(const std::string& strPath) {
    m_strOld = FullPath(strPath);
    m_old = CFileHandle::OpenToChange(strPath);
    if (!m_old.IsOpen()) {
        const FileError nError = LastFileError();
        if (nError != ERROR_FILE_NOT_FOUND) return nError;
        // A link to a file that is not there yet: only an ordinary write makes the file where it points.
        return IsLink(strPath) ? ERROR_ACCESS_DENIED : 0;
    }
    if (GetFileType(ToHandle(m_old)) != FILE_TYPE_DISK) return ERROR_ACCESS_DENIED;
    if (IsLink(strPath)) m_strOld = PathBehindLinks(m_old);
    return m_strOld.empty() ? ERROR_ACCESS_DENIED : 0;
}

FileError CFileReplacement::TakeRightsOfOld() const {
    return 0;
}

// FindOld has seen that the old file can be moved away: a ReplaceFileA that fails over that can leave a file of its own.
FileError CFileReplacement::Rename() {
    const bool bReplace = m_old.IsOpen();
    static_cast<void>(m_old.Close());
    const BOOL bDone =
        bReplace ? ReplaceFileA(m_strOld.c_str(), m_strNew.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr,
                                nullptr)
                 : MoveFileExA(m_strNew.c_str(), m_strOld.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
    return bDone != 0 ? 0 : LastFileError();
}

bool IsReplacementRefusal(FileError nError) {
    switch (nError) {
        case ERROR_ACCESS_DENIED:
        case ERROR_SHARING_VIOLATION:
        case ERROR_WRITE_PROTECT:
        case ERROR_INVALID_FUNCTION:  // both: a file system that cannot exchange files
        case ERROR_NOT_SUPPORTED:
        case ERROR_FILENAME_EXCED_RANGE:
        case ERROR_UNABLE_TO_REMOVE_REPLACED:
        case ERROR_UNABLE_TO_MOVE_REPLACEMENT:
        case ERROR_UNABLE_TO_MOVE_REPLACEMENT_2:
            return true;
        default:
            return false;
    }
}
