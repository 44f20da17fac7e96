// The vocabulary of the engine's tests: operations that are linked to counters, texts and a log of the test's own, and
// the clients and servers on both sides of them. A call that blocks for ever is left to the watchdog.
#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "engine/port_forward_op.h"
#include "platform/threads/threads_testing.h"
#include "tests/support/process.h"
#include "tests/support/wait.h"

using Lines = std::vector<std::string>;

/// The events by short names, from the first slot on.
inline TextTable EventTexts() {
    TextTable texts;
    texts.SetText(119, "the client");
    uint32_t nSlot = 134;
    for (const char* pszEvent : {"ended", "bad IP", "threads", "sessions", "unused", "allocation", "unresolved",
                                 "no socket", "no connection", "accepted"}) {
        texts.SetText(nSlot++, pszEvent);
    }
    return texts;
}

/// 127.0.0.1 with this port (host byte order).
inline Endpoint Loopback(uint16_t wPort = 0) {
    return {IpFromNumber(0x7F000001), wPort};
}

/// One socket of this machine.
struct CPeer {
    /// Bound to the port, or to a free one; a TCP socket listens.
    static CPeer Server(SocketKind kind, uint16_t wPort = 0, int32_t nBacklog = 100) {
        CPeer server;
        EXPECT_EQ(server.m_hSocket.Open(kind), 0);
        EXPECT_EQ(server.m_hSocket.Bind(Loopback(wPort)), 0);
        EXPECT_TRUE(kind == SocketKind::Udp || server.m_hSocket.Listen(nBacklog) == 0);
        return server;
    }
    /// Connected to the port. A UDP socket then hears nobody else.
    static CPeer Client(SocketKind kind, uint16_t wPort) {
        CPeer client;
        EXPECT_EQ(client.m_hSocket.Open(kind), 0);
        EXPECT_EQ(client.m_hSocket.Connect(Loopback(wPort)), 0);
        return client;
    }
    CPeer Accept() {
        CPeer client;
        EXPECT_EQ(m_hSocket.Accept(&client.m_hSocket, &m_last), 0);
        return client;
    }

    void Send(const std::string& strBytes) {
        EXPECT_EQ(m_hSocket.Send(strBytes.data(), strBytes.size()).nBytes, std::ssize(strBytes));
    }
    /// A datagram to whom the last one came from.
    void Reply(const std::string& strBytes) {
        EXPECT_EQ(m_hSocket.SendTo(strBytes.data(), strBytes.size(), m_last).nBytes, std::ssize(strBytes));
    }
    /// Exactly this many bytes of a TCP connection; fewer if it ends before.
    std::string Read(size_t nBytes) {
        std::string strBytes(nBytes, '\0');
        size_t nRead = 0;
        int32_t nNow = 1;
        for (; nRead < nBytes && nNow > 0; nRead += static_cast<size_t>(std::max(nNow, 0))) {
            nNow = m_hSocket.Recv(strBytes.data() + nRead, nBytes - nRead).nBytes;
        }
        return strBytes.substr(0, nRead);
    }
    /// One datagram; its sender goes to m_last.
    std::string Datagram() {
        std::string strBytes(65536, '\0');
        const IoResult result = m_hSocket.RecvFrom(strBytes.data(), strBytes.size(), &m_last);
        EXPECT_GE(result.nBytes, 0) << "code " << result.nError;
        return strBytes.substr(0, static_cast<size_t>(std::max(result.nBytes, 0)));
    }
    /// Waits for the end of the TCP connection and drops what still comes. Always true.
    bool IsClosedByPeer() { return Read(4096).empty() || IsClosedByPeer(); }
    uint16_t Port() const {
        Endpoint local;
        EXPECT_EQ(m_hSocket.LocalEndpoint(&local), 0);
        return local.wPort;
    }

    CSocket m_hSocket;
    Endpoint m_last;
};

class EngineTest : public testing::Test {
  protected:
    using Edit = std::function<void(OpSettings&)>;

    EngineTest() { m_strings.Replace(EventTexts()); }
    ~EngineTest() override {
        FailThreadStartsAfter(-1);
        for (const auto& pOp : m_ops) ExpectStopped(*pOp);
        m_ops.clear();
        const EngineCounters& c = m_counters;
        EXPECT_EQ((std::array<int32_t, 2>{c.nThreads, c.nSessions}), (std::array{0, 0}));
        EXPECT_TRUE(WaitFor([&] { return c.nPendingSetups == 0; })) << "the last to fall at the end of a set-up";
        EXPECT_TRUE(IsHeapSound());
        ReleaseParkedThreads();
    }

