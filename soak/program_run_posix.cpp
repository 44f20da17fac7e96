#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "platform/files/files.h"
#include "platform/threads/threads.h"
#include "shell/app_settings.h"
#include "soak/program_run.h"
#include "store/settings_file.h"
#include "store/settings_image.h"

namespace {

constexpr uint32_t kPollMs = 20;
constexpr int kEndTries = 3000;   // a minute
constexpr int kRestTries = 6000;  // two: parked threads go after ten seconds, each of them
// Main, log writer, listeners; the thread sanitizer has one of its own.
#if defined(__SANITIZE_THREAD__)
constexpr int kIdleThreads = 3 + kProgramOps;
#else
constexpr int kIdleThreads = 2 + kProgramOps;
#endif
constexpr int kOutputWaitMs = 60'000;

// The number behind "IP:" in a line like "started TCP IP:PORT -> HOST:PORT"; 0 when there is none.
uint16_t PortIn(const std::string& strLine) {
    const size_t nColon = strLine.find(':');
    return nColon == std::string::npos ? uint16_t{0} : static_cast<uint16_t>(std::atoi(strLine.c_str() + nColon + 1));
}

// As if it had been written long ago: a later save shows.
void MakeOld(const std::string& strPath) {
    const timespec times[2] = {};
    utimensat(AT_FDCWD, strPath.c_str(), times, 0);
}

bool IsOld(const std::string& strPath) {
    struct stat status = {};
    return stat(strPath.c_str(), &status) != 0 || status.st_mtim.tv_sec == 0;
}

}  // namespace

CProgramRun::CProgramRun(SharedBlock& shared, const std::string& strProgram, const std::string& strFolder)
    : m_shared(shared),
      m_strProgram(strProgram),
      m_strSettings(strFolder + "/program.KVR"),
      m_strLog(strFolder + "/program.log") {}

CProgramRun::~CProgramRun() {
    if (m_nProcess != 0) kill(m_nProcess, SIGKILL);
}

// The local ports are left to the system: the program tells which it got.
void CProgramRun::WriteSettings() {
    AppSettings settings;
    SetDefaultSettings(&settings);
    settings.autoStartMode = kAutoStartAlways;
    settings.autoLogEnabled = 1;
    settings.logIntervalSeconds = 1;
    settings.logFilePath.Set(m_strLog);
    settings.logEntryFormat.Set("%E %CIP %CPort %DAT");
    CPortForwardOp** ppNext = &settings.firstOp;
    for (const OpSlot& slot : m_shared.ProgramOps()) {
        const ServerSlot& server = m_shared.servers[static_cast<size_t>(slot.nServer)];
        settings.operations.push_back(std::make_unique<CPortForwardOp>());
        CPortForwardOp& op = *settings.operations.back();
        op.m_settings.m_nProtocol = slot.bUdp ? kProtocolUdp : kProtocolTcp;
        op.m_settings.m_dwLocalIp = m_shared.dwOpIp;
        op.m_settings.m_strLocalInterface = FormatIpAddress(m_shared.dwOpIp);
        op.m_settings.m_strRemoteHost = FormatIpAddress(m_shared.dwServerIp);
        op.m_settings.m_wRemotePort = slot.bUdp ? server.wUdpPort : server.wTcpPort;
        op.m_settings.m_nMaxSessions = 1000;
        op.m_settings.m_nUdpTimeoutMs = 1000;
        op.m_bRunning = 1;
        *ppNext = &op;
        ppNext = &op.m_pNext;
    }
    settings.opCount = kProgramOps;
    if (SaveSettingsFile(settings, m_strSettings.c_str()) != 0 || ReadWholeFile(m_strSettings, &m_image) != 0) {
        m_shared.Fail("the program's settings file could not be written");
    }
}

void CProgramRun::Start() {
    if (!IsWanted()) return;
    if (m_image.empty()) WriteSettings();
    MakeOld(m_strSettings);
    int output[2] = {};
    if (pipe2(output, O_CLOEXEC) != 0) {
        m_shared.Fail("no pipe for the program's output");
        return;
    }
    Launch(output[1]);
    close(output[1]);
    if (!ReadStarted(output[0])) m_shared.Fail("the program did not start its operations");
    close(output[0]);
    m_atStart = CountLeftBehindOf(m_nProcess);
}

void CProgramRun::Launch(int nOutput) {
    std::fflush(nullptr);
    m_nProcess = fork();
    if (m_nProcess != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(nOutput, STDOUT_FILENO);
    execl(m_strProgram.c_str(), m_strProgram.c_str(), m_strSettings.c_str(), static_cast<char*>(nullptr));
    std::perror(m_strProgram.c_str());
    _exit(127);
}

// The operations' lines come in the order of the file.
bool CProgramRun::ReadStarted(int nOutput) {
    std::string strLine;
    size_t nStarted = 0;
    while (nStarted < kProgramOps) {
        pollfd wait = {nOutput, POLLIN, 0};
        char ch = 0;
        if (poll(&wait, 1, kOutputWaitMs) <= 0 || read(nOutput, &ch, 1) != 1) return false;
        if (ch != '\n') {
            strLine += ch;
        } else if (strLine.starts_with("started ")) {
            m_shared.ProgramOps()[nStarted++].wPort = PortIn(strLine);
            strLine.clear();
        }
    }
    return true;
}

void CProgramRun::Restart() {
    CDisturbedTime disturbed;
    for (OpSlot& op : m_shared.ProgramOps()) disturbed.AddOp(op);
    Stop();
    Start();
    m_shared.Add(Tally::ProgramRestarts);
}

void CProgramRun::Stop() {
    kill(m_nProcess, SIGTERM);
    int nStatus = 0;
    for (int n = 0; waitpid(m_nProcess, &nStatus, WNOHANG) == 0; ++n) {
        if (n == kEndTries) {
            m_shared.Fail("the program does not end");
            return;
        }
        Sleep(kPollMs);
    }
    m_nProcess = 0;
    if (!WIFEXITED(nStatus) || WEXITSTATUS(nStatus) != 0) m_shared.Fail("the program ended with %#x", nStatus);
    std::vector<uint8_t> image;
    if (IsOld(m_strSettings) || ReadWholeFile(m_strSettings, &image) != 0 || image != m_image) {
        m_shared.Fail("the program did not save its settings as they were");
    }
}

void CProgramRun::EndBehindLoad() {
    if (m_nProcess == 0) return;
    LeftBehind left = CountLeftBehindOf(m_nProcess);
    const auto isMore = [&] { return left.nThreads > kIdleThreads || left.nDescriptors > m_atStart.nDescriptors; };
    for (int n = 0; n < kRestTries && isMore(); ++n) {
        Sleep(kPollMs);
        left = CountLeftBehindOf(m_nProcess);
    }
    std::printf("%-28s %d threads, %d descriptors\n", "the program behind the load:", left.nThreads, left.nDescriptors);
    if (isMore()) {
        m_shared.Fail("the program keeps threads or descriptors");
    }
    Stop();
}
