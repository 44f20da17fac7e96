#include "dialogs/long_message_dlg.h"

#include <utility>
#include <vector>

#include "language/slots.h"
#include "platform/files/files.h"
#include "platform/mfc/dialog.h"
#include "platform/mfc/file_dialog.h"
#include "resources/resource.h"
#include "shell/app_settings.h"

namespace {

// Pixels: how far the text is from the left and upper edge, the buttons from the lower one.
constexpr int kTextMargin = 4;
constexpr int kTextBottom = 45;
constexpr int kButtonBottom = 35;
constexpr int kSaveLeft = 8;

/// Moves a control without changing its size.
void PlaceControl(const CWnd& control, int nX, int nY) {
    const RECT rect = control.GetWindowRect();
    control.MoveWindow(nX, nY, rect.right - rect.left, rect.bottom - rect.top);
}

}  // namespace

void ShowLongMessage(const std::string& strText, const std::string& strCaption, int nWidth, int nHeight,
                     AppSettings* pSettings) {
    CLongMessageDlg(pSettings, strText, strCaption, {nWidth, nHeight}).DoModal();
}

CLongMessageDlg::CLongMessageDlg(AppSettings* pSettings, std::string strText, std::string strCaption, SIZE size)
    : CDialog(IDD_LONG_MESSAGE),
      m_pSettings(pSettings),
      m_hIcon(::LoadIconA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(IDI_ZELKOR))),
      m_strText(std::move(strText)),
      m_strCaption(std::move(strCaption)),
      m_size(size) {}

INT_PTR CLongMessageDlg::DoModal() {
    return OpenDialogFont(this, m_pSettings->languageCode);
}

void CLongMessageDlg::DoDataExchange() {
    SetWindowText(m_strCaption);
    SetDlgItemText(IDC_LONG_TEXT, m_strText);
    SetDlgItemText(IDC_LONG_CONTINUE, m_pSettings->slotTable.Text(kSlotContinue));
    SetDlgItemText(IDC_LONG_SAVE, m_pSettings->slotTable.Text(kSlotSaveText));
    PlaceControls();
}

bool CLongMessageDlg::OnInitDialog() {
    CDialog::OnInitDialog();
    SetIcon(m_hIcon);
    // The text comes first in the tab order and would open with all of itself selected.
    GetDlgItem(IDC_LONG_CONTINUE).SetFocus();
    return false;
}

void CLongMessageDlg::PlaceControls() const {
    const int nWidth = m_size.cx;
    const int nHeight = m_size.cy;
    MoveWindow((::GetSystemMetrics(SM_CXFULLSCREEN) - nWidth) / 2, (::GetSystemMetrics(SM_CYFULLSCREEN) - nHeight) / 2,
               nWidth, nHeight + ::GetSystemMetrics(SM_CYCAPTION));
    const int nFrame = ::GetSystemMetrics(SM_CXBORDER) + ::GetSystemMetrics(SM_CXDLGFRAME);
    const CWnd text = GetDlgItem(IDC_LONG_TEXT);
    text.MoveWindow(kTextMargin, kTextMargin, nWidth - 2 * (nFrame + kTextMargin), nHeight - kTextBottom);
    const CWnd button = GetDlgItem(IDC_LONG_CONTINUE);
    const RECT rect = button.GetWindowRect();
    PlaceControl(button, (GetClientRect().right - (rect.right - rect.left)) / 2, nHeight - kButtonBottom);
    PlaceControl(GetDlgItem(IDC_LONG_SAVE), kSaveLeft, nHeight - kButtonBottom);
    for (const int nId : {IDC_LONG_TEXT, IDC_LONG_CONTINUE, IDC_LONG_SAVE}) GetDlgItem(nId).ShowWindow(SW_SHOW);
}

bool CLongMessageDlg::OnCommand(int nId, int nCode) {
    if (nCode != BN_CLICKED) return false;
    if (nId == IDC_LONG_SAVE) {
        SaveText();
        return true;
    }
    if (nId == IDC_LONG_CONTINUE) EndDialog(IDOK);
    return nId == IDC_LONG_CONTINUE;
}

void CLongMessageDlg::SaveText() const {
    FileDialogOptions options;
    options.bOpen = false;
    options.strFilter = m_pSettings->slotTable.Text(kSlotTextFilter);
    options.strDefaultExtension = ".txt";
    CFileDialog dialog(std::move(options));
    if (dialog.DoModal() != IDOK) return;
    // There is no message for a file that cannot be written: the text is still here to be saved elsewhere.
    (void)WriteWholeFile(dialog.GetPathName(), std::vector<uint8_t>(m_strText.begin(), m_strText.end()));
}
