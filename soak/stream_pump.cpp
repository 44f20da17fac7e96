#include "soak/stream_pump.h"

#include <algorithm>
#include <array>

namespace {

constexpr size_t kBlockBytes = 65536;
constexpr size_t kSlowBytes = 2048;
constexpr std::chrono::seconds kStallTime(120);

size_t PieceOf(CRandom& random, bool bSlow) {
    return static_cast<size_t>(random.Spread(bSlow ? kSlowBytes : kBlockBytes));
}

}  // namespace

const char* PumpEndName(PumpEnd end) {
    static constexpr std::array<const char*, 6> kNames = {"complete", "ended by the peer", "failed",
                                                          "broken",   "corrupt",           "stalled"};
    return kNames[static_cast<size_t>(end)];
}

CStreamPump::CStreamPump(CLoadSocket& socket, const CStreamBytes& out, const CStreamBytes& in, const PumpManner& manner,
                         uint64_t nSeed)
    : m_socket(socket), m_out(out), m_in(in), m_manner(manner), m_random(nSeed) {
    m_readFrom = m_writeFrom = m_lastMove = Clock::now();
}

void CStreamPump::SetDone(uint64_t nSent, uint64_t nReceived) {
    m_nSent = nSent;
    m_nReceived = nReceived;
}

PumpEnd CStreamPump::Run() {
    for (PumpEnd end;;) {
        if (m_manner.bEndWhenReceived && IsReceivedWhole()) return PumpEnd::Complete;
        if (TryBreak(&end)) return end;
        const auto now = Clock::now();
        if (now - m_lastMove > kStallTime) return PumpEnd::Stalled;
        const bool bRead = now >= m_readFrom;
        const bool bWrite = HasToSend() && now >= m_writeFrom;
        bool bReadable = false;
        bool bWritable = false;
        WaitReady(m_socket, bRead, bWrite, WaitTime(bRead, bWrite), &bReadable, &bWritable);
        if (bReadable && Receive(&end)) return end;
        if (bWritable) Send();
    }
}

// True when the pump ends with it. The other side's beginning must have arrived first: an end that meets bytes nobody has
// read becomes a reset, which destroys what is still on its way.
bool CStreamPump::TryBreak(PumpEnd* pEnd) {
    if (m_bSendOver || m_manner.breakManner == BreakManner::None) return false;
    if (m_nSent < m_manner.nBreakAt || m_nReceived < m_in.BodyAt()) return false;
    m_bSendOver = true;
    if (m_manner.breakManner == BreakManner::HalfClose) {
        m_socket.ShutdownSend();
        return false;
    }
    if (m_manner.breakManner == BreakManner::Reset) {
        m_socket.Reset();
    } else {
        m_socket.Close();
    }
    *pEnd = PumpEnd::Broken;
    return true;
}

bool CStreamPump::HasToSend() const {
    if (m_bSendOver) return false;
    return m_nSent < m_out.Size() - (IsReceivedWhole() ? 0 : m_manner.nHeldBack);
}

// Until the next pause is over; a second at most, so that a stall is seen.
int CStreamPump::WaitTime(bool bRead, bool bWrite) const {
    const auto now = Clock::now();
    auto until = now + std::chrono::seconds(1);
    if (!bRead) until = std::min(until, m_readFrom);
    if (!bWrite && HasToSend()) until = std::min(until, m_writeFrom);
    return static_cast<int>(std::max<int64_t>(0, std::chrono::ceil<std::chrono::milliseconds>(until - now).count()));
}

bool CStreamPump::Receive(PumpEnd* pEnd) {
    std::array<uint8_t, kBlockBytes> block;
    const std::span piece(block.data(), PieceOf(m_random, m_manner.bSlowReader));
    size_t nBytes = 0;
    switch (ReceiveSome(m_socket, piece, &nBytes)) {
        case Transfer::Again:
            return false;
        case Transfer::Ended:
            *pEnd = PumpEnd::PeerEnded;
            return true;
        case Transfer::Failed:
            *pEnd = PumpEnd::PeerFailed;
            return true;
        case Transfer::Done:
            break;
    }
    if (!m_in.Matches(m_nReceived, piece.first(nBytes))) {
        *pEnd = PumpEnd::Corrupt;
        return true;
    }
    m_nReceived += nBytes;
    m_readFrom = PauseBehind(m_manner.bSlowReader);
    return false;
}

void CStreamPump::Send() {
    std::array<uint8_t, kBlockBytes> block;
    uint64_t nAllowed = m_out.Size() - (IsReceivedWhole() ? 0 : m_manner.nHeldBack);
    if (m_manner.breakManner != BreakManner::None) nAllowed = std::min(nAllowed, std::max(m_manner.nBreakAt, m_nSent));
    const uint64_t nPiece = std::min<uint64_t>(PieceOf(m_random, false), nAllowed - m_nSent);
    const std::span piece(block.data(), static_cast<size_t>(nPiece));
    const size_t nFilled = m_out.Fill(m_nSent, piece);
    size_t nBytes = 0;
    if (nFilled == 0) {  // only the break is left, and it waits for the other side
        m_writeFrom = Clock::now() + std::chrono::milliseconds(1);
        return;
    }
    const Transfer transfer = SendSome(m_socket, piece.first(nFilled), &nBytes);
    // What the other side sent before it went can still be read.
    if (transfer == Transfer::Failed) m_bSendOver = true;
    if (transfer != Transfer::Done) return;
    m_nSent += nBytes;
    m_writeFrom = PauseBehind(false);
}

// From when on the next piece may go.
CStreamPump::Clock::time_point CStreamPump::PauseBehind(bool bSlow) {
    m_lastMove = Clock::now();
    if (bSlow) return m_lastMove + std::chrono::milliseconds(m_random.Between(1, 10));
    if (!m_random.OneIn(40)) return m_lastMove;
    return m_lastMove + std::chrono::milliseconds(m_random.Spread(100));
}
