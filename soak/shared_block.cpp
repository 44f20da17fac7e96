#include "soak/shared_block.h"

#include <cstdarg>
#include <cstdio>

namespace {

// One fault can have a thousand consequences.
constexpr int kMostTold = 30;

}  // namespace

const char* TallyName(Tally tally) {
    static constexpr std::array<const char*, static_cast<size_t>(Tally::Count)> kNames = {
        "connections",
        "refused connections",
        "bytes to servers, checked",
        "bytes to clients, checked",
        "datagrams sent",
        "datagrams served, checked",
        "replies, checked",
        "sessions held to be whole, and whole",
        "sessions excused by a fault",
        "slow readers",
        "resets",
        "half-closes",
        "server processes killed",
        "client processes killed",
        "restarts of the program",
        "restarts of operations",
        "changes of operations",
        "operations replaced",
        "descriptor shortages",
        "port shortages",
        "thread shortages",
        "storms of connections",
        "failed name lookups, and back",
        "full disks under the log",
        "logs moved away",
        "log lines checked",
        "reloads of texts and templates",
    };
    return kNames[static_cast<size_t>(tally)];
}

void Disturbance::Begin() {
    ++m_nActive;
    ++m_nBegun;
}

void Disturbance::End() {
    --m_nActive;
}

uint32_t Disturbance::Token() const {
    const uint32_t nBegun = m_nBegun;
    return m_nActive == 0 ? nBegun : kNone;
}

void CDisturbedTime::Add(Disturbance& disturbance) {
    disturbance.Begin();
    m_disturbances.push_back(&disturbance);
}

void CDisturbedTime::AddOp(OpSlot& op) {
    Add(op.admission);
    Add(op.life);
}

CDisturbedTime::~CDisturbedTime() {
    for (Disturbance* const pDisturbance : m_disturbances) pDisturbance->End();
}

void SharedBlock::Fail(const char* pszFormat, ...) {
    char text[400];
    va_list arguments;
    va_start(arguments, pszFormat);
    std::vsnprintf(text, sizeof text, pszFormat, arguments);
    va_end(arguments);
    if (++nFailures <= kMostTold) std::fprintf(stderr, "FAILED: %s\n", text);
}
