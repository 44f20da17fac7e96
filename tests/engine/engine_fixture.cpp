#include "tests/engine/engine_fixture.h"

#include "platform/threads/threads_testing.h"
#include "tests/support/process.h"

Endpoint Loopback(uint16_t wPort) {
    return {IpFromNumber(0x7F000001), wPort};
}

namespace {

CSocket OpenBound(SocketKind kind, uint16_t wPort) {
    CSocket hSocket;
    EXPECT_EQ(hSocket.Open(kind), 0);
    EXPECT_EQ(hSocket.Bind(Loopback(wPort)), 0);
    return hSocket;
}

CSocket OpenConnected(SocketKind kind, uint16_t wPort) {
    CSocket hSocket;
    EXPECT_EQ(hSocket.Open(kind), 0);
    EXPECT_EQ(hSocket.Connect(Loopback(wPort)), 0);
    return hSocket;
}

uint16_t PortOfSocket(const CSocket& hSocket) {
    Endpoint local;
    EXPECT_EQ(hSocket.LocalEndpoint(&local), 0);
    return local.wPort;
}

}  // namespace

CPeer CPeer::Udp(uint16_t wPort) {
    return CPeer(OpenBound(SocketKind::Udp, wPort));
}

CPeer CPeer::ConnectTcp(uint16_t wPort) {
    return CPeer(OpenConnected(SocketKind::Tcp, wPort));
}

CPeer CPeer::ConnectUdp(uint16_t wPort) {
    return CPeer(OpenConnected(SocketKind::Udp, wPort));
}

void CPeer::Send(const std::string& strBytes) {
    EXPECT_EQ(m_hSocket.Send(strBytes.data(), strBytes.size()).nBytes, static_cast<int32_t>(strBytes.size()));
}

void CPeer::SendTo(const std::string& strBytes, const Endpoint& peer) {
    EXPECT_EQ(m_hSocket.SendTo(strBytes.data(), strBytes.size(), peer).nBytes, static_cast<int32_t>(strBytes.size()));
}

std::string CPeer::Read(size_t nBytes) {
    std::string strBytes(nBytes, '\0');
    size_t nRead = 0;
    while (nRead < nBytes) {
        const IoResult result = m_hSocket.Recv(strBytes.data() + nRead, nBytes - nRead);
        if (result.nBytes <= 0) break;
        nRead += static_cast<size_t>(result.nBytes);
    }
    strBytes.resize(nRead);
    return strBytes;
}

std::string CPeer::Datagram() {
    std::string strBytes(65536, '\0');
    const IoResult result = m_hSocket.RecvFrom(strBytes.data(), strBytes.size(), &m_last);
    EXPECT_GE(result.nBytes, 0) << "code " << result.nError;
    strBytes.resize(result.nBytes < 0 ? 0 : static_cast<size_t>(result.nBytes));
    return strBytes;
}

bool CPeer::IsClosedByPeer() {
    char buffer[4096];
    while (m_hSocket.Recv(buffer, sizeof buffer).nBytes > 0) {
    }
    return true;
}

uint16_t CPeer::Port() const {
    return PortOfSocket(m_hSocket);
}

CServer::CServer(int32_t nBacklog) : m_hListen(OpenBound(SocketKind::Tcp, 0)) {
    EXPECT_EQ(m_hListen.Listen(nBacklog), 0);
}

CPeer CServer::Accept() {
    CSocket hClient;
    EXPECT_EQ(m_hListen.Accept(&hClient, &m_lastClient), 0);
    return CPeer(std::move(hClient));
}

uint16_t CServer::Port() const {
    return PortOfSocket(m_hListen);
}

TextTable EventTexts() {
    TextTable texts;
    const char* const events[] = {kEnded,           kBadIp,      kTooManyThreads, kTooManySessions, kTooManyThreads,
                                  kAllocationFault, kUnresolved, "no socket",     kNoConnection,    kAccepted};
    uint32_t nSlot = 134;
    for (const char* pszEvent : events) texts.SetText(nSlot++, pszEvent);
    texts.SetText(119, "~\\_Client_/~");
    return texts;
}

