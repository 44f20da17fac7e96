#include "platform/threads.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <new>

#include "platform/threads_system.h"

namespace {

// Enough for a burst of short sessions; each parked thread keeps the stack pages that it has touched.
constexpr int32_t kMaxParked = 256;
constexpr std::chrono::seconds kParkedTime(10);

// A thread that waits for its next start. It lives on the stack of that thread.
struct ParkedThread {
    std::condition_variable cvWake;
    ThreadStart start = {};
    bool bStart = false;    // `start` holds the next thing to run
    bool bRelease = false;  // the thread is to end
    ParkedThread* pNext = nullptr;
};

class CThreadCache {
  public:
    // Gives the start to the thread that was parked last: its stack is still in the processor's cache.
    bool HandOver(const ThreadStart& start) {
        std::unique_lock lock(m_csParked);
        ParkedThread* pThread = m_pFirst;
        if (pThread == nullptr) return false;
        m_pFirst = pThread->pNext;
        --m_nParked;
        pThread->start = start;
        pThread->bStart = true;
        // Under the lock: the thread, and with it the condition, could be gone right behind it.
        pThread->cvWake.notify_one();
        return true;
    }

    // What every thread runs: its first start, then whatever it is handed while it is parked.
    void Run(ThreadStart start) {
        do {
            start.pfnEntry(start.pfnProc, start.pParam);
        } while (Park(&start));
    }

    void ReleaseAll() {
        std::unique_lock lock(m_csParked);
        while (m_pFirst != nullptr) {
            ParkedThread* const pThread = m_pFirst;
            m_pFirst = pThread->pNext;
            --m_nParked;
            ++m_nReleased;
            pThread->bRelease = true;
            pThread->cvWake.notify_one();
        }
        m_cvGone.wait(lock, [this] { return m_nReleased == 0; });
    }

  private:
    bool Park(ParkedThread* pSelf, std::unique_lock<std::mutex>* pLock) {
        const auto deadline = std::chrono::steady_clock::now() + kParkedTime;
        const bool bWoken =
            pSelf->cvWake.wait_until(*pLock, deadline, [pSelf] { return pSelf->bStart || pSelf->bRelease; });
        if (!bWoken) Unlink(pSelf);
        if (pSelf->bRelease && --m_nReleased == 0) m_cvGone.notify_all();
        return pSelf->bStart;
    }

    bool Park(ThreadStart* pStart) {
        ParkedThread self;
        std::unique_lock lock(m_csParked);
        if (m_nParked >= kMaxParked) return false;
        self.pNext = m_pFirst;
        m_pFirst = &self;
        ++m_nParked;
        if (!Park(&self, &lock)) return false;
        *pStart = self.start;
        return true;
    }

    void Unlink(const ParkedThread* pSelf) {
        ParkedThread** ppLink = &m_pFirst;
        while (*ppLink != pSelf) ppLink = &(*ppLink)->pNext;
        *ppLink = pSelf->pNext;
        --m_nParked;
    }

    std::mutex m_csParked;
    std::condition_variable m_cvGone;
    ParkedThread* m_pFirst = nullptr;  // guarded by m_csParked: the parked threads, last one first
    int32_t m_nParked = 0;             // guarded by m_csParked
    int32_t m_nReleased = 0;           // guarded by m_csParked: told to end, and not yet on their way
};

// Never destroyed: parked threads may still wait in it while the process ends.
CThreadCache& Cache() {
    alignas(CThreadCache) static unsigned char storage[sizeof(CThreadCache)];
    static CThreadCache* const pCache = new (storage) CThreadCache;
    return *pCache;
}

void RunNewThread(void* pBlock) {
    const std::unique_ptr<ThreadStart> pStart(static_cast<ThreadStart*>(pBlock));
    Cache().Run(*pStart);
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
    if (Cache().HandOver(start)) return true;
    std::unique_ptr<ThreadStart> pStart(new (std::nothrow) ThreadStart(start));
    if (!pStart) return false;
    if (!CreateSystemThread(RunNewThread, pStart.get())) return false;
    static_cast<void>(pStart.release());
    return true;
}

void ReleaseParkedThreads() {
    Cache().ReleaseAll();
}

void FailThreadStartsAfter(int32_t nStarts) {
    g_nStartsLeft = nStarts;
}
