#include "soak/udp_load.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <vector>

#include "store/byte_reader.h"
#include "store/byte_writer.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t kRequestMark = 0x51455253;
constexpr uint32_t kReplyMark = 0x504C5253;
constexpr size_t kHeadBytes = 20;
constexpr size_t kMostPayload = 60000;
constexpr size_t kUsualPayload = 1400;
constexpr size_t kMostDatagramBytes = 65536;
constexpr uint32_t kMostReplies = 3;
constexpr int kServeWaitMs = 100;
constexpr std::chrono::milliseconds kLastWait(500);
constexpr uint32_t kEnoughToJudge = 10;
constexpr int kSessionTries = 3;

struct DatagramHead {
    uint32_t nMark = kRequestMark;
    uint32_t nSequence = 0;
    uint32_t nSeed = 0;  // of the client's session
    uint16_t wPort = 0;  // the client's, host byte order
    uint16_t nPayload = 0;
    uint8_t nOp = 0;
    uint8_t nServer = 0;  // of a reply
    uint16_t nReply = 0;  // in a request: how many are wanted; in a reply: which one it is
};

using Block = std::array<uint8_t, kMostDatagramBytes>;

uint64_t PayloadSeed(const DatagramHead& head) {
    return SubSeed(SubSeed(head.nSeed, head.nMark), uint64_t{head.nSequence} << 16 | head.nReply);
}

std::span<const uint8_t> CodeDatagram(const DatagramHead& head, Block& block) {
    CByteWriter writer;
    writer.WriteDword(head.nMark);
    writer.WriteDword(head.nSequence);
    writer.WriteDword(head.nSeed);
    writer.WriteWord(head.wPort);
    writer.WriteWord(head.nPayload);
    writer.WriteByte(head.nOp);
    writer.WriteByte(head.nServer);
    writer.WriteWord(head.nReply);
    std::ranges::copy(writer.Image(), block.begin());
    FillStream(PayloadSeed(head), 0, block.data() + kHeadBytes, head.nPayload);
    return std::span(block).first(kHeadBytes + head.nPayload);
}

// Empty when it is not, byte by byte, what the other side would have sent.
std::optional<DatagramHead> ReadDatagram(std::span<const uint8_t> datagram, uint32_t nMark) {
    CByteReader reader(datagram);
    DatagramHead head;
    const bool bRead = reader.ReadDword(&head.nMark) && reader.ReadDword(&head.nSequence) &&
                       reader.ReadDword(&head.nSeed) && reader.ReadWord(&head.wPort) &&
                       reader.ReadWord(&head.nPayload) && reader.ReadByte(&head.nOp) &&
                       reader.ReadByte(&head.nServer) && reader.ReadWord(&head.nReply);
    if (!bRead || head.nMark != nMark || datagram.size() != kHeadBytes + head.nPayload) return std::nullopt;
    Block expected;
    return std::ranges::equal(CodeDatagram(head, expected), datagram) ? std::optional(head) : std::nullopt;
}

uint16_t PayloadSize(CRandom& random) {
    return static_cast<uint16_t>(random.Spread(random.OneIn(50) ? kMostPayload : kUsualPayload));
}

class CUdpSession {
  public:
    CUdpSession(SharedBlock& shared, int nOp, CRandom& random) : m_shared(shared), m_nOp(nOp), m_random(random) {}

    /// False when there was no socket for it.
    bool Open();
    /// Sends, receives and checks.
    void Run();
    /// Whether replies should have come and none did.
    bool IsSilent() const { return m_nAsked >= kEnoughToJudge && m_nReplies == 0; }

  private:
    void SendOne();
    void ReceiveUntil(Clock::time_point end, bool bLast);
    void CheckReply(std::span<const uint8_t> datagram);

    SharedBlock& m_shared;
    const int m_nOp;
    CRandom& m_random;
    CLoadSocket m_socket;
    Endpoint m_op;
    uint32_t m_nSeed = 0;
    uint32_t m_nSequence = 0;
    uint32_t m_nAsked = 0;                               // replies that were asked for
    uint32_t m_nReplies = 0;                             // that came
    std::vector<std::array<bool, kMostReplies>> m_seen;  // by sequence
};

bool CUdpSession::Open() {
    const OpSlot& op = m_shared.ops[static_cast<size_t>(m_nOp)];
    m_op = {m_shared.dwOpIp, op.wPort};
    m_nSeed = static_cast<uint32_t>(m_random.Next());
    m_socket = CLoadSocket::Connect(SocketKind::Udp, op.bBounce ? m_shared.dwServerIp : m_shared.dwClientIp, m_op);
    return m_socket.IsOpen();
}

void CUdpSession::Run() {
    const uint64_t nDatagrams = m_random.Between(1, 60);
    for (uint64_t n = 0; n < nDatagrams; ++n) {
        SendOne();
        // Now and then longer than the inactivity timeout: the next datagram begins a session of the same client anew.
        const uint64_t nPauseMs = m_random.OneIn(50) ? m_random.Spread(2000) : m_random.Below(8);
        ReceiveUntil(Clock::now() + std::chrono::milliseconds(nPauseMs), false);
    }
    ReceiveUntil(Clock::now() + kLastWait, true);
}

