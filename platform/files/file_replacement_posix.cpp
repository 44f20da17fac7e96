#include "platform/files/file_replacement.h"

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

namespace {

int Descriptor(const CFileHandle& file) {
    return static_cast<int>(file.Handle());
}

// Rights beyond owner, group and mode. Those the new file would not have.
bool HasAccessList(const CFileHandle& file) {
    return fgetxattr(Descriptor(file), "system.posix_acl_access", nullptr, 0) > 0;
}

struct CFree {
    void operator()(char* pBlock) const { std::free(pBlock); }
};

}  // namespace

FileError CFileReplacement::FindOld(const std::string& strPath) {
    struct stat status = {};
    m_old = CFileHandle::OpenToChange(strPath);
    if (!m_old.IsOpen()) {
        if (errno != ENOENT) return errno;
        m_strOld = strPath;
        // A link to a file that is not there yet: only an ordinary write makes the file where it points.
        return lstat(strPath.c_str(), &status) == 0 ? EPERM : 0;
    }
    if (fstat(Descriptor(m_old), &status) != 0) return errno;
    if (!S_ISREG(status.st_mode) || HasAccessList(m_old)) return EPERM;
    const std::unique_ptr<char, CFree> pszReal(realpath(strPath.c_str(), nullptr));
    if (!pszReal) return errno;
    m_strOld = pszReal.get();
    return 0;
}

FileError CFileReplacement::TakeRightsOfOld() const {
    struct stat old = {};
    struct stat now = {};
    if (fstat(Descriptor(m_old), &old) != 0 || fstat(Descriptor(m_new), &now) != 0) return errno;
    const bool bSameOwner = old.st_uid == now.st_uid && old.st_gid == now.st_gid;
    if (!bSameOwner && fchown(Descriptor(m_new), old.st_uid, old.st_gid) != 0) return errno;
    // Behind the change of the owner, which takes some bits of the mode off.
    return fchmod(Descriptor(m_new), old.st_mode & ALLPERMS) == 0 ? 0 : errno;
}

FileError CFileReplacement::Rename() {
    return rename(m_strNew.c_str(), m_strOld.c_str()) == 0 ? 0 : errno;
}

bool IsReplacementRefusal(FileError nError) {
    switch (nError) {
        case EACCES:
        case EPERM:
        case EROFS:
        case EBUSY:  // the file is a mount point of its own, as in containers
        case EXDEV:
        case ENAMETOOLONG:
            return true;
        default:
            return false;
    }
}
