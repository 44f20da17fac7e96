#include "shell/app/app_main.h"

#include <memory>

#include "language/language_store.h"
#include "language/slots.h"
#include "platform/mfc/win_app.h"
#include "platform/net/socket.h"
#include "platform/system/message_box.h"
#include "platform/system/process.h"
#include "shell/app/command_line.h"
#include "shell/app_settings.h"
#include "shell/main_window/main_dlg.h"
#include "store/settings_file.h"

std::atomic<uint8_t> g_bAppFinished = 0;
std::atomic<uint8_t> g_bServiceStop = 0;
std::atomic<HWND> g_hMainWnd = nullptr;

namespace {

/// The objects of a run. Threads of running operations, the log writer and workers use them until the process ends, so
/// whoever ends the run lets go of them and nothing destroys them.
struct Run {
    AppSettings settings;
    std::unique_ptr<CMainDlg> pMainDlg;
};

void LoadTexts(AppSettings* pSettings) {
    LoadGeneralTexts(pSettings);
    ApplyLanguage(pSettings);
}

void LoadSettings(AppSettings* pSettings) {
    LoadSettingsFile(pSettings, "");
    if (pSettings->languageCode != 0) ApplyLanguage(pSettings);
}

void ReadSystemVersion(AppSettings* pSettings) {
    constexpr DWORD kWin2000 = 5;
    OSVERSIONINFOA version = {};
    version.dwOSVersionInfoSize = sizeof version;
    if (!::GetVersionExA(&version)) return;
    pSettings->isWinNT = version.dwPlatformId == VER_PLATFORM_WIN32_NT;
    pSettings->isPreWin2000 = version.dwMajorVersion < kWin2000;
}

void ShowOptionsText(const AppSettings& settings, uint32_t nSlot) {
    ShowMessage({settings.slotTable.Text(nSlot), kProgramName, MessageIcon::Information, MessageButtons::Ok});
}

/// False when the run ends here.
bool RouteCommandLine(AppSettings* pSettings, CommandLine* pLine) {
    const CWinApp* const pApp = AfxGetApp();
    if (!pApp) {
        AfxMessageBox(pSettings->slotTable.Text(kSlotFatalError) + " 4");
        EndProcess(-1);
    }
    const std::string strLine = pApp->m_lpCmdLine;
    if (strLine.empty()) return true;
    *pLine = ParseCommandLine(strLine);
    if (pLine->languageCode) pSettings->languageCode = *pLine->languageCode;
    if (pLine->bUsage || !pLine->bRecognised) {
        ShowOptionsText(*pSettings, pLine->bUsage ? kSlotUsage : kSlotNotRecognised);
        return false;
    }
    // Neither window is part of the program yet, and a main window is not what was asked for.
    return !pLine->bUninstall && !pLine->bDoHelp;
}

bool StartSockets(const AppSettings& settings) {
    if (StartSocketLayer() == 0) return true;
    AfxMessageBox(settings.slotTable.Text(kSlotSocketError));
    return false;
}

void RunMainWindow(Run* pRun, bool bStartMinimized) {
    SaveSettingsFile(pRun->settings, nullptr);
    pRun->pMainDlg = std::make_unique<CMainDlg>(&pRun->settings, &g_hMainWnd, &g_bServiceStop, bStartMinimized);
    pRun->pMainDlg->DoModal();
}

void RunSteps(Run* pRun) {
    AppSettings* const pSettings = &pRun->settings;
    LoadTexts(pSettings);
    LoadSettings(pSettings);
    ReadSystemVersion(pSettings);
    CommandLine line;
    if (!RouteCommandLine(pSettings, &line)) return;
    if (!StartSockets(*pSettings)) return;
    RunMainWindow(pRun, line.bStartMinimized);
}

}  // namespace

uint32_t AppMain(uint8_t bServiceMode) {
    RunSteps(std::make_unique<Run>().release());
    if (!bServiceMode) g_bAppFinished = 1;
    return 0;
}