void CUdpSession::SendOne() {
    Block block;
    if (m_random.OneIn(30)) {
        SendDatagram(m_socket, {}, m_op);
        return;
    }
    DatagramHead head;
    head.nSequence = m_nSequence++;
    head.nSeed = m_nSeed;
    head.wPort = m_socket.LocalPort();
    head.nPayload = PayloadSize(m_random);
    head.nOp = static_cast<uint8_t>(m_nOp);
    head.nReply = static_cast<uint16_t>(m_random.Between(0, kMostReplies));
    m_nAsked += head.nReply;
    m_seen.emplace_back();
    SendDatagram(m_socket, CodeDatagram(head, block), m_op);
    m_shared.Add(Tally::DatagramsSent);
}

// The last wait is over with everything answered.
void CUdpSession::ReceiveUntil(Clock::time_point end, bool bLast) {
    Block block;
    for (auto now = Clock::now(); now < end && !(bLast && m_nReplies == m_nAsked); now = Clock::now()) {
        bool bReadable = false;
        bool bWritable = false;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
        if (!WaitReady(m_socket, true, false, static_cast<int>(left.count()), &bReadable, &bWritable)) return;
        size_t nBytes = 0;
        Endpoint from;
        // An error is that of a datagram sent to a stopped operation.
        if (ReceiveDatagram(m_socket, block, &nBytes, &from) == Transfer::Done)
            CheckReply(std::span(block).first(nBytes));
    }
}

void CUdpSession::CheckReply(std::span<const uint8_t> datagram) {
    const auto head = ReadDatagram(datagram, kReplyMark);
    const OpSlot& op = m_shared.ops[static_cast<size_t>(m_nOp)];
    if (!head) {
        m_shared.Fail("operation %d: an altered reply of %zu bytes", m_nOp, datagram.size());
    } else if (head->wPort != m_socket.LocalPort() || head->nOp != m_nOp || head->nServer != op.nServer) {
        m_shared.Fail("operation %d, port %d: a reply for operation %d, port %d by server %u", m_nOp,
                      m_socket.LocalPort(), head->nOp, head->wPort, head->nServer);
    } else if (head->nSeed == m_nSeed) {  // else for an earlier client of the same port
        if (head->nSequence >= m_seen.size() || head->nReply >= kMostReplies || m_seen[head->nSequence][head->nReply]) {
            m_shared.Fail("operation %d: a reply that came twice or was not asked for", m_nOp);
            return;
        }
        m_seen[head->nSequence][head->nReply] = true;
        ++m_nReplies;
        m_shared.Add(Tally::Replies);
    }
}

// The session's client, operation and server were left alone all the time.
class CQuietCheck {
  public:
    CQuietCheck(const SharedBlock& shared, int nClient, int nOp)
        : m_op(shared.ops[static_cast<size_t>(nOp)]), m_client(shared.clients[static_cast<size_t>(nClient)]) {}
    bool WasQuiet() const {
        return m_op.admission.Holds(m_nAdmission) && m_op.life.Holds(m_nLife) && m_client.life.Holds(m_nClient);
    }

  private:
    const OpSlot& m_op;
    const ClientSlot& m_client;
    const uint32_t m_nAdmission = m_op.admission.Token();
    const uint32_t m_nLife = m_op.life.Token();
    const uint32_t m_nClient = m_client.life.Token();
};

}  // namespace

void RunUdpSession(SharedBlock& shared, int nClient, int nOp, CRandom& random) {
    // One silent session proves nothing: its port may have been another client's a moment ago, whose session met an error
    // and carries no replies any more until it ends.
    for (int nTry = 0; nTry < kSessionTries; ++nTry) {
        const CQuietCheck quiet(shared, nClient, nOp);
        CUdpSession session(shared, nOp, random);
        if (!session.Open()) return;
        session.Run();
        if (!session.IsSilent() || !quiet.WasQuiet()) return;
    }
    shared.Fail("operation %d: sessions without a single reply", nOp);
}

void ServeUdp(SharedBlock& shared, int nServer, const CLoadSocket& socket) {
    Block block;
    while (!shared.bEnd) {
        bool bReadable = false;
        bool bWritable = false;
        WaitReady(socket, true, false, kServeWaitMs, &bReadable, &bWritable);
        size_t nBytes = 0;
        Endpoint from;
        if (!bReadable || ReceiveDatagram(socket, block, &nBytes, &from) != Transfer::Done || nBytes == 0) continue;
        auto head = ReadDatagram(std::span(block).first(nBytes), kRequestMark);
        if (!head || head->nOp >= kOps || shared.ops[head->nOp].nServer != nServer) {
            shared.Fail("server %d: an altered request of %zu bytes", nServer, nBytes);
            continue;
        }
        shared.Add(Tally::DatagramsServed);
        const auto nReplies = std::min(head->nReply, static_cast<uint16_t>(kMostReplies));
        CRandom random(PayloadSeed(*head));
        head->nMark = kReplyMark;
        head->nServer = static_cast<uint8_t>(nServer);
        for (uint16_t n = 0; n < nReplies; ++n) {
            head->nReply = n;
            head->nPayload = PayloadSize(random);
            SendDatagram(socket, CodeDatagram(*head, block), from);
        }
    }
}
