#include "engine/udp_service.h"

#include <algorithm>
#include <chrono>

#include "engine/port_forward_op.h"

namespace {

constexpr size_t kReadyAtOnce = 64;
// A session ends less than 100 ms behind its timeout. Most of that is waited, so that sessions end together.
constexpr int64_t kSlackMs = 80;

int64_t ReadClockMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace

CUdpService::CUdpService(CPortForwardOp& op)
    : m_op(op),
      m_hListen(op.ListenSocket()),
      m_pPoller(std::make_shared<CPoller>()),
      m_waiting([pPoller = m_pPoller] { pPoller->Wake(); }) {}

int32_t CUdpService::Open() {
    if (const int32_t nError = m_pPoller->Open()) return nError;
    // An operation with one address answers from it anyway.
    if (m_op.m_settings.m_dwLocalIp == 0) static_cast<void>(m_hListen->TellTargets());
    return m_pPoller->Add(*m_hListen, this);
}

bool CUdpService::HasSessions() const {
    return m_idle.Stalest() != nullptr;
}

int32_t CUdpService::WaitMs() const {
    const UdpSession* const pSession = m_idle.Stalest();
    if (pSession == nullptr) return CPoller::kForever;
    const int64_t nEndMs = pSession->nLastMs + std::max(pSession->nTimeoutMs, 0) + kSlackMs;
    return static_cast<int32_t>(std::clamp<int64_t>(nEndMs - m_nNowMs, 0, INT32_MAX));
}

void CUdpService::ServeOnce() {
    std::array<CPoller::Ready, kReadyAtOnce> ready;
    const size_t nReady = m_pPoller->Wait(WaitMs(), ready);
    if (m_op.m_bUdpStop != 0) return;
    m_nNowMs = ReadClockMs();
    for (const auto& [pOwner, bEnded] : std::span(ready).first(nReady)) {
        if (pOwner != this) {
            TakeFromServer(static_cast<UdpSession*>(pOwner));
        } else if (bEnded) {
            m_bListening = false;
        } else {
            SendReplies();
            TakeFromClients();
        }
    }
    SendReplies();
    FinishLookups();
    EndSilentSessions();
}

void CUdpService::Serve() {
    while (m_op.m_bUdpStop == 0 && m_bListening) ServeOnce();
    if (m_op.m_bUdpStop != 0) EndAllSessions();
}

void CUdpService::ServeSessionsLeft() {
    m_bLastStays = true;
    m_pPoller->Remove(*m_hListen);
    while (m_op.m_bUdpStop == 0 && HasSessions()) ServeOnce();
    EndAllSessions();
}
