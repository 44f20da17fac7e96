// What the processes of a soak share: one block of memory, made before the first of them is forked.
//
// The supervisor makes it and every child inherits it at the same address. All that changes after the start is atomic: any
// thread of any process reads, and each member says who writes. A process that is killed leaves it sound, since nothing in
// here is ever locked.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

inline constexpr int kClients = 3;
inline constexpr int kServers = 2;
inline constexpr int kEngineOps = 8;   // operations of the engine in the host process
inline constexpr int kProgramOps = 2;  // operations of the program itself, run as a process of its own
inline constexpr int kOps = kEngineOps + kProgramOps;

/// What is counted, by the names of the report.
enum class Tally {
    Connections,      // TCP sessions that came through to a server
    Refused,          // connections that ended before the server was reached
    BytesUp,          // payload checked by servers
    BytesDown,        // payload checked by clients
    DatagramsSent,    // by clients
    DatagramsServed,  // checked by servers
    Replies,          // checked by clients
    HeldWhole,        // sessions that had to arrive whole, and did
    Excused,          // sessions that a fault may have ended
    SlowReaders,
    Resets,
    HalfCloses,
    ServerKills,
    ClientKills,
    ProgramRestarts,
    OperationRestarts,
    OperationChanges,
    OperationsReplaced,
    DescriptorShortages,
    PortShortages,
    ThreadShortages,
    Storms,
    LookupFailures,
    FullDisks,
    LogsMoved,
    LogLinesChecked,
    TextReloads,
    Count
};
const char* TallyName(Tally tally);

/// Whether something is being done to a part of the set-up that may end or refuse what runs through it.
///
/// A client takes a token before it begins; what it began must come out whole if the token still holds at the end. Begin
/// raises nActive first and nBegun behind it, and Token reads them the other way round, so that no fault slips between.
class Disturbance {
  public:
    static constexpr uint32_t kNone = 0xFFFFFFFF;  // the token of a disturbed moment: it never holds

    void Begin();
    void End();
    uint32_t Token() const;
    bool Holds(uint32_t nToken) const { return nToken != kNone && m_nBegun == nToken; }

  private:
    std::atomic<uint32_t> m_nActive = 0;
    std::atomic<uint32_t> m_nBegun = 0;
};

/// One operation that the clients use. Fixed after the set-up, save for the atomics.
struct OpSlot {
    bool bUdp = false;
    bool bBounce = false;             // its clients come from the address of their server
    bool bByName = false;             // its remote host is a name
    bool bLimited = false;            // its session limit is low: refusals are in order
    int nServer = 0;                  // where it leads
    std::atomic<uint16_t> wPort = 0;  // host byte order; 0: not known yet. Its owner writes
    Disturbance admission;            // new sessions may be refused
    Disturbance life;                 // open sessions may be ended
};

/// Disturbs from its construction to its end whatever was added to it meanwhile.
class CDisturbedTime {
  public:
    CDisturbedTime() = default;
    ~CDisturbedTime();
    CDisturbedTime(const CDisturbedTime&) = delete;
    CDisturbedTime& operator=(const CDisturbedTime&) = delete;

    void Add(Disturbance& disturbance);
    /// New sessions of the operation may be refused.
    void AddAdmission(OpSlot& op) { Add(op.admission); }
    /// Its open sessions may be ended as well.
    void AddOp(OpSlot& op);

  private:
    std::vector<Disturbance*> m_disturbances;
};

struct ClientSlot {
    std::atomic<int32_t> nBusy = 0;  // sessions now open in the process; the supervisor clears it behind a kill
    Disturbance life;
};

struct ServerSlot {
    std::atomic<uint16_t> wTcpPort = 0;  // host byte order; kept by each process that takes the place of another
    std::atomic<uint16_t> wUdpPort = 0;
    std::atomic<int32_t> nBusy = 0;      // connections; the supervisor clears it behind a kill
    std::atomic<bool> bServing = false;  // both ports are bound; the process sets it, the supervisor clears it
};

struct SharedBlock {
    uint64_t nSeed = 0;
    uint32_t dwServerIp = 0;  // network byte order, all loopback; fixed after the set-up
    uint32_t dwClientIp = 0;
    uint32_t dwOpIp = 0;

    std::atomic<bool> bLoad = false;  // clients begin new sessions; the host of the engine writes
    std::atomic<bool> bEnd = false;   // clients and servers are to go; the supervisor writes
    std::atomic<int32_t> nFailures = 0;
    std::array<std::atomic<uint64_t>, static_cast<size_t>(Tally::Count)> tallies = {};
    std::array<OpSlot, kOps> ops;
    std::array<ClientSlot, kClients> clients;
    std::array<ServerSlot, kServers> servers;

    /// The operations of the engine under test, and those of the program.
    std::span<OpSlot> EngineOps() { return std::span(ops).first(kEngineOps); }
    std::span<OpSlot> ProgramOps() { return std::span(ops).last(kProgramOps); }
    void Add(Tally tally, uint64_t nCount = 1) { tallies[static_cast<size_t>(tally)] += nCount; }
    uint64_t Get(Tally tally) const { return tallies[static_cast<size_t>(tally)]; }
    /// Tells of something that must not be, at once and on standard error, and counts it. printf-style.
    [[gnu::format(printf, 2, 3)]] void Fail(const char* pszFormat, ...);
};
