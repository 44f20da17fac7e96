#include "tests/e2e/windows/remote_window.h"

namespace {

constexpr UINT kAnswerMs = 60000;
constexpr int kTextSize = 8192;

struct Search {
    DWORD dwProcess;
    bool bHiddenToo;
    std::vector<CRemoteWindow> found;
};

BOOL CALLBACK AddWindow(HWND hWnd, LPARAM lParam) {
    Search& search = *reinterpret_cast<Search*>(lParam);
    DWORD dwProcess = 0;
    GetWindowThreadProcessId(hWnd, &dwProcess);
    const bool bWanted = search.dwProcess == kAnyProcess || dwProcess == search.dwProcess;
    if (bWanted && (search.bHiddenToo || IsWindowVisible(hWnd))) search.found.emplace_back(hWnd);
    return TRUE;
}

}  // namespace

LRESULT CRemoteWindow::Send(UINT nMessage, WPARAM wParam, LPARAM lParam) const {
    DWORD_PTR dwResult = 0;
    const LRESULT nOkay = SendMessageTimeoutA(m_hWnd, nMessage, wParam, lParam, SMTO_NORMAL, kAnswerMs, &dwResult);
    return nOkay ? static_cast<LRESULT>(dwResult) : 0;
}

std::string CRemoteWindow::Text() const {
    std::string strText(kTextSize, '\0');
    const LRESULT nLength = Send(WM_GETTEXT, kTextSize, reinterpret_cast<LPARAM>(strText.data()));
    strText.resize(static_cast<size_t>(nLength));
    return strText;
}

std::string CRemoteWindow::ClassName() const {
    char szName[64] = "";
    GetClassNameA(m_hWnd, szName, sizeof szName);
    return szName;
}

RECT CRemoteWindow::Rect() const {
    RECT rect = {};
    GetWindowRect(m_hWnd, &rect);
    return rect;
}

void CRemoteWindow::SetText(int nId, const std::string& strText) const {
    Control(nId).Send(WM_SETTEXT, 0, reinterpret_cast<LPARAM>(strText.c_str()));
}

void CRemoteWindow::Check(int nId, bool bChecked) const {
    if (IsChecked(nId) != bChecked) Control(nId).Send(BM_CLICK);
}

void CRemoteWindow::Click(POINT at) const {
    Post(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(at.x, at.y));
    Post(WM_LBUTTONUP, 0, MAKELPARAM(at.x, at.y));
}

std::vector<CRemoteWindow> WindowsOf(DWORD dwProcess, bool bHiddenToo) {
    Search search = {dwProcess, bHiddenToo, {}};
    EnumWindows(AddWindow, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

CPendingCommand::CPendingCommand(const CRemoteWindow& window, int nId) {
    const WPARAM wParam = MAKEWPARAM(nId, BN_CLICKED);
    const auto hControl = reinterpret_cast<LPARAM>(window.Control(nId).Handle());
    m_bDone =
        !SendMessageCallbackA(window.Handle(), WM_COMMAND, wParam, hControl, OnDone, reinterpret_cast<ULONG_PTR>(this));
}

// The answer goes to this object: it must have come before the object goes.
CPendingCommand::~CPendingCommand() {
    while (!IsDone()) MsgWaitForMultipleObjects(0, nullptr, FALSE, 1, QS_ALLINPUT);
}

bool CPendingCommand::IsDone() {
    MSG message;
    PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE);
    return m_bDone;
}

void CALLBACK CPendingCommand::OnDone(HWND, UINT, ULONG_PTR pSelf, LRESULT) {
    reinterpret_cast<CPendingCommand*>(pSelf)->m_bDone = true;
}
