// The engine under test as a process of its own, which does what the supervisor of the soak says.
//
// Its arguments are descriptors of packet sockets. Each is served by one thread: a packet is a command with its words
// between tabs, and one packet answers it. An operation is named in the commands of one socket only, so that it is started
// and stopped by one thread at a time; what is no operation's belongs to the first socket. The process ends when all are
// closed.
#include <malloc.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "language/language_store.h"
#include "log/log_writer.h"
#include "platform/threads/threads.h"
#include "shell/app_settings.h"
#include "shell/link_operation.h"
#include "store/settings_image.h"

namespace {

using Words = std::vector<std::string>;

constexpr size_t kOperations = 64;
constexpr size_t kMostPacketBytes = 8192;
constexpr uint32_t kPollMs = 20;

class CEngineHost {
  public:
    CEngineHost();
    void ServeChannel(int nSocket);
    /// Asks for the log to be written, as the timer of the program does, until the end.
    void RunLogTimer(const std::atomic<bool>& bEnd);

  private:
    using Command = std::string (CEngineHost::*)(const Words& words);

    std::string Answer(const Words& words);
    // Of an operation: its number. An empty answer says that all is well.
    std::string Start(const Words& words);  // with its settings; the answer is the system's error, or 0
    std::string Stop(const Words& words);
    std::string Delete(const Words& words);  // running as it is; the next start is that of a new one
    // Of the process.
    std::string FailThreads(const Words& words);  // behind so many starts; -1 ends it
    std::string Resolve(const Words& words);
    std::string SetLog(const Words& words);  // on or off, path
    std::string SetTexts(
        const Words& words);  // language, entry and date template, without blocked clients or with them
    std::string BeginLog(const Words& words);
    std::string EndLog(const Words& words);
    std::string Counters(const Words& words);  // threads, sessions, set-ups
    std::string Heap(const Words& words);      // bytes that are allocated, 0 where a sanitizer has the heap; all must be stopped

