#include "platform/mfc/file_dialog.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/mfc/dialog.h"

std::string FileFilterFromBars(std::string_view strBars) {
    std::string strFilter(strBars);
    for (size_t i = 0; i < strFilter.size(); ++i) {
        if (IsDBCSLeadByte(static_cast<BYTE>(strFilter[i]))) {
            ++i;
        } else if (strFilter[i] == '|') {
            strFilter[i] = '\0';
        }
    }
    strFilter.append(2, '\0');
    return strFilter;
}

CFileDialog::CFileDialog(FileDialogOptions options) : m_options(std::move(options)) {}

INT_PTR CFileDialog::DoModal() {
    m_strPathName.clear();
    std::array<char, 4096> path = {};
    if (m_options.strFileName.size() < path.size()) std::ranges::copy(m_options.strFileName, path.begin());
    const std::string strFilter = FileFilterFromBars(m_options.strFilter);
    const size_t nDot = m_options.strDefaultExtension.starts_with('.') ? 1 : 0;
    OPENFILENAMEA record = {};
    record.lStructSize = sizeof(record);
    record.hwndOwner = m_options.hOwner ? m_options.hOwner : CDialog::InnermostWindow();
    record.lpstrFilter = strFilter.c_str();
    record.lpstrFile = path.data();
    record.nMaxFile = static_cast<DWORD>(path.size());
    record.lpstrInitialDir = m_options.strFolder.empty() ? nullptr : m_options.strFolder.c_str();
    record.lpstrDefExt = m_options.strDefaultExtension.c_str() + nDot;
    // The working folder stays: relative paths, such as the log file's, go on meaning what they meant.
    record.Flags = m_options.dwFlags | OFN_EXPLORER | OFN_ENABLESIZING | OFN_NOCHANGEDIR;
    const BOOL bChosen = m_options.bOpen ? GetOpenFileNameA(&record) : GetSaveFileNameA(&record);
    if (!bChosen) return IDCANCEL;
    m_strPathName = path.data();
    return IDOK;
}
