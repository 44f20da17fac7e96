// The engine under test as a process of its own, which does what the supervisor of the soak says.
//
// Its arguments are descriptors of packet sockets. Each is served by one thread: a packet is a command, its words
// between tabs, and one packet answers it, with an equals sign at its end. An operation is named on one socket only, so
// that one thread starts and stops it; commands that name none come on the first socket. The process ends when all are
// closed.
#include <malloc.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "language/language_store.h"
#include "log/log_writer.h"
#include "platform/net/ip_address.h"
#include "platform/threads/threads_testing.h"
#include "shell/app_settings.h"
#include "shell/link_operation.h"
#include "store/byte_reader.h"
#include "store/settings_image.h"

namespace {

using Words = std::vector<std::string>;

constexpr size_t kOperations = 64;
constexpr uint32_t kTimerMs = 20;
constexpr uint32_t kLongestLogEndMs = 60'000;

template <class T = int32_t>
T Number(const std::string& strWord) {
    return static_cast<T>(std::stol(strWord));
}

// What a start has behind its number can hold tabs.
Words SplitAtTabs(const std::string& strPacket) {
    Words words;
    for (size_t nFrom = 0, nTab = 0; nTab != std::string::npos; nFrom = nTab + 1) {
        nTab = words.size() == 2 && words[0] == "start" ? std::string::npos : strPacket.find('\t', nFrom);
        words.push_back(strPacket.substr(nFrom, nTab - nFrom));
    }
    return words;
}

bool IsAtRest(CPortForwardOp& op) {
    return op.m_bRunning == 0 && op.m_bStopping == 0 && op.m_nThreads == 0 && op.m_nSessions == 0 &&
           op.m_nActiveSessions == 0 && !op.ListenSocket();
}

class CEngineHost {
  public:
    CEngineHost() {
        ApplyLanguage(&m_settings);
        SetDefaultSettings(&m_settings);
        AddOperationCommands();
        AddProcessCommands();
    }

    void ServeChannel(int nSocket) {
        std::array<char, 8192> packet;
        for (ssize_t nBytes; (nBytes = recv(nSocket, packet.data(), packet.size(), 0)) > 0;) {
            const Words words = SplitAtTabs({packet.data(), static_cast<size_t>(nBytes)});
            std::string strAnswer;
            m_commands.at(words[0])(words, strAnswer);
            strAnswer += '=';
            send(nSocket, strAnswer.data(), strAnswer.size(), MSG_NOSIGNAL);
        }
    }

    /// Asks for the log to be written, as the timer of the program does.
    void RunLogTimer(const std::atomic<bool>& bEnd) {
        for (; !bEnd; Sleep(kTimerMs)) m_logWriter.RequestFlush();
    }

  private:
    std::unique_ptr<CPortForwardOp>& Op(const Words& words) { return m_ops.at(Number<size_t>(words.at(1))); }

    void AddOperationCommands() {
        m_commands["start"] = [this](const Words& words, std::string& strAnswer) { strAnswer = Start(words); };
        m_commands["stop"] = [this](const Words& words, std::string& strAnswer) {
            Op(words)->m_bStopping = 1;
            Op(words)->Stop();
            if (!IsAtRest(*Op(words))) strAnswer = "it is stopped and has something left running";
        };
        // Running as it is; the next start is that of a new one.
        m_commands["delete"] = [this](const Words& words, std::string&) { Op(words).reset(); };
    }

    std::string Start(const Words& words) {
        auto& pOp = Op(words);
        if (!pOp) {
            pOp = std::make_unique<CPortForwardOp>();
            LinkOperation(pOp.get(), m_settings, &m_counters, &m_logWriter.Queue());
        }
        AppSettings settings;
        int32_t nOperations = 0;
        CByteReader reader(std::span(reinterpret_cast<const uint8_t*>(words.at(2).data()), words.at(2).size()));
        if (!ReadSettingsFields(&reader, &settings, &nOperations) || nOperations != 1) return "no settings";
        pOp->m_settings = settings.firstOp->m_settings;
        return pOp->Start() ? "0" : std::to_string(pOp->m_nStartError);
    }

    void AddProcessCommands() {
        // Behind so many starts; -1 ends it.
        m_commands["fail threads"] = [](const Words& words, std::string&) {
            FailThreadStartsAfter(Number(words.at(1)));
        };
        m_commands["resolve"] = [](const Words& words, std::string& strAnswer) {
            uint32_t dwIp = 0;
            if (ResolveHostName(words.at(1), &dwIp)) strAnswer = FormatIpAddress(dwIp);
        };
        m_commands["set log"] = [this](const Words& words, std::string&) {
            m_settings.autoLogEnabled = Number<uint8_t>(words.at(1));
            m_settings.logFilePath.Set(words.at(2));
        };
        // Language, template of an entry, of a date, whether blocked clients are left out.
        m_commands["set texts"] = [this](const Words& words, std::string&) {
            m_settings.languageCode = Number<uint32_t>(words.at(1));
            ApplyLanguage(&m_settings);
            m_settings.logEntryFormat.Set(words.at(2));
            m_settings.logDateFormat.Set(words.at(3));
            m_settings.noLogBlocked = Number<uint8_t>(words.at(4));
        };
        m_commands["begin log"] = [this](const Words&, std::string& strAnswer) {
            if (!m_logWriter.Start(&m_nLogWriters)) strAnswer = "the log writer did not start";
        };
        m_commands["end log"] = [this](const Words&, std::string& strAnswer) {
            if (!m_logWriter.End(kLongestLogEndMs)) strAnswer = "the log writer does not end";
            FreeLogEntries(m_logWriter.Queue().TakeAll());
        };
        // Threads, sessions, set-ups.
        m_commands["counters"] = [this](const Words&, std::string& strAnswer) {
            strAnswer = std::to_string(m_counters.nThreads) + " " + std::to_string(m_counters.nSessions) + " " +
                        std::to_string(m_counters.nPendingSetups);
        };
        // Bytes that are allocated when everything has been stopped; 0 where a sanitizer has the heap.
        m_commands["heap"] = [](const Words&, std::string& strAnswer) {
            ReleaseParkedThreads();
            malloc_trim(0);
            const struct mallinfo2 heap = mallinfo2();
            strAnswer = std::to_string(*ZELKOR_SANITIZED == 0 ? heap.uordblks + heap.hblkhd : 0);
        };
    }

    AppSettings m_settings;
    EngineCounters m_counters;
    CLogWriter m_logWriter{m_settings};
    std::atomic<int32_t> m_nLogWriters = 0;  // kept out of the counters, which are to come back to nothing
    std::array<std::unique_ptr<CPortForwardOp>, kOperations> m_ops;  // each: the one channel that names it
    std::map<std::string, std::function<void(const Words&, std::string&)>> m_commands;  // fixed after construction
};

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
