#include "soak/tcp_load.h"

#include <algorithm>

#include "soak/stream_pump.h"

namespace {

constexpr uint64_t kUsualBytes = 1 << 18;
constexpr uint64_t kMostBytes = 1 << 23;
constexpr uint64_t kSlowestBytes = 1 << 17;  // of sessions with a slow reader
constexpr int kHeaderWaitMs = 120'000;

uint32_t SizeOf(CRandom& random, bool bSlow) {
    if (bSlow) return static_cast<uint32_t>(random.Spread(kSlowestBytes));
    if (random.OneIn(50)) return 0;
    return static_cast<uint32_t>(random.Spread(random.OneIn(20) ? kMostBytes : kUsualBytes));
}

StreamKind ChooseKind(CRandom& random) {
    return random.OneIn(2) ? StreamKind::Exchange
                           : static_cast<StreamKind>(random.Below(static_cast<uint64_t>(StreamKind::Count)));
}

StreamPlan MakePlan(CRandom& random, bool bSlow) {
    StreamPlan plan;
    plan.kind = ChooseKind(random);
    plan.bSlowServer = bSlow && random.OneIn(2) ? 1 : 0;
    plan.nSeed = static_cast<uint32_t>(random.Next());
    plan.nUp = plan.kind == StreamKind::ServerPush ? 0 : SizeOf(random, bSlow);
    plan.nDown = plan.kind == StreamKind::ClientPush ? 0 : SizeOf(random, bSlow);
    const bool bClient = plan.kind == StreamKind::ClientHalfClose || plan.kind == StreamKind::ClientReset;
    if (plan.IsBroken())
        plan.nBreakAt = static_cast<uint32_t>(random.Below(uint64_t{bClient ? plan.nUp : plan.nDown} + 1));
    return plan;
}

CStreamBytes UpStream(const StreamPlan& plan) {
    return CStreamBytes(CodeHeader(plan), plan.UpSeed(), plan.nUp, {});
}

CStreamBytes DownStream(const StreamPlan& plan) {
    if (plan.kind == StreamKind::Exchange) return CStreamBytes(kGreeting, plan.DownSeed(), plan.nDown, kAllReceived);
    return CStreamBytes(kGreeting, plan.DownSeed(), plan.nDown, {});
}

PumpManner ClientManner(const StreamPlan& plan, bool bSlow) {
    PumpManner manner;
    manner.bSlowReader = bSlow && plan.bSlowServer == 0;
    switch (plan.kind) {
        case StreamKind::Exchange:
            manner.bEndWhenReceived = true;
            break;
        case StreamKind::ClientPush:
            manner.breakManner = BreakManner::HalfClose;
            manner.nBreakAt = kHeaderBytes + plan.nUp;
            break;
        case StreamKind::ClientHalfClose:
        case StreamKind::ClientReset:
            manner.breakManner = plan.kind == StreamKind::ClientReset ? BreakManner::Reset : BreakManner::HalfClose;
            manner.nBreakAt = kHeaderBytes + plan.nBreakAt;
            break;
        default:
            break;
    }
    return manner;
}

PumpManner ServerManner(const StreamPlan& plan) {
    PumpManner manner;
    manner.bSlowReader = plan.bSlowServer != 0;
    switch (plan.kind) {
        case StreamKind::Exchange:
            manner.nHeldBack = kAllReceived.size();
            break;
        case StreamKind::ServerPush:
            manner.breakManner = plan.nSeed % 2 == 0 ? BreakManner::HalfClose : BreakManner::Close;
            manner.nBreakAt = kGreeting.size() + plan.nDown;
            break;
        case StreamKind::ServerHalfClose:
        case StreamKind::ServerReset:
            manner.breakManner = plan.kind == StreamKind::ServerReset ? BreakManner::Reset : BreakManner::HalfClose;
            manner.nBreakAt = kGreeting.size() + plan.nBreakAt;
            break;
        default:
            break;
    }
    return manner;
}

// Whether what the client saw is a session without a fault.
bool IsWholeForClient(const StreamPlan& plan, const CStreamPump& pump, PumpEnd end) {
    switch (plan.kind) {
        case StreamKind::Exchange:
            return end == PumpEnd::Complete;
        case StreamKind::ClientPush:
            return end == PumpEnd::PeerEnded && pump.Sent() == kHeaderBytes + plan.nUp;
        case StreamKind::ServerPush:
            return end == PumpEnd::PeerEnded && pump.IsReceivedWhole();
        default:
            return true;
    }
}

// The server can tell only of a push: an exchange may end in any way once its mark is out.
bool IsWholeForServer(const StreamPlan& plan, const CStreamPump& pump, PumpEnd end) {
    if (plan.kind != StreamKind::ClientPush) return true;
    return end == PumpEnd::PeerEnded && pump.IsReceivedWhole();
}

// What is wrong in any case, whatever was done to the session.
bool IsUnsound(PumpEnd end) {
    return end == PumpEnd::Corrupt || end == PumpEnd::Stalled;
}

void TellFault(SharedBlock& shared, const char* pszSide, const StreamPlan& plan, const CStreamPump& pump, PumpEnd end) {
    shared.Fail("%s, operation %d, kind %d, up %u, down %u, break at %u: %s behind %llu sent, %llu received", pszSide,
                plan.nOp, static_cast<int>(plan.kind), plan.nUp, plan.nDown, plan.nBreakAt, PumpEndName(end),
                static_cast<unsigned long long>(pump.Sent()), static_cast<unsigned long long>(pump.Received()));
}

struct Tokens {
    uint32_t nAdmission;
    uint32_t nLife;
    uint32_t nClient;
};

Tokens TakeTokens(const SharedBlock& shared, int nClient, int nOp) {
    const OpSlot& op = shared.ops[static_cast<size_t>(nOp)];
    return {op.admission.Token(), op.life.Token(), shared.clients[static_cast<size_t>(nClient)].life.Token()};
}

bool IsUndisturbed(const SharedBlock& shared, const StreamPlan& plan) {
    return shared.ops[plan.nOp].life.Holds(plan.nOpToken) && shared.clients[plan.nClient].life.Holds(plan.nClientToken);
}

// A connection that no server was reached by.
void JudgeRefusal(SharedBlock& shared, const StreamPlan& plan, const Tokens& tokens, PumpEnd end) {
    const OpSlot& op = shared.ops[plan.nOp];
    shared.Add(Tally::Refused);
    // A reset destroys what was sent before it, the greeting too.
    const bool bReset = plan.kind == StreamKind::ServerReset && end == PumpEnd::PeerEnded;
    const bool bAllowed =
        bReset || op.bLimited || !IsUndisturbed(shared, plan) || !op.admission.Holds(tokens.nAdmission);
    if (bAllowed) return;
    shared.Fail("operation %d refused a client without a reason: kind %d, %s", plan.nOp, static_cast<int>(plan.kind),
                PumpEndName(end));
}

void JudgeClient(SharedBlock& shared, const StreamPlan& plan, const CStreamPump& pump, PumpEnd end) {
    shared.Add(Tally::Connections);
    shared.Add(Tally::BytesDown, pump.Received());
    if (plan.kind == StreamKind::ClientReset) shared.Add(Tally::Resets);
    if (plan.kind == StreamKind::ClientHalfClose) shared.Add(Tally::HalfCloses);
    if (plan.IsBroken()) return;
    const bool bUndisturbed = IsUndisturbed(shared, plan);
    const bool bWhole = IsWholeForClient(plan, pump, end);
    shared.Add(bUndisturbed ? Tally::HeldWhole : Tally::Excused);
    if (bUndisturbed && !bWhole) TellFault(shared, "client", plan, pump, end);
}

}  // namespace