    AppSettings m_settings;
    EngineCounters m_counters;
    LogQueue m_logQueue;
    std::array<std::unique_ptr<CPortForwardOp>, kOperations> m_ops;  // each: the one channel that names it
};

int32_t Number(const std::string& strWord) {
    return std::atoi(strWord.c_str());
}

CEngineHost::CEngineHost() {
    ApplyLanguage(&m_settings);
    SetDefaultSettings(&m_settings);
    m_settings.logQueue = &m_logQueue;
}

std::string CEngineHost::Start(const Words& words) {
    auto& pOp = m_ops.at(static_cast<size_t>(Number(words.at(1))));
    if (!pOp) {
        pOp = std::make_unique<CPortForwardOp>();
        LinkOperation(pOp.get(), m_settings, &m_counters, &m_logQueue);
    }
    OpSettings& settings = pOp->m_settings;
    settings.m_nProtocol = Number(words.at(2));
    if (!ParseIpAddress(words.at(3), &settings.m_dwLocalIp)) return "no address";
    settings.m_wLocalPort = static_cast<uint16_t>(Number(words.at(4)));
    settings.m_strRemoteHost = words.at(5);
    settings.m_wRemotePort = static_cast<uint16_t>(Number(words.at(6)));
    settings.m_bBounce = static_cast<uint8_t>(Number(words.at(7)));
    settings.m_nMaxSessions = Number(words.at(8));
    settings.m_nUdpTimeoutMs = Number(words.at(9));
    settings.m_bFiltersEnabled = static_cast<uint8_t>(Number(words.at(10)));
    // Lists that let the load in, whatever their length.
    settings.m_allowRanges.assign(static_cast<size_t>(Number(words.at(11))),
                                  {IpFromNumber(0x7F000000), IpFromNumber(0x7FFFFFFF)});
    settings.m_blockRanges.assign(static_cast<size_t>(Number(words.at(12))),
                                  {IpFromNumber(0x0A000001), IpFromNumber(0x0AFFFFFF)});
    return pOp->Start() ? "0" : std::to_string(pOp->m_nStartError);
}

std::string CEngineHost::Stop(const Words& words) {
    CPortForwardOp& op = *m_ops.at(static_cast<size_t>(Number(words.at(1))));
    op.m_bStopping = 1;
    op.Stop();
    const bool bAtRest = op.m_bRunning == 0 && op.m_bStopping == 0 && op.m_nThreads == 0 && op.m_nSessions == 0 &&
                         op.m_nActiveSessions == 0 && !op.ListenSocket();
    return bAtRest ? "" : "it is stopped and has something left running";
}

std::string CEngineHost::Delete(const Words& words) {
    m_ops.at(static_cast<size_t>(Number(words.at(1)))).reset();
    return "";
}

std::string CEngineHost::FailThreads(const Words& words) {
    FailThreadStartsAfter(Number(words.at(1)));
    return "";
}

std::string CEngineHost::Resolve(const Words& words) {
    uint32_t dwIp = 0;
    return ResolveHostName(words.at(1), &dwIp) ? FormatIpAddress(dwIp) : "";
}

std::string CEngineHost::SetLog(const Words& words) {
    m_settings.autoLogEnabled = static_cast<uint8_t>(Number(words.at(1)));
    m_settings.logFilePath.Set(words.at(2));
    return "";
}

std::string CEngineHost::SetTexts(const Words& words) {
    m_settings.languageCode = static_cast<uint32_t>(Number(words.at(1)));
    ApplyLanguage(&m_settings);
    m_settings.logEntryFormat.Set(words.at(2));
    m_settings.logDateFormat.Set(words.at(3));
    m_settings.noLogBlocked = static_cast<uint8_t>(Number(words.at(4)));
    return "";
}

std::string CEngineHost::BeginLog(const Words& /*words*/) {
    return AfxBeginThread(LogWriterThread, &m_settings) ? "" : "the log writer did not start";
}

std::string CEngineHost::EndLog(const Words& /*words*/) {
    m_settings.logWriterStop = 1;
    while (m_settings.logWriterStop != 0) Sleep(kPollMs);
    FreeLogEntries(m_logQueue.TakeAll());
    return "";
}

std::string CEngineHost::Counters(const Words& /*words*/) {
    return std::to_string(m_counters.nThreads) + " " + std::to_string(m_counters.nSessions) + " " +
           std::to_string(m_counters.nPendingSetups);
}

std::string CEngineHost::Heap(const Words& /*words*/) {
    ReleaseParkedThreads();
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return "0";
#endif
    malloc_trim(0);
    const struct mallinfo2 heap = mallinfo2();
    return std::to_string(heap.uordblks + heap.hblkhd);
}

void CEngineHost::RunLogTimer(const std::atomic<bool>& bEnd) {
    for (; !bEnd; Sleep(kPollMs)) RequestLogFlush(&m_settings);
}

std::string CEngineHost::Answer(const Words& words) {
    static const std::map<std::string, Command> kCommands = {
        {"start", &CEngineHost::Start},        {"stop", &CEngineHost::Stop},
        {"delete", &CEngineHost::Delete},      {"fail threads", &CEngineHost::FailThreads},
        {"resolve", &CEngineHost::Resolve},    {"set log", &CEngineHost::SetLog},
        {"set texts", &CEngineHost::SetTexts}, {"begin log", &CEngineHost::BeginLog},
        {"end log", &CEngineHost::EndLog},     {"counters", &CEngineHost::Counters},
        {"heap", &CEngineHost::Heap},
    };
    return std::invoke(kCommands.at(words.at(0)), this, words);
}

Words SplitAtTabs(std::string_view strPacket) {
    Words words(1);
    for (const char ch : strPacket) {
        if (ch == '\t') {
            words.emplace_back();
        } else {
            words.back() += ch;
        }
    }
    return words;
}

void CEngineHost::ServeChannel(int nSocket) {
    std::array<char, kMostPacketBytes> packet;
    for (ssize_t nBytes; (nBytes = recv(nSocket, packet.data(), packet.size(), 0)) > 0;) {
        const std::string strAnswer = "=" + Answer(SplitAtTabs({packet.data(), static_cast<size_t>(nBytes)}));
        send(nSocket, strAnswer.data(), strAnswer.size(), MSG_NOSIGNAL);
    }
}

}  // namespace

int main(int nArguments, char** ppszArguments) {
    CEngineHost host;
    std::atomic<bool> bEnd = false;
    std::thread timer([&] { host.RunLogTimer(bEnd); });
    std::vector<std::thread> channels;
    for (int n = 1; n < nArguments; ++n) {
        channels.emplace_back([&host, nSocket = Number(ppszArguments[n])] { host.ServeChannel(nSocket); });
    }
    for (std::thread& channel : channels) channel.join();
    bEnd = true;
    timer.join();
}
