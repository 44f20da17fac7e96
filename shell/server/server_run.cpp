#include "shell/server/server_run.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>

#include "language/language_store.h"
#include "platform/files/files.h"
#include "platform/system/process.h"
#include "platform/threads/threads.h"
#include "shell/auto_start.h"
#include "shell/link_operation.h"
#include "store/settings_image.h"

namespace {

// The thread that runs main, and the one that the Windows program keeps for its windows: the figure and with it the
// limits are the same in both programs.
constexpr int32_t kOwnThreads = 2;

// The log writer ends within a tenth of a second, unless the disk holds its last batch up.
constexpr uint32_t kLogWriterWaitMs = 2000;

constexpr uint32_t kCommandLineLogSeconds = 1;

// Between two tries to start an operation that does not run.
constexpr std::chrono::seconds kRetryPeriod{5};

// A host text can hold any bytes: none of them may begin a line of its own or reach the terminal as a command.
std::string Printable(std::string strText) {
    const auto isControl = [](char ch) { return static_cast<unsigned char>(ch) < ' ' || ch == 0x7F; };
    std::replace_if(strText.begin(), strText.end(), isControl, '?');
    return strText;
}

std::string Describe(CPortForwardOp* pOp) {
    const OpSettings& settings = pOp->m_settings;
    const char* const pszProtocol = ProtocolText(settings.m_nProtocol);
    return (pszProtocol ? pszProtocol : "protocol " + std::to_string(settings.m_nProtocol)) + " " +
           FormatIpAddress(settings.m_dwLocalIp) + ":" + std::to_string(pOp->ListenPort()) + " -> " +
           (settings.IsTargetTheClient() ? "the client's own address" : Printable(settings.m_strRemoteHost)) + ":" +
           std::to_string(settings.m_wRemotePort);
}

void PrintError(const std::string& strText) {
    std::fprintf(stderr, "zelkor: %s\n", strText.c_str());
}

void PrintLine(const std::string& strText) {
    std::printf("%s\n", strText.c_str());
    std::fflush(stdout);
}

std::string CutOffText(const AppSettings& settings, const SettingsFileResult& result) {
    if (settings.opCount == 0) return " is cut off and holds no whole operation";
    return " is cut off: " + std::to_string(settings.opCount) + " of " + std::to_string(result.nOperationsTold) +
           " operations were read; it is left as it is and will not be saved over";
}

void ReportStart(CPortForwardOp* pOp, bool bStarted) {
    if (bStarted) {
        PrintLine("started " + Describe(pOp));
        return;
    }
    const std::string strReason =
        pOp->m_nStartError == 0 ? "the protocol cannot be forwarded" : SystemErrorText(pOp->m_nStartError);
    const bool bNoRawSocket = pOp->m_settings.m_bForwardIcmp != 0 && IsRawSocketRefusal(pOp->m_nStartError);
    const char* const pszHint = bNoRawSocket ? " (to forward ICMP errors needs CAP_NET_RAW)" : "";
    PrintError("not started: " + Describe(pOp) + ": " + strReason + pszHint);
}

}  // namespace

CServerRun::CServerRun() : m_keeper(&m_settings, ReportStart, kRetryPeriod) {}

bool CServerRun::LoadFile(CSettingsFile* pFile) {
    const std::string& strPath = pFile->Path();
    const SettingsFileResult result = pFile->Load(&m_settings);
    switch (result.status) {
        case SettingsFileStatus::NotFound:
            PrintError(strPath + " cannot be read: " + SystemErrorText(result.nError));
            return false;
        case SettingsFileStatus::Complete:
        case SettingsFileStatus::CutOff:
            break;
        default:
            PrintError(strPath + " is left as it is");
            return false;
    }
    if (result.bOtherVersion) {
        PrintError(strPath + " is of version " + result.strVersion + ", not " + kProgramVersion +
                   "; it is read all the same and will not be saved over");
    }
    const bool bComplete = result.status == SettingsFileStatus::Complete;
    if (!bComplete) PrintError(strPath + CutOffText(m_settings, result));
    // A save in the layout of this version would lose the fields that only the other version has.
    m_bSave = bComplete && !result.bOtherVersion;
    return bComplete || m_settings.opCount > 0;
}