void RunTcpSession(SharedBlock& shared, int nClient, int nOp, CRandom& random) {
    const bool bSlow = random.OneIn(12);
    StreamPlan plan = MakePlan(random, bSlow);
    const Tokens tokens = TakeTokens(shared, nClient, nOp);
    plan.nOp = static_cast<uint8_t>(nOp);
    plan.nClient = static_cast<uint8_t>(nClient);
    plan.nOpToken = tokens.nLife;
    plan.nClientToken = tokens.nClient;
    const OpSlot& op = shared.ops[plan.nOp];
    const uint32_t dwFromIp = op.bBounce ? shared.dwServerIp : shared.dwClientIp;
    CLoadSocket socket = CLoadSocket::Connect(SocketKind::Tcp, dwFromIp, {shared.dwOpIp, op.wPort});
    if (!socket.IsOpen()) {
        JudgeRefusal(shared, plan, tokens, PumpEnd::PeerFailed);
        return;
    }
    if (bSlow) shared.Add(Tally::SlowReaders);
    if (bSlow && plan.bSlowServer == 0) socket.MakeBufferSmall();
    const CStreamBytes up = UpStream(plan);
    const CStreamBytes down = DownStream(plan);
    CStreamPump pump(socket, up, down, ClientManner(plan, bSlow), random.Next());
    const PumpEnd end = pump.Run();
    if (IsUnsound(end)) {
        TellFault(shared, "client", plan, pump, end);
    } else if (pump.Received() < kGreeting.size()) {
        JudgeRefusal(shared, plan, tokens, end);
    } else {
        JudgeClient(shared, plan, pump, end);
    }
    if (end == PumpEnd::Complete && random.OneIn(10)) socket.Reset();
}

