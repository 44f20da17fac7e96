#include "engine/port_forward_op.h"

#include <new>

namespace {

// Between two interrupts of a call that the system can miss.
constexpr uint32_t kInterruptMs = 10;

}  // namespace

CPortForwardOp::~CPortForwardOp() {
    // An operation that was read from a file may hold the flag without ever having been started: it has no thread.
    if (m_bRunning != 0 && m_nThreads > 0) Stop();
    EndLeftThreads();
}

bool CPortForwardOp::Start() {
    if (m_bRunning != 0) return true;
    EndLeftThreads();
    m_dBytesFromClient = 0;
    m_dBytesFromServer = 0;
    m_nTotalSessions = 0;
    m_nStartError = 0;
    if (!ProtocolText(m_settings.m_nProtocol)) return false;
    m_bListenerStop = 0;
    m_bUdpStop = 0;
    m_bRunning = 1;
    m_bStarting = 1;
    if (!BeginThread(m_settings.m_nProtocol == kProtocolTcp ? TcpListenerThread : UdpListenerThread, this)) {
        FailStart(ThreadStartError());
    }
    m_pCounters->changed.Wait([this] { return m_bStarting == 0; });
    // A listener that failed has told so; its thread is gone in a moment.
    if (m_bRunning == 0) m_pCounters->changed.Wait([this] { return m_nThreads <= 0; });
    return m_bRunning != 0;
}

void CPortForwardOp::FailStart(int32_t nError) {
    m_nStartError = nError;
    m_bRunning = 0;
    SetStarted();
}

void CPortForwardOp::SetStarted() {
    m_bStarting = 0;
    m_pCounters->changed.Tell();
}

bool CPortForwardOp::Stop() {
    if (m_bRunning != 0) {
        if (m_settings.m_nProtocol == kProtocolUdp) {
            StopUdp();
            m_pCounters->changed.Wait([this] { return m_nActiveSessions <= 0; });
        }
        m_bListenerStop = 1;
        // The threads are the last to go: the set-ups among them, which may yet open a session, end it and take it off.
        do {
            InterruptListener();
        } while (!m_pCounters->changed.WaitFor(kInterruptMs, [this] { return m_nThreads <= 0; }));
    }
    EndLeftThreads();
    m_pCounters->lingering.CloseOf(this);
    m_bStopping = 0;
    return true;
}

void CPortForwardOp::InterruptListener() {
    const auto hListen = ListenSocket();
    if (hListen) hListen->Interrupt();
}

void CPortForwardOp::StopUdp() {
    m_bUdpStop = 1;
    std::shared_ptr<CPoller> pPoller;
    {
        const std::scoped_lock lock(m_csListenSocket);
        pPoller = m_pUdpPoller;
    }
    if (pPoller) pPoller->Wake();
}

void CPortForwardOp::AddThread() {
    m_pCounters->nThreads.fetch_add(1);
    m_nThreads.fetch_add(1);
}

void CPortForwardOp::RemoveThread() {
    EngineCounters& counters = *m_pCounters;
    const CTelling telling(&counters.changed);
    counters.nThreads.fetch_sub(1);
    m_nThreads.fetch_sub(1);
}

void CPortForwardOp::AddSetup() {
    m_pCounters->nPendingSetups.fetch_add(1);
    AddThread();
}

void CPortForwardOp::RemoveSetup() {
    EngineCounters& counters = *m_pCounters;
    const CTelling telling(&counters.changed);
    RemoveThread();
    counters.nPendingSetups.fetch_sub(1);
}

void CPortForwardOp::AddAcceptor() {
    m_pCounters->nAcceptors.fetch_add(1);
    m_nAcceptors.fetch_add(1);
}

void CPortForwardOp::RemoveAcceptor() {
    EngineCounters& counters = *m_pCounters;
    const CTelling telling(&counters.changed);
    counters.nAcceptors.fetch_sub(1);
    m_nAcceptors.fetch_sub(1);
}

