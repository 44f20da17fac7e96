#include "soak/host_op.h"

#include "platform/threads/threads.h"
#include "shell/link_operation.h"
#include "soak/surroundings.h"

namespace {

constexpr int kStartTries = 6000;
constexpr uint32_t kStartWaitMs = 20;
constexpr uint32_t kImpossibleMs = 300;
constexpr int32_t kHighLimit = 1000;
constexpr int32_t kLowLimit = 3;

}  // namespace

CHostOp::CHostOp(SharedBlock& shared, AppSettings& settings, EngineCounters& counters, LogQueue& logQueue, int nSlot,
                 bool bHostTable)
    : m_shared(shared),
      m_settings(settings),
      m_counters(counters),
      m_logQueue(logQueue),
      m_nSlot(nSlot),
      m_bHostTable(bHostTable) {
    MakeOp();
}

void CHostOp::MakeOp() {
    const OpSlot& slot = Slot();
    const ServerSlot& server = m_shared.servers[static_cast<size_t>(slot.nServer)];
    m_pOp = std::make_unique<CPortForwardOp>();
    m_pOp->m_settings.m_nProtocol = slot.bUdp ? kProtocolUdp : kProtocolTcp;
    m_pOp->m_settings.m_dwLocalIp = m_shared.dwOpIp;
    m_pOp->m_settings.m_wRemotePort = slot.bUdp ? server.wUdpPort : server.wTcpPort;
    m_pOp->m_settings.m_strRemoteHost = slot.bByName && m_bHostTable ? kSoakHost : FormatIpAddress(m_shared.dwServerIp);
    m_pOp->m_settings.m_bBounce = slot.bBounce ? 1 : 0;
    m_pOp->m_settings.m_nMaxSessions = slot.bLimited ? kLowLimit : kHighLimit;
    m_pOp->m_settings.m_nUdpTimeoutMs = 500;
    LinkOperation(m_pOp.get(), m_settings, &m_counters, &m_logQueue);
}

void CHostOp::Start() {
    m_pOp->m_settings.m_wLocalPort = Slot().wPort;
    for (int nTry = 0; nTry < kStartTries; ++nTry) {
        if (m_pOp->Start()) {
            Slot().wPort = m_pOp->ListenPort();
            return;
        }
        Sleep(kStartWaitMs);
    }
    m_shared.Fail("operation %d did not start: error %d", m_nSlot, m_pOp->m_nStartError.load());
}

void CHostOp::Stop() {
    m_pOp->m_bStopping = 1;
    m_pOp->Stop();
    if (!IsAtRest()) m_shared.Fail("operation %d is stopped and has something left running", m_nSlot);
}

bool CHostOp::IsAtRest() const {
    return m_pOp->m_bRunning == 0 && m_pOp->m_bStopping == 0 && m_pOp->m_nThreads == 0 && m_pOp->m_nSessions == 0 &&
           m_pOp->m_nActiveSessions == 0 && !m_pOp->ListenSocket();
}

void CHostOp::Disturb(CRandom& random) {
    CDisturbedTime disturbed;
    disturbed.AddOp(Slot());
    if (random.OneIn(4)) {
        // Its end is that of a running operation that is deleted.
        MakeOp();
        m_shared.Add(Tally::OperationsReplaced);
    } else {
        Stop();
    }
    if (random.OneIn(2)) Sleep(static_cast<uint32_t>(random.Spread(300)));
    if (random.OneIn(2)) Change(random);
    if (Slot().bByName && !m_bHostTable) TryImpossibleHost();
    Start();
    m_shared.Add(Tally::OperationRestarts);
}

// Settings that leave the way to the server as it is.
void CHostOp::Change(CRandom& random) {
    m_pOp->m_settings.m_nUdpTimeoutMs = static_cast<int32_t>(random.Between(0, 1500));
    m_pOp->m_settings.m_bFiltersEnabled = random.OneIn(2) ? 1 : 0;
    m_pOp->m_settings.m_allowRanges.assign(random.Below(20), {IpFromNumber(0x7F000000), IpFromNumber(0x7FFFFFFF)});
    m_pOp->m_settings.m_blockRanges.assign(random.Below(20), {IpFromNumber(0x0A000001), IpFromNumber(0x0AFFFFFF)});
    if (Slot().bLimited) m_pOp->m_settings.m_nMaxSessions = static_cast<int32_t>(random.Between(1, 2 * kLowLimit));
    m_shared.Add(Tally::OperationChanges);
}

// In place of a host table from which the name goes: the operation runs for a while with a name that cannot be found.
void CHostOp::TryImpossibleHost() {
    std::string strHost = ImpossibleHost();
    strHost.swap(m_pOp->m_settings.m_strRemoteHost);
    Start();
    Sleep(kImpossibleMs);
    Stop();
    strHost.swap(m_pOp->m_settings.m_strRemoteHost);
    m_shared.Add(Tally::LookupFailures);
}
