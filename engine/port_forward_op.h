// One port-forwarding-operation: its settings, its live state and its counters.
//
// Calling order: construct, give it its settings, link (the members under "Links"), then any number of Start and Stop
// pairs, then destroy. Start and Stop block and do not run at once on one object. The object does no forwarding itself:
// Start spawns a listener thread, and that one the threads of the sessions. Settings are written only while the operation
// is stopped; counters and flags can be read from any thread at any time.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "engine/engine_counters.h"
#include "engine/op_settings.h"
#include "engine/tcp_session.h"
#include "engine/udp_session.h"
#include "language/text_table.h"
#include "log/log_queue.h"
#include "platform/net/poller.h"
#include "platform/net/socket.h"
#include "platform/threads/shared_value.h"
#include "platform/threads/thread_annotations.h"
#include "platform/threads/threads.h"

/// Threads of the program that may run at once, set-up threads not counted.
inline constexpr int32_t kMaxThreads = 1500;
/// What a UDP session counts for: its relay and its timer.
inline constexpr int32_t kThreadsOfUdpSession = 2;
/// TCP set-up threads that may run at once in the whole program.
inline constexpr int32_t kMaxPendingSetups = 256;

class CPortForwardOp {
  public:
    CPortForwardOp() = default;
    /// Stops the operation if it is started, and waits for every thread that still touches it.
    ~CPortForwardOp();
    CPortForwardOp(const CPortForwardOp&) = delete;
    CPortForwardOp& operator=(const CPortForwardOp&) = delete;

    /// Whether the operation runs. Blocks until the listener is ready or has failed; m_nStartError then tells why. An
    /// operation that runs already is left as it is.
    bool Start();

    /// Ends the listener, every session and every set-up, and waits until no thread of the operation is left. Always true.
    bool Stop();

    /// Whether the filter lists let a client in. The address is in network byte order. Any thread.
    bool IsClientAllowed(uint32_t dwIp) const;

    // Settings: written while the operation is stopped, read by its threads

    OpSettings m_settings;

    // Links: set once, before the first Start; what they point at outlives the operation

    const SlotTable* m_pStrings = nullptr;
    EngineCounters* m_pCounters = nullptr;
    LogQueue* m_pLogQueue = nullptr;
    const std::atomic<uint8_t>* m_pLoggingEnabled = nullptr;
    const std::atomic<uint8_t>* m_pSuppressBlocked = nullptr;
    const CSharedValue<std::string>* m_pLogFormat = nullptr;
    const CSharedValue<std::string>* m_pDateFormat = nullptr;

    // The chain of operations in the order of the file; the engine does not use it

    CPortForwardOp* m_pNext = nullptr;

    // State: any thread reads

    std::atomic<uint8_t> m_bRunning = 0;     // started; Start sets it, the listener clears it
    std::atomic<uint8_t> m_bStarting = 0;    // Start sets it, the listener clears it when it is ready or has failed
    std::atomic<uint8_t> m_bStopping = 0;    // a stop, edit or delete is under way; its command sets it, Stop clears it
    std::atomic<int32_t> m_nStartError = 0;  // the system's reason of the last failed start; 0: none

    // Counters: any thread reads; the threads of the operation, and their creators, write

    std::atomic<int32_t> m_nActiveSessions = 0;  // sessions now open: what the limit tests and a stop waits on
    std::atomic<int32_t> m_nThreads = 0;         // threads of the operation; its last drop is a thread's last touch
    std::atomic<int32_t> m_nSessions = 0;        // sessions now open, for display
    std::atomic<int32_t> m_nTotalSessions = 0;   // since the last Start
    std::atomic<double> m_dBytesFromClient = 0;  // since the last Start
    std::atomic<double> m_dBytesFromServer = 0;  // since the last Start

    // For the threads of the operation only

    /// Starts a thread of the operation. It is counted before it exists, so that a stop which finds no thread counted can be
    /// sure that none is about to begin. False when the system gives none: nothing is counted then, and a block that was
    /// to move into the thread stays with the caller.
    template <class Proc, class Param>
    [[nodiscard]] bool BeginThread(Proc pfnProc, Param&& param) {
        AddThread();
        if (AfxBeginThread(pfnProc, std::forward<Param>(param))) return true;
        RemoveThread();
        return false;
    }
    /// Counts a thread that cannot fail to begin.
    void AddThread();
    /// A thread's last touch of the operation, which can go from then on.
    void RemoveThread();

    /// The same of a set-up thread, which counts for itself too.
    void AddSetup();
    void RemoveSetup();

    /// An idle thread that waits for a client is in no figure. Its removal is its last touch of the operation.
    void AddAcceptor();
    void RemoveAcceptor();

    /// A session is counted from the moment that it stands until its end has been told.
    void AddSession();
    void RemoveSession();

    /// Counts bytes that came in.
    void AddReceived(bool bFromServer, int32_t nBytes) {
        AddBytes(bFromServer ? m_dBytesFromServer : m_dBytesFromClient, nBytes);
    }

    /// Opens and binds the operation's socket and, for TCP, listens. 0, or the system's code and the socket that there was
    /// stays.
    [[nodiscard]] int32_t OpenListenSocket();
    /// The listening TCP socket or the UDP socket; null before the first start. The holder keeps it open.
    std::shared_ptr<CSocket> ListenSocket();
    void SetListenSocket(std::shared_ptr<CSocket> hListen);
    /// What the thread of a UDP operation waits with, so that a stop can wake it.
    void SetUdpPoller(std::shared_ptr<CPoller> pPoller);
    /// The port that clients reach the started operation on, in host byte order: the system chooses it for port 0.
    uint16_t ListenPort();
    /// A listener could not begin: keeps the system's reason and clears both flags, m_bStarting last.
    void FailStart(int32_t nError);
    /// The listener is ready, or has failed: Start goes on.
    void SetStarted();
    void ListSession(TcpSession& session);
    /// Nobody else can reach the session from then on.
    void UnlistSession(TcpSession& session);
    /// Makes both connections of every listed session fail. Repeated, since the system can miss a call.
    void InterruptTcpSessions();
    bool HasTcpSessions();

    std::atomic<uint8_t> m_bListenerStop = 0;  // the listener ends or has ended: no session may come up any more
    std::atomic<uint8_t> m_bUdpStop = 0;       // the UDP threads are to end; set by Stop
    std::atomic<int32_t> m_nAcceptors = 0;     // threads that wait for a client besides the listener
    std::mutex m_csTcpSockets;
    TcpSocketNode m_TcpSocketHead GUARDED_BY(m_csTcpSockets);  // sentinel; the lock guards the links behind it too
    std::mutex m_csUdpSessions;
    CUdpSessionTable m_udpSessions GUARDED_BY(m_csUdpSessions);  // only the listener's thread changes it

  private:
    void InterruptListener();
    void StopUdp();
    void EndLeftThreads();

    std::mutex m_csListenSocket;
    std::shared_ptr<CSocket> m_hListenSocket GUARDED_BY(m_csListenSocket);
    std::shared_ptr<CPoller> m_pUdpPoller GUARDED_BY(m_csListenSocket);  // null before the first start
};
