// Carries one side of one TCP connection of the load, in both directions at once on one thread: sends what its plan says
// in pieces and pauses of random size, and checks every byte that arrives.
#pragma once

#include <chrono>
#include <cstdint>

#include "soak/load_socket.h"
#include "soak/random.h"
#include "soak/stream.h"

enum class BreakManner { None, Reset, HalfClose, Close };

enum class PumpEnd {
    Complete,    // all that was to come has come, and the pump was to end there
    PeerEnded,   // the orderly end of the other side
    PeerFailed,  // the connection failed
    Broken,      // by the pump, as it was told
    Corrupt,     // a byte was not what it should be
    Stalled      // nothing moved for longer than any machine needs
};
const char* PumpEndName(PumpEnd end);

struct PumpManner {
    BreakManner breakManner = BreakManner::None;
    uint64_t nBreakAt = 0;          // bytes of the sent stream; the first of them received must be there too
    uint64_t nHeldBack = 0;         // bytes at the end of the sent stream that go out when the received one is complete
    bool bEndWhenReceived = false;  // Complete as soon as the received stream is
    bool bSlowReader = false;
};

class CStreamPump {
  public:
    /// The socket and both streams outlive the pump.
    CStreamPump(CLoadSocket& socket, const CStreamBytes& out, const CStreamBytes& in, const PumpManner& manner,
                uint64_t nSeed);

    /// Before Run: how many bytes of either stream have passed already, checked.
    void SetDone(uint64_t nSent, uint64_t nReceived);
    PumpEnd Run();

    uint64_t Sent() const { return m_nSent; }
    uint64_t Received() const { return m_nReceived; }
    bool IsReceivedWhole() const { return m_nReceived == m_in.Size(); }

  private:
    using Clock = std::chrono::steady_clock;

    bool TryBreak(PumpEnd* pEnd);
    bool HasToSend() const;
    int WaitTime(bool bRead, bool bWrite) const;
    bool Receive(PumpEnd* pEnd);
    void Send();
    Clock::time_point PauseBehind(bool bSlow);

    CLoadSocket& m_socket;
    const CStreamBytes& m_out;
    const CStreamBytes& m_in;
    const PumpManner m_manner;
    CRandom m_random;
    uint64_t m_nSent = 0;
    uint64_t m_nReceived = 0;
    bool m_bSendOver = false;  // nothing more goes out: half-closed, or the connection fails on that way
    Clock::time_point m_readFrom;
    Clock::time_point m_writeFrom;
    Clock::time_point m_lastMove;
};
