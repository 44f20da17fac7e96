#include "platform/mfc/dialog.h"

#include <cassert>
#include <cstdio>
#include <exception>

#include "platform/mfc/dialog_template.h"

namespace {

// The innermost dialog in its DoModal on this thread; the others hang on it.
thread_local CDialog* t_pInnermost = nullptr;

constexpr INT_PTR kNotOpened = -1;

/// Disables the owner of a dialog and gives it back as it was.
class COwnerPause {
  public:
    explicit COwnerPause(HWND hOwner) : m_hOwner(hOwner), m_bWasEnabled(hOwner && ::IsWindowEnabled(hOwner)) {
        if (m_bWasEnabled) ::EnableWindow(m_hOwner, FALSE);
    }
    ~COwnerPause() { End(); }
    COwnerPause(const COwnerPause&) = delete;
    COwnerPause& operator=(const COwnerPause&) = delete;

    void End() {
        if (m_bWasEnabled) ::EnableWindow(m_hOwner, TRUE);
        m_bWasEnabled = false;
    }

  private:
    const HWND m_hOwner;
    bool m_bWasEnabled;
};

// Writes the exception that is being handled to the debugger output. In a catch block only.
void ReportCaughtException(const char* pszWhere) noexcept {
    char szLine[512];  // no allocation here: the exception may be about memory
    try {
        throw;  // cppcheck-suppress rethrowNoCurrentException
    } catch (const std::exception& error) {
        std::snprintf(szLine, sizeof(szLine), "%s: %s\n", pszWhere, error.what());
    } catch (...) {
        std::snprintf(szLine, sizeof(szLine), "%s: unknown exception\n", pszWhere);
    }
    OutputDebugStringA(szLine);
}

}  // namespace

INT_PTR CDialog::DoModal() {
    CDialogTemplate dialogTemplate;
    return dialogTemplate.Load(m_nTemplate) ? RunModal(dialogTemplate) : kNotOpened;
}

INT_PTR CDialog::DoModalInFont(const std::string& strFace, WORD wPoints) {
    CDialogTemplate dialogTemplate;
    if (!dialogTemplate.Load(m_nTemplate) || !dialogTemplate.SetFont(strFace, wPoints)) return kNotOpened;
    return RunModal(dialogTemplate);
}

INT_PTR CDialog::RunModal(const CDialogTemplate& dialogTemplate) {
    assert(!m_hWnd && t_pInnermost != this);
    const HWND hOwner = m_hParent ? ::GetAncestor(m_hParent, GA_ROOT) : InnermostWindow();
    m_bEnded = false;
    m_nResult = IDCANCEL;
    m_pOuter = t_pInnermost;
    t_pInnermost = this;
    {
        COwnerPause pause(hOwner);
        if (Create(dialogTemplate, hOwner)) {
            RunLoop();
            // The owner comes first: the system would hand the activation to another program while it is disabled.
            pause.End();
            Close(hOwner);
        }
    }
    t_pInnermost = m_pOuter;
    return m_nResult;
}

bool CDialog::Create(const CDialogTemplate& dialogTemplate, HWND hOwner) {
    if (::CreateDialogIndirectParamA(GetModuleHandleA(nullptr), dialogTemplate.Get(), hOwner, FirstProc, 0))
        return true;
    m_nResult = kNotOpened;
    return false;
}

void CDialog::RunLoop() {
    // OnInitDialog may have ended the dialog, or shown it already by maximising it.
    if (!IsOver() && !IsWindowVisible()) ShowWindow(SW_SHOWNORMAL);
    MSG message;
    while (!IsOver()) {
        const BOOL bGot = ::GetMessageA(&message, nullptr, 0, 0);
        if (bGot == 0) ::PostQuitMessage(static_cast<int>(message.wParam));  // for the loops further out
        if (bGot <= 0) return;
        if (Translate(&message)) continue;
        ::TranslateMessage(&message);
        ::DispatchMessageA(&message);
    }
}

bool CDialog::IsOver() const {
    for (const CDialog* pDialog = this; pDialog; pDialog = pDialog->m_pOuter) {
        if (pDialog->m_bEnded) return true;
    }
    return false;
}

