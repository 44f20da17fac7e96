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

}  // namespace

FileError CFileReplacement::FindOld(const std::string& strPath) {
    m_strOld = strPath;
    m_old = CFileHandle::OpenToChange(strPath);
    if (!m_old.IsOpen()) {
        const FileError nError = LastFileError();
        if (nError != ERROR_FILE_NOT_FOUND) return nError;
        // A link to a file that is not there yet: only an ordinary write makes the file where it points.
        return IsLink(strPath) ? ERROR_ACCESS_DENIED : 0;
    }
    if (GetFileType(ToHandle(m_old)) != FILE_TYPE_DISK) return ERROR_ACCESS_DENIED;
    if (!IsLink(strPath)) return 0;
    std::string strReal(kLongestPath, '\0');
    const DWORD dwLength = GetFinalPathNameByHandleA(ToHandle(m_old), strReal.data(), kLongestPath, 0);
    if (dwLength == 0 || dwLength >= kLongestPath) return ERROR_ACCESS_DENIED;
    m_strOld = strReal.substr(0, dwLength);
    return 0;
}

FileError CFileReplacement::TakeRightsOfOld() const {
    return 0;
}

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