    /// An operation from a free port to the server of its protocol, not started.
    CPortForwardOp& Make(int32_t nProtocol, const Edit& edit = {}) {
        CPortForwardOp& op = *m_ops.emplace_back(std::make_unique<CPortForwardOp>());
        op.m_settings.m_nProtocol = nProtocol;
        op.m_settings.m_dwLocalIp = Loopback().dwIp;
        op.m_settings.m_strRemoteHost = "127.0.0.1";
        op.m_settings.m_wRemotePort = (nProtocol == kProtocolUdp ? m_udp : m_tcp).Port();
        if (edit) edit(op.m_settings);
        op.m_pStrings = &m_strings;
        op.m_pCounters = &m_counters;
        op.m_pLogQueue = &m_logQueue;
        op.m_pLoggingEnabled = &m_bLoggingEnabled;
        op.m_pSuppressBlocked = &m_bSuppressBlocked;
        op.m_pLogFormat = &m_logFormat;
        op.m_pDateFormat = &m_dateFormat;
        return op;
    }
    CPortForwardOp& Start(int32_t nProtocol, const Edit& edit = {}) {
        CPortForwardOp& op = Make(nProtocol, edit);
        EXPECT_TRUE(op.Start()) << op.m_nStartError;
        return op;
    }
    static CPeer ClientOf(CPortForwardOp& op) {
        const bool bUdp = op.m_settings.m_nProtocol == kProtocolUdp;
        return CPeer::Client(bUdp ? SocketKind::Udp : SocketKind::Tcp, op.ListenPort());
    }

    /// Takes what the log holds once this many lines have come, each "event|protocol|remote host|client's port".
    Lines Log(size_t nCount = 0) {
        Lines lines;
        const auto take = [&] {
            auto pAll = m_logQueue.TakeAll();
            for (const LogEntry* p = pAll.get(); p != nullptr; p = p->pNext.get()) lines.push_back(p->strText);
            FreeLogEntries(std::move(pAll));
            return lines.size() >= nCount;
        };
        EXPECT_TRUE(WaitFor(std::ref(take)));  // no allocation, which a test may have let fail
        return lines;
    }
    /// The same, of each line the event only.
    Lines Events(size_t nCount = 0) {
        auto lines = Log(nCount);
        for (std::string& strLine : lines) strLine.resize(std::min(strLine.size(), strLine.find('|')));
        return lines;
    }

    /// The client's datagram reaches the server.
    void ExpectPasses(CPeer& client, const std::string& strBytes) {
        client.Send(strBytes);
        EXPECT_EQ(m_udp.Datagram(), strBytes);
    }
    /// The same, and a longer answer reaches the client.
    void ExpectEchoed(CPeer& client, const std::string& strBytes) {
        ExpectPasses(client, strBytes);
        m_udp.Reply(strBytes + "!");
        EXPECT_EQ(client.Datagram(), strBytes + "!");
    }
    /// A new client's bytes reach the server, and an answer the client.
    void ExpectForwards(CPortForwardOp& op) {
        CPeer client = ClientOf(op);
        if (op.m_settings.m_nProtocol == kProtocolUdp) return ExpectEchoed(client, "ping");
        CPeer far = m_tcp.Accept();
        ExpectForwardsBothWays(client, far);
    }
    static void ExpectForwardsBothWays(CPeer& client, CPeer& far) {
        client.Send("ping");
        EXPECT_EQ(far.Read(4), "ping");
        far.Send("pong!");
        EXPECT_EQ(client.Read(5), "pong!");
    }
    /// No session is left, and of the operation's threads the listener only.
    void ExpectIdle(const CPortForwardOp& op) {
        const auto sum = [&] { return op.m_nThreads + op.m_nSessions + op.m_nActiveSessions + m_counters.nSessions; };
        EXPECT_TRUE(WaitFor([&] { return sum() == 1; })) << sum();
    }
    void ExpectStopped(CPortForwardOp& op) {
        op.m_bStopping = 1;
        EXPECT_TRUE(op.Stop());
        EXPECT_EQ(op.m_bStopping + op.m_bRunning, 0);
        EXPECT_EQ((std::array<int32_t, 3>{op.m_nThreads, op.m_nSessions, op.m_nActiveSessions}), (std::array{0, 0, 0}));
        EXPECT_FALSE(op.HasTcpSessions());
        EXPECT_EQ(op.ListenSocket(), nullptr);
        const std::scoped_lock lock(op.m_csUdpSessions);
        EXPECT_TRUE(op.m_udpSessions.IsEmpty());
    }

    CWatchdog m_watchdog;
    CPeer m_tcp = CPeer::Server(SocketKind::Tcp);
    CPeer m_udp = CPeer::Server(SocketKind::Udp);
    SlotTable m_strings;
    EngineCounters m_counters;
    LogQueue m_logQueue;
    std::atomic<uint8_t> m_bLoggingEnabled = 1;
    std::atomic<uint8_t> m_bSuppressBlocked = 0;
    CSharedValue<std::string> m_logFormat{std::string("%G%E|%P|%RHost|%CPort")};
    CSharedValue<std::string> m_dateFormat;
    std::vector<std::unique_ptr<CPortForwardOp>> m_ops;
};
