// The system's dialogs for the name of a file to open or to save.
//
// Owned, as other dialogs, by the innermost open dialog of the calling thread when no owner is given.
#pragma once

#include <string>
#include <string_view>

#include "platform/system/windows_api.h"

#include <commdlg.h>

struct FileDialogOptions {
    bool bOpen = true;                                       // false: the name of a file to save
    std::string strFilter;                                   // "Text Files (*.txt)|*.txt|All Files (*.*)|*.*||"
    std::string strDefaultExtension;                         // put behind a name that has none; with or without the dot
    std::string strFileName;                                 // what the name field shows at first
    std::string strFolder;                                   // where it opens; empty: where the system likes
    DWORD dwFlags = OFN_HIDEREADONLY | OFN_OVERWRITEPROMPT;  // OFN_ flags; the explorer style is always added
    HWND hOwner = nullptr;
};

class CFileDialog {
  public:
    explicit CFileDialog(FileDialogOptions options);
    ~CFileDialog() = default;
    CFileDialog(const CFileDialog&) = delete;
    CFileDialog& operator=(const CFileDialog&) = delete;

    /// IDOK when a name was chosen; IDCANCEL otherwise, also when the dialog could not be opened.
    INT_PTR DoModal();
    /// The full path; empty unless DoModal gave IDOK.
    const std::string& GetPathName() const { return m_strPathName; }

  private:
    FileDialogOptions m_options;
    std::string m_strPathName;
};

/// The system's form of a filter, zero bytes for bars and two at the end, from the one with bars. A bar that is the
/// second byte of a two-byte character is none.
std::string FileFilterFromBars(std::string_view strBars);
