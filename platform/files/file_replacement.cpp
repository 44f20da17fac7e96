#include "platform/files/file_replacement.h"

#include <array>
#include <cstdio>
#include <random>

namespace {

// In the same folder, so that a rename is enough. Nobody can have put a link there before: the name cannot be foreseen.
std::string NewNameBeside(const std::string& strPath) {
    std::random_device random;
    std::array<char, 20> end = {};
    std::snprintf(end.data(), end.size(), ".%08x%08x", random(), random());
    return strPath + end.data();
}

}  // namespace

CFileReplacement::~CFileReplacement() {
    if (m_strNew.empty()) return;
    static_cast<void>(m_new.Close());
    RemoveFile(m_strNew);
}

FileError CFileReplacement::Create(const std::string& strPath) {
    const FileError nError = FindOld(strPath);
    if (nError != 0) return nError;
    std::string strNew = NewNameBeside(m_strOld);
    m_new = m_old.IsOpen() ? CFileHandle::CreateForOwner(strNew) : CFileHandle::CreateForAll(strNew);
    if (!m_new.IsOpen()) return LastFileError();
    m_strNew = std::move(strNew);
    return m_old.IsOpen() ? TakeRightsOfOld() : 0;
}

FileError CFileReplacement::PutInPlace() {
    FileError nError = m_new.Flush();
    const FileError nCloseError = m_new.Close();
    if (nError == 0) nError = nCloseError;
    if (nError == 0) nError = Rename();
    if (nError == 0) m_strNew.clear();
    return nError;
}
