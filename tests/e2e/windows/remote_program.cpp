#include "tests/e2e/windows/remote_program.h"

#include <algorithm>
#include <filesystem>

#include "resources/resource.h"
#include "tests/support/wait.h"

namespace {

constexpr char kDialogClass[] = "#32770";
constexpr int kMessageBoxText = 0xFFFF;

/// Where the tests are told to find the program; else it stands beside the test program.
std::string ProgramUnderTest() {
    char szPath[MAX_PATH] = "";
    if (GetEnvironmentVariableA("ZELKOR_PROGRAM", szPath, sizeof szPath)) return szPath;
    GetModuleFileNameA(nullptr, szPath, sizeof szPath);
    return (std::filesystem::path(szPath).parent_path() / "VelmoorstackZELKORv1.0.exe").string();
}

std::string NewScratchFolder() {
    char szTemp[MAX_PATH] = "";
    GetTempPathA(sizeof szTemp, szTemp);
    static int nFolder = 0;
    const std::string strName = "zelkor-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++nFolder);
    const std::string strFolder = szTemp + strName + "\\";
    CreateDirectoryA(strFolder.c_str(), nullptr);
    return strFolder;
}

/// Ends the programs with this process, in whatever way it ends: one that is left would keep the test runner's pipe open.
HANDLE TestJob() {
    static const HANDLE hJob = [] {
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        const HANDLE hNew = CreateJobObjectA(nullptr, nullptr);
        SetInformationJobObject(hNew, JobObjectExtendedLimitInformation, &limits, sizeof limits);
        return hNew;
    }();
    return hJob;
}

void CloseAndClear(HANDLE* phHandle) {
    if (*phHandle) CloseHandle(*phHandle);
    *phHandle = nullptr;
}

}  // namespace

CRemoteProgram::CRemoteProgram() : m_strFolder(NewScratchFolder()) {
    CopyFileA(ProgramUnderTest().c_str(), Path().c_str(), TRUE);
}

CRemoteProgram::~CRemoteProgram() {
    Kill();
    std::error_code error;
    std::filesystem::remove_all(m_strFolder, error);
}

std::string CRemoteProgram::SettingsPath() const {
    return m_strFolder + "VelmoorstackZELKORv1.0.KVR";
}

bool CRemoteProgram::Start(const std::string& strArguments) {
    Kill();
    std::string strLine = "\"" + Path() + "\" " + strArguments;
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    if (!CreateProcessA(nullptr, strLine.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED, nullptr,
                        m_strFolder.c_str(), &startup, &m_process)) {
        return false;
    }
    AssignProcessToJobObject(TestJob(), m_process.hProcess);
    return ResumeThread(m_process.hThread) != static_cast<DWORD>(-1);
}

bool CRemoteProgram::IsRunning() const {
    return m_process.hProcess && WaitForSingleObject(m_process.hProcess, 0) == WAIT_TIMEOUT;
}

std::optional<DWORD> CRemoteProgram::WaitForEnd() {
    DWORD dwCode = 0;
    if (!::WaitFor([this] { return !IsRunning(); })) return std::nullopt;
    if (!GetExitCodeProcess(m_process.hProcess, &dwCode)) return std::nullopt;
    return dwCode;
}

void CRemoteProgram::Kill() {
    if (IsRunning()) {
        TerminateProcess(m_process.hProcess, 77);
        WaitForSingleObject(m_process.hProcess, INFINITE);
    }
    CloseAndClear(&m_process.hProcess);
    CloseAndClear(&m_process.hThread);
}

bool CRemoteProgram::WaitFor(const std::function<bool()>& condition) const {
    bool bMet = false;
    static_cast<void>(::WaitFor([&] {
        const bool bRunning = IsRunning();
        bMet = condition();
        return bMet || !bRunning;
    }));
    return bMet;
}

CRemoteWindow CRemoteProgram::Find(const std::function<bool(const CRemoteWindow&)>& fits) const {
    CRemoteWindow found;
    static_cast<void>(WaitFor([&] {
        const auto windows = WindowsOf(m_process.dwProcessId);
        const auto it = std::ranges::find_if(windows, fits);
        if (it != windows.end()) found = *it;
        return found.Exists();
    }));
    return found;
}

CRemoteWindow CRemoteProgram::WaitForDialogWith(int nControl) const {
    return Find([&](const CRemoteWindow& window) {
        return window.ClassName() == kDialogClass && window.IsEnabled() && window.Control(nControl).Exists();
    });
}

CRemoteWindow CRemoteProgram::WaitForMessageBox() const {
    return Find([](const CRemoteWindow& window) { return window.IsEnabled() && IsMessageBox(window); });
}

CRemoteWindow CRemoteProgram::DialogOver(const CRemoteWindow& window) const {
    for (const CRemoteWindow& other : WindowsOf(m_process.dwProcessId)) {
        if (other != window && other.IsEnabled() && other.ClassName() == kDialogClass) return other;
    }
    return {};
}

CRemoteWindow CRemoteProgram::MainWindow() const {
    for (const CRemoteWindow& window : WindowsOf(m_process.dwProcessId, true)) {
        if (window.Control(IDC_MAIN_LIST).Exists()) return window;
    }
    return {};
}

CRemoteWindow CRemoteProgram::WaitForMainWindow() const {
    CRemoteWindow main;
    // The count is written by the first tick of a timer, which comes only behind the whole start-up.
    static_cast<void>(WaitFor([&] {
        main = MainWindow();
        return main.IsVisible() && main.Text(IDC_MAIN_PROGRAM_THREADS) >= "3";
    }));
    return main;
}

bool IsMessageBox(const CRemoteWindow& window) {
    // Other dialogs may have a text of that number as well, but then no answer.
    const bool bAnswers = window.Control(IDOK).Exists() || window.Control(IDYES).Exists();
    return bAnswers && window.Control(kMessageBoxText).Exists();
}

std::string MessageBoxText(const CRemoteWindow& box) {
    return box.Text() + ": " + box.Text(kMessageBoxText);
}
