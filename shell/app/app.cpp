// The application object of the Windows program.
//
// The primary thread does no work of its own: it starts the thread of the windows and polls until that one has
// finished.
#include "platform/mfc/win_app.h"
#include "platform/system/process.h"
#include "platform/threads/threads.h"
#include "shell/app/app_main.h"
#include "shell/app/command_line.h"
#include "shell/app_settings.h"

namespace {

constexpr uint32_t kPollMs = 10;

void AppMainThread(void* /*pParam*/) {
    AppMain(0);
}

// Nobody can be expected at the screen when the service manager starts the program.
void RefuseService() {
    ::OutputDebugStringA("This version of the program does not run as a service.\n");
    g_bAppFinished = 1;
}

class CApp : public CWinApp {
  public:
    CApp() : CWinApp(kProgramName) {}
    bool InitInstance() override;
};
CApp g_app;  // NOLINT(cert-err58-cpp): without memory for a name the program cannot run anyway

bool CApp::InitInstance() {
    Enable3dControls();
    const CWinApp* const pApp = AfxGetApp();
    if (!pApp) EndProcess(-1);
    if (IsServiceCommandLine(pApp->m_lpCmdLine)) {
        RefuseService();
    } else if (!AfxBeginThread<void>(AppMainThread, nullptr)) {
        g_bAppFinished = 1;
    }
    while (!g_bAppFinished) Sleep(kPollMs);
    return false;
}

}  // namespace
