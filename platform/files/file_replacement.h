// A new file beside the one that a path leads to, which takes that one's place in one step when it is whole: whoever
// opens the path finds the old file or the new one, and a crash leaves one of the two.
//
// One thread at a time. A new file that was not put in place goes with the object. Only platform/ includes this.
#pragma once

#include <string>

#include "platform/files/file_handle.h"

class CFileReplacement {
  public:
    CFileReplacement() = default;
    ~CFileReplacement();
    CFileReplacement(const CFileReplacement&) = delete;
    CFileReplacement& operator=(const CFileReplacement&) = delete;

    /// Creates the new file, with the owner and the rights of the old one. Links are followed, and an old file that may
    /// not be written to is not replaced either. Once.
    [[nodiscard]] FileError Create(const std::string& strPath);
    /// What is written to.
    const CFileHandle& File() const { return m_new; }
    /// Has the disk take the bytes and puts the new file in the place of the old one.
    [[nodiscard]] FileError PutInPlace();

  private:
    /// Fills m_strOld, and m_old if there is an old file.
    [[nodiscard]] FileError FindOld(const std::string& strPath);
    /// What the new file cannot have before it is in place, Rename gives it.
    [[nodiscard]] FileError TakeRightsOfOld() const;
    [[nodiscard]] FileError Rename();

    std::string m_strOld;  // behind the links
    std::string m_strNew;  // empty: there is none to be removed
    CFileHandle m_old;     // open for writing
    CFileHandle m_new;
};

/// Whether the code tells that a second file is not allowed here, or not in that place, so that the old one can only be
/// written to as it stands. A full disk is no such reason.
bool IsReplacementRefusal(FileError nError);