namespace {

// The client's header; empty when the connection ends before it is whole.
std::optional<StreamPlan> ReceivePlan(SharedBlock& shared, const CLoadSocket& connection) {
    std::array<uint8_t, kHeaderBytes> header;
    for (size_t nDone = 0; nDone < header.size();) {
        bool bReadable = false;
        bool bWritable = false;
        if (!WaitReady(connection, true, false, kHeaderWaitMs, &bReadable, &bWritable)) {
            shared.Fail("a server waited in vain for a client's header");
            return std::nullopt;
        }
        size_t nBytes = 0;
        const Transfer transfer = ReceiveSome(connection, std::span(header).subspan(nDone), &nBytes);
        if (transfer == Transfer::Ended || transfer == Transfer::Failed) return std::nullopt;
        nDone += nBytes;
    }
    const auto plan = ReadHeader(header);
    if (!plan) shared.Fail("a server received a header that no client sent");
    return plan;
}

}  // namespace

void ServeTcpSession(SharedBlock& shared, int nServer, CLoadSocket connection) {
    size_t nSent = 0;
    if (SendSome(connection, kGreeting, &nSent) != Transfer::Done) return;
    const auto plan = ReceivePlan(shared, connection);
    if (!plan) return;
    if (plan->nOp >= kOps || plan->nClient >= kClients || shared.ops[plan->nOp].nServer != nServer) {
        shared.Fail("a session of operation %d came to server %d", plan->nOp, nServer);
        return;
    }
    if (plan->bSlowServer != 0) connection.MakeBufferSmall();
    const CStreamBytes up = UpStream(*plan);
    const CStreamBytes down = DownStream(*plan);
    CStreamPump pump(connection, down, up, ServerManner(*plan), plan->nSeed);
    pump.SetDone(nSent, kHeaderBytes);
    const PumpEnd end = pump.Run();
    shared.Add(Tally::BytesUp, pump.Received() - kHeaderBytes);
    if (plan->kind == StreamKind::ServerReset) shared.Add(Tally::Resets);
    if (plan->kind == StreamKind::ServerHalfClose) shared.Add(Tally::HalfCloses);
    const bool bHeld = IsUndisturbed(shared, *plan) && !IsWholeForServer(*plan, pump, end);
    if (IsUnsound(end) || bHeld) TellFault(shared, "server", *plan, pump, end);
}
