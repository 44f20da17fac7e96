#include "engine/lingering_close.h"

#include <new>
#include <utility>

#include "platform/threads/threads.h"

namespace {

constexpr uint32_t kTickMs = 20;
constexpr int32_t kMaxTicks = 30'000 / kTickMs;
constexpr size_t kMaxEntries = 512;
constexpr size_t kBufferBytes = 65536;
// Of one socket at a tick: a peer that sends without an end must not keep the others waiting.
constexpr int kMaxReads = 4;

// Whether the connection is over.
bool IsOver(CSocket& hSocket) {
    uint8_t buffer[kBufferBytes];
    for (int n = 0; n < kMaxReads; ++n) {
        const IoResult received = hSocket.Recv(buffer, sizeof buffer);
        if (received.nBytes <= 0) return !IsWouldBlockError(received.nError);
    }
    return false;
}

}  // namespace

CLingeringCloses::~CLingeringCloses() {
    {
        const std::scoped_lock lock(m_csEntries);
        m_entries.clear();
    }
    while (m_nThreads != 0) Sleep(1);
}

void CLingeringCloses::Add(CSocket hSocket, const void* pOwner) try {
    hSocket.SetNonBlocking();
    const std::scoped_lock lock(m_csEntries);
    if (m_entries.size() >= kMaxEntries) m_entries.erase(m_entries.begin());
    m_entries.push_back({std::move(hSocket), pOwner});
    if (m_bThread) return;
    ++m_nThreads;
    m_bThread = AfxBeginThread(Thread, this);
    if (m_bThread) return;
    --m_nThreads;
    m_entries.clear();
} catch (const std::bad_alloc&) {
}

void CLingeringCloses::CloseOf(const void* pOwner) {
    const std::scoped_lock lock(m_csEntries);
    std::erase_if(m_entries, [pOwner](const Entry& entry) { return entry.pOwner == pOwner; });
}

// False when nothing is left: the thread then ends.
bool CLingeringCloses::DropWhatCame() {
    const std::scoped_lock lock(m_csEntries);
    std::erase_if(m_entries, [](Entry& entry) { return ++entry.nTicks > kMaxTicks || IsOver(entry.hSocket); });
    m_bThread = !m_entries.empty();
    return m_bThread;
}

void CLingeringCloses::Thread(CLingeringCloses* pCloses) {
    do {
        Sleep(kTickMs);
    } while (pCloses->DropWhatCame());
    --pCloses->m_nThreads;
}
