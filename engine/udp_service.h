// The UDP path of a started operation: what passes between the clients and the remote host, and when sessions end.
//
// One thread serves everything of it: the listening socket, the sockets of all sessions, the timeouts. In the counts each
// session stands for two threads nevertheless, its relay and its timer, by which the limits are measured.
#pragma once

#include <array>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "engine/session_event.h"
#include "engine/udp_session.h"
#include "engine/udp_waiting.h"
#include "platform/net/datagrams.h"
#include "platform/net/poller.h"

class CUdpService {
  public:
    /// Throws std::bad_alloc. The operation's listening socket is open.
    explicit CUdpService(CPortForwardOp& op);
    ~CUdpService() = default;
    CUdpService(const CUdpService&) = delete;
    CUdpService& operator=(const CUdpService&) = delete;

    /// Before all else; 0 or the system's error code.
    [[nodiscard]] int32_t Open();
    /// Serves until a stop, which ends all sessions, or until the listening socket fails, which ends none.
    void Serve();
    bool HasSessions() const;
    /// Behind Serve: goes on with the sessions that are left, without new ones. Of the last session's threads one stays
    /// counted: its removal is the caller's last touch of the operation.
    void ServeSessionsLeft();
    const std::shared_ptr<CPoller>& Poller() const { return m_pPoller; }

  private:
    static constexpr size_t kPlaces = CDatagramBatch::kPlaces;

    void ServeOnce();
    int32_t WaitMs() const;

    // From the clients (udp_listener.cpp)

    void TakeFromClients();
    void FindSessions(std::span<Datagram> datagrams);
    void TakeFromNewClient(Datagram* pDatagram, size_t nIndex);
    void SendToSessions(std::span<Datagram> datagrams);
    void SendThroughSession(UdpSession* pSession, std::span<Datagram* const> datagrams);
    [[nodiscard]] Rejection CheckRoom() const;
    [[nodiscard]] Rejection AdmitClient(Datagram* pDatagram);
    [[nodiscard]] Rejection MakeSession(Datagram* pDatagram, uint32_t dwTarget);
    UdpSession* FindSession(const Endpoint& client) const;
    void FinishLookups();
    void FinishLookup(WaitingClient waiting);

    // To the clients, and the ends (udp_relay.cpp)

    void TakeFromServer(UdpSession* pSession);
    bool TakeReply(UdpSession* pSession, Datagram* pDatagram);
    void PauseReplies(UdpSession* pSession);
    void ResumeReplies(UdpSession* pSession);
    void EndReplies(UdpSession* pSession);
    void SendReplies();
    void EndSilentSessions();
    void EndAllSessions();
    void EndSession(UdpSession* pSession);

    CPortForwardOp& m_op;
    const std::shared_ptr<CSocket> m_hListen;
    const std::shared_ptr<CPoller> m_pPoller;  // whoever wakes the thread holds it too
    CWaitingClients m_waiting;
    CUdpIdleList m_idle;
    bool m_bListening = true;  // the listening socket is sound
    bool m_bLastStays = false;
    int64_t m_nNowMs = 0;  // read once for everything that was ready together

    CDatagramBatch m_batch;                         // what came from the clients, or replies until they are sent
    std::array<UdpSession*, kPlaces> m_sessions{};  // of each datagram of the batch; null: none, or it is done with
    std::array<bool, kPlaces> m_refused{};          // the filter does not let its client in
    size_t m_nReplies = 0;                          // replies in the batch
    std::array<size_t, kPlaces> m_replies{};        // their places
};