void CDialog::Close(HWND hOwner) {
    if (!m_hWnd) return;
    ::SetWindowPos(m_hWnd, nullptr, 0, 0, 0, 0,
                   SWP_HIDEWINDOW | SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    if (hOwner && ::GetActiveWindow() == m_hWnd) ::SetActiveWindow(hOwner);
    try {
        DestroyWindow();
    } catch (...) {
        ReportCaughtException("DestroyWindow");
    }
    if (m_hWnd) CDialog::DestroyWindow();
}

void CDialog::EndDialog(INT_PTR nResult) {
    m_nResult = nResult;
    m_bEnded = true;
    // Wakes the loop, which may be that of a dialog further in.
    PostMessage(WM_NULL);
}

HWND CDialog::InnermostWindow() {
    for (const CDialog* pDialog = t_pInnermost; pDialog; pDialog = pDialog->m_pOuter) {
        if (pDialog->m_hWnd) return pDialog->m_hWnd;
    }
    return nullptr;
}

CDialog* CDialog::FromHandle(HWND hWnd) {
    for (CDialog* pDialog = t_pInnermost; pDialog && hWnd; pDialog = pDialog->m_pOuter) {
        if (pDialog->m_hWnd == hWnd) return pDialog;
    }
    return nullptr;
}

bool CDialog::Translate(MSG* pMessage) {
    CDialog* pDialog = FromHandle(::GetAncestor(pMessage->hwnd, GA_ROOT));
    if (!pDialog) return false;
    try {
        return pDialog->PreTranslateMessage(pMessage);
    } catch (...) {
        ReportCaughtException("PreTranslateMessage");
        return true;
    }
}

INT_PTR CALLBACK CDialog::FirstProc(HWND hWnd, UINT nMessage, WPARAM /*wParam*/, LPARAM /*lParam*/) {
    // The dialog that is being created is the innermost one, and the only one without a window.
    CDialog* pDialog = t_pInnermost;
    if (nMessage != WM_INITDIALOG || !pDialog || pDialog->m_hWnd) return FALSE;
    return pDialog->Initialise(hWnd) ? TRUE : FALSE;
}

bool CDialog::Initialise(HWND hWnd) {
    m_hWnd = hWnd;
    const LONG_PTR nWindowProc = reinterpret_cast<LONG_PTR>(&CDialog::WindowProc);
    m_pfnSystem = reinterpret_cast<WNDPROC>(::SetWindowLongPtrA(hWnd, GWLP_WNDPROC, nWindowProc));
    try {
        return OnInitDialog();
    } catch (...) {
        ReportCaughtException("OnInitDialog");
        EndDialog(kNotOpened);
        return true;
    }
}

LRESULT CALLBACK CDialog::WindowProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam) {
    CDialog* pDialog = FromHandle(hWnd);
    if (!pDialog) return ::DefDlgProcA(hWnd, nMessage, wParam, lParam);
    LRESULT nResult = 0;
    try {
        nResult = pDialog->Dispatch(nMessage, wParam, lParam);
    } catch (...) {
        ReportCaughtException("Window procedure");
        if (nMessage == WM_PAINT) ::ValidateRect(hWnd, nullptr);  // or it would come again at once, for ever
    }
    if (nMessage == WM_NCDESTROY) {
        pDialog->m_hWnd = nullptr;
        pDialog->m_bEnded = true;
    }
    return nResult;
}

LRESULT CDialog::Dispatch(UINT nMessage, WPARAM wParam, LPARAM lParam) {
    switch (nMessage) {
        case WM_COMMAND:
            return DispatchCommand(wParam, lParam);
        case WM_NOTIFY:
            return DispatchNotify(wParam, lParam);
        case WM_TIMER:
            OnTimer(wParam);
            return 0;
        case WM_CLOSE:
            OnClose();
            return 0;
        default:
            return DefWindowProc(nMessage, wParam, lParam);
    }
}

LRESULT CDialog::DispatchCommand(WPARAM wParam, LPARAM lParam) {
    const int nId = LOWORD(wParam);
    const int nCode = HIWORD(wParam);
    if (OnCommand(nId, nCode)) return 0;
    if (nId == IDOK && nCode == BN_CLICKED) {
        OnOK();
        return 0;
    }
    if (nId == IDCANCEL && nCode == BN_CLICKED) {
        OnCancel();
        return 0;
    }
    return DefWindowProc(WM_COMMAND, wParam, lParam);
}

LRESULT CDialog::DispatchNotify(WPARAM wParam, LPARAM lParam) {
    NMHDR* pHeader = reinterpret_cast<NMHDR*>(lParam);
    LRESULT nResult = 0;
    if (pHeader && OnNotify(static_cast<int>(pHeader->idFrom), pHeader, &nResult)) return nResult;
    return DefWindowProc(WM_NOTIFY, wParam, lParam);
}

bool CDialog::OnInitDialog() {
    DoDataExchange();
    return true;
}

bool CDialog::OnCommand(int /*nId*/, int /*nCode*/) {
    return false;
}

bool CDialog::OnNotify(int /*nId*/, NMHDR* /*pHeader*/, LRESULT* /*pResult*/) {
    return false;
}

void CDialog::OnTimer(UINT_PTR nTimer) {
    DefWindowProc(WM_TIMER, nTimer, 0);
}

void CDialog::OnClose() {
    DefWindowProc(WM_CLOSE, 0, 0);
}

void CDialog::OnOK() {
    EndDialog(IDOK);
}

void CDialog::OnCancel() {
    EndDialog(IDCANCEL);
}

bool CDialog::DestroyWindow() {
    return m_hWnd && ::DestroyWindow(m_hWnd) != FALSE;
}

bool CDialog::PreTranslateMessage(MSG* pMessage) {
    return ::IsDialogMessageA(m_hWnd, pMessage) != FALSE;
}

LRESULT CDialog::DefWindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) {
    return ::CallWindowProcA(m_pfnSystem, m_hWnd, nMessage, wParam, lParam);
}

bool NeedsLanguageFont(uint32_t dwLanguageCode) {
    return dwLanguageCode == 4 || dwLanguageCode == 6 || dwLanguageCode == 9 || dwLanguageCode == 1000;
}

INT_PTR OpenDialogFont(CDialog* pDialog, uint32_t dwLanguageCode) {
    // Not by the virtual DoModal: that is where the dialogs call this from.
    return NeedsLanguageFont(dwLanguageCode) ? OpenDialogLanguageFont(pDialog) : pDialog->CDialog::DoModal();
}

INT_PTR OpenDialogLanguageFont(CDialog* pDialog) {
    return pDialog->DoModalInFont("Tahoma", 10);
}
