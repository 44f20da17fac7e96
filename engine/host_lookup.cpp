#include "engine/host_lookup.h"

#include <new>

#include "engine/host_lookup_testing.h"
#include "engine/host_text.h"
#include "platform/threads/threads.h"

namespace {

// Between two looks at a caller's condition.
constexpr uint32_t kLookMs = 10;

std::atomic<int32_t> g_nToHold = -1;  // see HoldNextLookups

bool IsToBeHeld() {
    int32_t nLeft = g_nToHold.load();
    while (nLeft > 0 && !g_nToHold.compare_exchange_weak(nLeft, nLeft - 1)) {
    }
    return nLeft > 0;
}

}  // namespace

std::shared_ptr<CHostLookup> CHostLookup::Start(std::string_view strHost, std::function<void()> told) try {
    auto pLookup = std::make_shared<CHostLookup>(strHost, std::move(told));
    pLookup->m_bHeld = IsToBeHeld();
    if (!AfxBeginThread(Run, std::make_unique<std::shared_ptr<CHostLookup>>(pLookup))) return nullptr;
    return pLookup;
} catch (const std::bad_alloc&) {
    return nullptr;
}

void CHostLookup::Run(std::unique_ptr<std::shared_ptr<CHostLookup>> ppLookup) {
    CHostLookup& lookup = **ppLookup;
    while (lookup.m_bHeld && g_nToHold >= 0) Sleep(1);
    lookup.m_result =
        ResolveHostAddress(lookup.m_strHost, &lookup.m_dwIp) ? LookupResult::Found : LookupResult::Unknown;
    lookup.m_done.Tell();
    if (lookup.m_told) lookup.m_told();
}

bool CHostLookup::WaitFor(uint32_t dwMilliseconds) {
    return m_done.WaitFor(dwMilliseconds, [this] { return m_result != LookupResult::Pending; });
}

LookupResult LookUpHost(std::string_view strHost, uint32_t* pdwIp, const std::function<bool()>& cancelled) {
    if (ParseHostAddress(strHost, pdwIp)) return LookupResult::Found;
    const auto pLookup = CHostLookup::Start(strHost, {});
    if (!pLookup) return LookupResult::NoThread;
    while (!pLookup->WaitFor(kLookMs)) {
        if (cancelled()) return LookupResult::Cancelled;
    }
    if (pLookup->Result() == LookupResult::Found) *pdwIp = pLookup->Address();
    return pLookup->Result();
}

void HoldNextLookups(int32_t nLookups) {
    g_nToHold = nLookups;
}
