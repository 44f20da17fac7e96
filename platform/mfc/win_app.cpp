#include "platform/mfc/win_app.h"

#include <utility>

#include "platform/mfc/dialog.h"
#include "platform/system/windows_api.h"

#include <commctrl.h>

namespace {

CWinApp* g_pApp = nullptr;  // set while static objects are built, before other threads exist

}  // namespace

CWinApp::CWinApp(std::string strAppName) : m_strAppName(std::move(strAppName)) {
    g_pApp = this;
}

CWinApp::~CWinApp() {
    if (g_pApp == this) g_pApp = nullptr;
}

bool CWinApp::Enable3dControls() const {
    INITCOMMONCONTROLSEX controls = {};
    controls.dwSize = sizeof(controls);
    controls.dwICC = ICC_WIN95_CLASSES | ICC_INTERNET_CLASSES | ICC_STANDARD_CLASSES;
    return InitCommonControlsEx(&controls) != FALSE;
}

HICON CWinApp::LoadIcon(UINT nIcon) const {
    return ::LoadIconA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(nIcon));
}

int CWinApp::Run() {
    MSG message = {};
    while (::GetMessageA(&message, nullptr, 0, 0) > 0) {
        ::TranslateMessage(&message);
        ::DispatchMessageA(&message);
    }
    return static_cast<int>(message.wParam);
}

CWinApp* AfxGetApp() {
    return g_pApp;
}

int AfxMessageBox(const std::string& strText, UINT nFlags) {
    const char* pszCaption = g_pApp ? g_pApp->m_strAppName.c_str() : nullptr;
    return ::MessageBoxA(CDialog::InnermostWindow(), strText.c_str(), pszCaption, nFlags);
}

// In this file so that whoever links an application object gets it too.
// NOLINTNEXTLINE(readability-non-const-parameter): the system's signature
int WINAPI WinMain(HINSTANCE /*hInstance*/, HINSTANCE /*hPrevInstance*/, LPSTR lpCmdLine, int /*nShowCmd*/) {
    CWinApp* pApp = AfxGetApp();
    if (!pApp) return -1;
    if (lpCmdLine) pApp->m_lpCmdLine = lpCmdLine;
    return pApp->InitInstance() ? pApp->Run() : 0;
}