// How many run.
int CServerRun::StartOperations() {
    const bool bStart = ShouldStartOperations(m_settings, [] { return true; });
    int nStarted = 0;
    for (CPortForwardOp* pOp = m_settings.firstOp; pOp != nullptr; pOp = pOp->m_pNext) {
        pOp->m_bStarting = 0;
        LinkOperation(pOp, m_settings, &m_counters, &m_logWriter.Queue());
        const bool bWasRunning = pOp->m_bRunning.exchange(0) != 0;
        if (bWasRunning && bStart && m_keeper.Keep(pOp)) ++nStarted;
    }
    return nStarted;
}

void CServerRun::StartLogWriter() {
    if (m_logWriter.Start(&m_counters.nThreads)) return;
    PrintError("no log is written: " + SystemErrorText(ThreadStartError()));
}

// The main thread is the timer of the log, and tries again what does not run.
void CServerRun::WaitForEnd() {
    using Clock = COperationKeeper::Clock;
    const auto period = std::chrono::milliseconds(LogFlushPeriodMs(m_settings));
    auto nextFlush = Clock::now() + period;
    for (;;) {
        const auto next = std::min(nextFlush, m_keeper.NextTry());
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
        if (WaitForEndSignal(static_cast<uint32_t>(std::max<int64_t>(left.count(), 0)))) return;
        const auto now = Clock::now();
        if (now >= m_keeper.NextTry()) m_keeper.TryNext();
        if (now < nextFlush) continue;
        if (m_settings.autoLogEnabled != 0) m_logWriter.RequestFlush();
        nextFlush += period;
    }
}

void CServerRun::SaveFile(CSettingsFile* pFile) {
    if (!m_bSave) return;
    const SettingsSaveResult result = pFile->Save(m_settings);
    if (result.bForeign) PrintError(pFile->Path() + " was changed by someone else and is left as it is");
    if (result.nError != 0) PrintError(pFile->Path() + " could not be saved: " + SystemErrorText(result.nError));
}

int CServerRun::RunFile(const ServerOptions& options) {
    m_counters.nThreads = kOwnThreads;
    LoadGeneralTexts(&m_settings);
    ApplyLanguage(&m_settings);
    CSettingsFile file(options.strFile);
    if (!LoadFile(&file)) return kExitFileRefused;
    if (m_settings.languageCode != 0) ApplyLanguage(&m_settings);
    const int nStarted = StartOperations();
    const bool bNoneWanted = m_settings.wantedOps.empty();
    if (bNoneWanted) PrintError(file.Path() + " holds no operation that is to be started");
    if (nStarted == 0 && (bNoneWanted || !options.bWait)) return kExitNothingStarted;
    StartLogWriter();
    WaitForEnd();
    SaveFile(&file);
    m_logWriter.EndWithLastBatch(kLogWriterWaitMs);
    return kExitOrderly;
}

int CServerRun::RunOperation(const ServerOptions& options) {
    m_counters.nThreads = kOwnThreads;
    ApplyLanguage(&m_settings);
    SetDefaultSettings(&m_settings);
    m_settings.autoLogEnabled = options.strLogFile.empty() ? 0 : 1;
    m_settings.logFilePath.Set(options.strLogFile);
    m_settings.logIntervalSeconds = kCommandLineLogSeconds;
    m_settings.operations.push_back(std::make_unique<CPortForwardOp>());
    CPortForwardOp* const pOp = m_settings.operations.back().get();
    pOp->m_settings = options.operation;
    LinkOperation(pOp, m_settings, &m_counters, &m_logWriter.Queue());
    if (!m_keeper.Keep(pOp) && !options.bWait) return kExitNothingStarted;
    StartLogWriter();
    WaitForEnd();
    m_logWriter.EndWithLastBatch(kLogWriterWaitMs);
    return kExitOrderly;
}
