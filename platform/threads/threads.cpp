#include "platform/threads/threads.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "platform/threads/thread_annotations.h"
#include "platform/threads/threads_system.h"
#include "platform/threads/threads_testing.h"

namespace {

// Enough for a burst of short sessions; each parked thread keeps the stack pages that it has touched.
constexpr size_t kMaxParked = 256;
constexpr uint32_t kParkedMs = 10000;

// A system thread of the cache, from its first start to its end. Whoever wakes it holds it too, so that the signal
// outlives the wake.
struct CachedThread {
    CWakeSignal wake;
    ThreadStart start = {};  // what to run next; written before the wake, read behind it
    bool bEnd = false;       // the same: end instead
};

class CThreadCache {
  public:
    CThreadCache() { m_parked.reserve(kMaxParked); }

    // Gives the start to the thread that was parked last: its stack is still in the processor's cache.
    bool HandOver(const ThreadStart& start) {
        std::shared_ptr<CachedThread> pThread;
        {
            const std::scoped_lock lock(m_csParked);
            if (m_parked.empty()) return false;
            pThread = std::move(m_parked.back());
            m_parked.pop_back();
        }
        pThread->start = start;
        pThread->wake.Set();
        return true;
    }

    // What every system thread runs: its first start, and whatever it is given behind that.
    void Run(const std::shared_ptr<CachedThread>& pThread) {
        do {
            const ThreadStart& start = pThread->start;
            start.pfnEntry(start.pfnProc, start.pParam);
        } while (Park(pThread));
    }

    void ReleaseAll() {
        std::vector<std::shared_ptr<CachedThread>> released;
        {
            const std::scoped_lock lock(m_csParked);
            released.swap(m_parked);
            m_parked.reserve(kMaxParked);
            m_nReleased += released.size();
        }
        for (const auto& pThread : released) {
            pThread->bEnd = true;
            pThread->wake.Set();
        }
        // Not by the atomic's own wait: where the library builds it on a condition variable, a wake can pass unseen.
        while (m_nReleased != 0) Sleep(1);
    }

  private:
    // False when the thread is to end.
    bool Park(const std::shared_ptr<CachedThread>& pThread) {
        {
            const std::scoped_lock lock(m_csParked);
            if (m_parked.size() >= kMaxParked) return false;
            m_parked.push_back(pThread);
        }
        if (!pThread->wake.WaitFor(kParkedMs)) {
            if (Unpark(pThread)) return false;
            // Taken out of the list a moment ago: the wake is on its way.
            pThread->wake.Wait();
        }
        if (!pThread->bEnd) return true;
        m_nReleased.fetch_sub(1);
        return false;
    }

    // Whether it was still there.
    bool Unpark(const std::shared_ptr<CachedThread>& pThread) {
        const std::scoped_lock lock(m_csParked);
        return std::erase(m_parked, pThread) != 0;
    }

    std::mutex m_csParked;
    std::vector<std::shared_ptr<CachedThread>> m_parked GUARDED_BY(m_csParked);  // the last one was parked last
    std::atomic<size_t> m_nReleased = 0;  // told to end, still on their way; publishes nothing else
};

// Never destroyed: parked threads may still wait in it while the process ends.
CThreadCache& Cache() {
    alignas(CThreadCache) static unsigned char storage[sizeof(CThreadCache)];
    static auto* const pCache = new (storage) CThreadCache;
    return *pCache;
}

void RunNewThread(void* pBlock) {
    const std::unique_ptr<std::shared_ptr<CachedThread>> ppThread(static_cast<std::shared_ptr<CachedThread>*>(pBlock));
    Cache().Run(*ppThread);
}

bool StartNewThread(const ThreadStart& start) try {
    auto ppThread = std::make_unique<std::shared_ptr<CachedThread>>(std::make_shared<CachedThread>());
    (*ppThread)->start = start;
    if (!CreateSystemThread(RunNewThread, ppThread.get())) return false;
    static_cast<void>(ppThread.release());
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

std::atomic<int32_t> g_nStartsLeft = -1;  // -1: all starts pass

bool IsStartFailureForced() {
    int32_t nLeft = g_nStartsLeft.load();
    while (nLeft > 0 && !g_nStartsLeft.compare_exchange_weak(nLeft, nLeft - 1)) {
    }
    return nLeft == 0;
}

}  // namespace

bool StartThread(const ThreadStart& start) {
    if (IsStartFailureForced()) return false;
    return Cache().HandOver(start) || StartNewThread(start);
}

void ReleaseParkedThreads() {
    Cache().ReleaseAll();
}

void FailThreadStartsAfter(int32_t nStarts) {
    g_nStartsLeft = nStarts;
}
