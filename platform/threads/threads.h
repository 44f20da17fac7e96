// Threads without a handle: started with one block of parameters that moves into them, never joined.
//
// A start may be served from a small cache of parked threads, so that a burst of short sessions does not pay for thread
// creation. A parked thread runs nothing of the program's and counts nowhere.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

/// Blocks the calling thread for at least this many milliseconds.
#ifdef _WIN32
extern "C" __declspec(dllimport) void __stdcall Sleep(unsigned long dwMilliseconds);  // the system's own
#else
void Sleep(uint32_t dwMilliseconds);
#endif

/// What a new thread runs: pfnEntry(pfnProc, pParam).
struct ThreadStart {
    void (*pfnEntry)(void (*pfnProc)(), void* pParam);
    void (*pfnProc)();
    void* pParam;
};
[[nodiscard]] bool StartThread(const ThreadStart& start);

template <class T>
ThreadStart MakeThreadStart(void (*pfnProc)(std::unique_ptr<T>), T* pParam) {
    const auto pfnEntry = [](void (*pfn)(), void* p) {
        reinterpret_cast<void (*)(std::unique_ptr<T>)>(pfn)(std::unique_ptr<T>(static_cast<T*>(p)));
    };
    return {pfnEntry, reinterpret_cast<void (*)()>(pfnProc), pParam};
}

/// Starts pfnProc(pParam) on a thread of its own. Any thread may call. False when the system gives no thread: the block
/// then stays with the caller, untouched.
template <class T>
[[nodiscard]] bool AfxBeginThread(void (*pfnProc)(std::unique_ptr<T>), std::unique_ptr<T>&& pParam) {
    if (!StartThread(MakeThreadStart(pfnProc, pParam.get()))) return false;
    static_cast<void>(pParam.release());
    return true;
}

/// The same for a block that the caller keeps: it must outlive the thread.
template <class T>
[[nodiscard]] bool AfxBeginThread(void (*pfnProc)(T*), T* pParam) {
    const auto pfnEntry = [](void (*pfn)(), void* p) { reinterpret_cast<void (*)(T*)>(pfn)(static_cast<T*>(p)); };
    return StartThread({pfnEntry, reinterpret_cast<void (*)()>(pfnProc), pParam});
}

/// The system's error code of a start that failed for want of a thread.
int32_t ThreadStartError();

/// Makes other threads leave the calls that they are blocked in: calls interrupt(), which makes those calls fail, and on
/// a system where it can miss a thread that is just entering (it returns false then, as CSocket::Interrupt does), calls
/// it again every 10 ms until gone() tells that no other thread is inside a call any more.
template <class Interrupt, class Gone>
void EndCalls(Interrupt interrupt, Gone gone) {
    while (!interrupt() && !gone()) Sleep(10);
}