void CPortForwardOp::AddSession() {
    m_pCounters->nSessions.fetch_add(1);
    m_nSessions.fetch_add(1);
    m_nTotalSessions.fetch_add(1);
    m_nActiveSessions.fetch_add(1);
}

void CPortForwardOp::RemoveSession() {
    m_nActiveSessions.fetch_sub(1);
    m_pCounters->nSessions.fetch_sub(1);
    m_nSessions.fetch_sub(1);
    m_pCounters->changed.Tell();
}

int32_t CPortForwardOp::OpenListenSocket() try {
    const bool bTcp = m_settings.m_nProtocol == kProtocolTcp;
    auto hListen = std::make_shared<CSocket>();
    int32_t nError = hListen->Open(bTcp ? SocketKind::Tcp : SocketKind::Udp);
    if (nError == 0) nError = hListen->Bind({m_settings.m_dwLocalIp, m_settings.m_wLocalPort});
    if (nError == 0 && bTcp) nError = hListen->Listen();
    if (nError == 0) SetListenSocket(std::move(hListen));
    return nError;
} catch (const std::bad_alloc&) {
    return ThreadStartError();
}

std::shared_ptr<CSocket> CPortForwardOp::ListenSocket() {
    const std::scoped_lock lock(m_csListenSocket);
    return m_hListenSocket;
}

void CPortForwardOp::SetListenSocket(std::shared_ptr<CSocket> hListen) {
    const std::scoped_lock lock(m_csListenSocket);
    m_hListenSocket.swap(hListen);
}

void CPortForwardOp::SetUdpPoller(std::shared_ptr<CPoller> pPoller) {
    const std::scoped_lock lock(m_csListenSocket);
    m_pUdpPoller.swap(pPoller);
}

uint16_t CPortForwardOp::ListenPort() {
    const auto hListen = ListenSocket();
    Endpoint local;
    const bool bChosen = m_settings.m_wLocalPort == 0 && hListen && hListen->LocalEndpoint(&local) == 0;
    return bChosen ? local.wPort : m_settings.m_wLocalPort;
}

void CPortForwardOp::ListSession(TcpSession& session) {
    const std::scoped_lock lock(m_csTcpSockets);
    session.node = {&session, &m_TcpSocketHead, m_TcpSocketHead.pNext};
    if (session.node.pNext != nullptr) session.node.pNext->pPrevious = &session.node;
    m_TcpSocketHead.pNext = &session.node;
}

void CPortForwardOp::UnlistSession(TcpSession& session) {
    {
        const std::scoped_lock lock(m_csTcpSockets);
        session.node.pPrevious->pNext = session.node.pNext;
        if (session.node.pNext != nullptr) session.node.pNext->pPrevious = session.node.pPrevious;
    }
    m_pCounters->changed.Tell();
}

void CPortForwardOp::InterruptTcpSessions() {
    const std::scoped_lock lock(m_csTcpSockets);
    for (TcpSocketNode* pNode = m_TcpSocketHead.pNext; pNode != nullptr; pNode = pNode->pNext) {
        pNode->pSession->Interrupt();
    }
}

bool CPortForwardOp::HasTcpSessions() {
    const std::scoped_lock lock(m_csTcpSockets);
    return m_TcpSocketHead.pNext != nullptr;
}

// A listener that ended by itself leaves the operation stopped while its sessions still run down. They must be gone before
// the settings change, the operation starts again or its memory goes.
void CPortForwardOp::EndLeftThreads() {
    if (m_nThreads <= 0) return;
    m_bListenerStop = 1;
    StopUdp();
    do {
        InterruptTcpSessions();
    } while (!m_pCounters->changed.WaitFor(kInterruptMs, [this] { return m_nThreads <= 0; }));
}

bool CPortForwardOp::IsClientAllowed(uint32_t dwIp) const {
    const IpRangeList& allowed = m_settings.m_allowRanges;
    if (!IsEmptyList(allowed) && !IsInRanges(allowed, dwIp)) return false;
    return !IsInRanges(m_settings.m_blockRanges, dwIp);
}
