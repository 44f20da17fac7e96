// What the thread cache needs of the system. Only threads.cpp includes this.
#pragma once

#include <cstdint>
#include <memory>

/// Holds one wake for the one thread that waits. The system's own object: those of the standard library look and yield for
/// a while before they sleep, which a cache that is woken thousands of times a second pays for each time.
class CWakeSignal {
  public:
    CWakeSignal();
    ~CWakeSignal();
    CWakeSignal(const CWakeSignal&) = delete;
    CWakeSignal& operator=(const CWakeSignal&) = delete;

    /// Any thread. Once for each wait.
    void Set();
    /// False when the time, in milliseconds, is over without a wake.
    bool WaitFor(uint32_t dwMilliseconds);
    void Wait();

  private:
    struct State;
    const std::unique_ptr<State> m_pState;
};

/// Starts pfnBody(pParam) on a new, detached system thread of the stack size that the relays need. False when the system
/// gives none.
[[nodiscard]] bool CreateSystemThread(void (*pfnBody)(void*), void* pParam);