EngineTest::EngineTest() {
    m_strings.Replace(EventTexts());
}

EngineTest::~EngineTest() {
    FailThreadStartsAfter(-1);
    for (const auto& pOp : m_ops) ExpectStopped(*pOp);
    m_ops.clear();
    EXPECT_EQ(m_counters.nThreads, 0);
    EXPECT_EQ(m_counters.nSessions, 0);
    EXPECT_EQ(m_counters.nPendingSetups, 0);
    EXPECT_TRUE(IsHeapSound());
    ReleaseParkedThreads();
}

CPortForwardOp& EngineTest::MakeOp(int32_t nProtocol, uint16_t wRemotePort) {
    m_ops.push_back(std::make_unique<CPortForwardOp>());
    CPortForwardOp& op = *m_ops.back();
    op.m_settings.m_nProtocol = nProtocol;
    op.m_settings.m_dwLocalIp = Loopback().dwIp;
    op.m_settings.m_strRemoteHost = "127.0.0.1";
    op.m_settings.m_wRemotePort = wRemotePort;
    op.m_pStrings = &m_strings;
    op.m_pCounters = &m_counters;
    op.m_pLogQueue = &m_logQueue;
    op.m_pLoggingEnabled = &m_bLoggingEnabled;
    op.m_pSuppressBlocked = &m_bSuppressBlocked;
    op.m_pLogFormat = &m_logFormat;
    op.m_pDateFormat = &m_dateFormat;
    return op;
}

CPortForwardOp& EngineTest::StartTcp(uint16_t wRemotePort) {
    CPortForwardOp& op = MakeOp(kProtocolTcp, wRemotePort);
    EXPECT_TRUE(op.Start()) << op.m_nStartError;
    return op;
}

CPortForwardOp& EngineTest::StartUdp(uint16_t wRemotePort) {
    CPortForwardOp& op = MakeOp(kProtocolUdp, wRemotePort);
    EXPECT_TRUE(op.Start()) << op.m_nStartError;
    return op;
}

uint16_t EngineTest::PortOf(CPortForwardOp& op) {
    return PortOfSocket(*op.ListenSocket());
}

std::vector<std::string> EngineTest::Log() {
    auto pFirst = m_logQueue.TakeAll();
    for (const LogEntry* pEntry = pFirst.get(); pEntry != nullptr; pEntry = pEntry->pNext.get()) {
        m_log.push_back(pEntry->strText);
    }
    FreeLogEntries(std::move(pFirst));
    return m_log;
}

std::vector<std::string> EngineTest::Events() {
    std::vector<std::string> events;
    for (const std::string& strLine : Log()) events.push_back(strLine.substr(0, strLine.find('|')));
    return events;
}

std::vector<std::string> EngineTest::WaitForEvents(size_t nCount) {
    EXPECT_TRUE(WaitFor([&] { return Log().size() >= nCount; }));
    return Events();
}

void EngineTest::ExpectIdle(const CPortForwardOp& op, int32_t nThreads) {
    EXPECT_TRUE(WaitFor([&] { return op.m_nThreads == nThreads; })) << op.m_nThreads;
    EXPECT_EQ(op.m_nSessions, 0);
    EXPECT_EQ(op.m_nActiveSessions, 0);
    EXPECT_EQ(m_counters.nSessions, 0);
}

void EngineTest::ExpectStopped(CPortForwardOp& op) {
    op.m_bStopping = 1;
    EXPECT_TRUE(op.Stop());
    EXPECT_EQ(op.m_bStopping, 0);
    EXPECT_EQ(op.m_bRunning, 0);
    EXPECT_EQ(op.m_nThreads, 0);
    EXPECT_EQ(op.m_nSessions, 0);
    EXPECT_EQ(op.m_nActiveSessions, 0);
    EXPECT_FALSE(op.HasTcpSessions());
    {
        const std::scoped_lock lock(op.m_csUdpSessions);
        EXPECT_EQ(op.m_UdpSessionHead.pNext, nullptr);
    }
    EXPECT_EQ(op.ListenSocket(), nullptr);
}
