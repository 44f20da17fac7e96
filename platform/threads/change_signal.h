// A wait for a condition over atomics, woken by whoever changes them instead of looking again and again.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

/// Any number of threads tell and wait. It knows no condition of its own: each waiter brings one, which has to rest on
/// sequentially consistent atomics that are changed before Tell is called.
class CChangeSignal {
  public:
    CChangeSignal();
    ~CChangeSignal();
    CChangeSignal(const CChangeSignal&) = delete;
    CChangeSignal& operator=(const CChangeSignal&) = delete;

    /// Costs one load while nobody waits.
    void Tell() {
        if (m_nWaiters != 0) WakeAll();
    }

    /// Blocks until the condition holds, at most so many milliseconds. Whether it holds.
    template <class Condition>
    bool WaitFor(uint32_t dwMilliseconds, const Condition& condition) {
        return condition() || Block(dwMilliseconds, Call<Condition>, &condition);
    }

    /// Blocks until the condition holds.
    template <class Condition>
    void Wait(const Condition& condition) {
        while (!WaitFor(kLongMs, condition)) {
        }
    }

  private:
    static constexpr uint32_t kLongMs = 1000;

    template <class Condition>
    static bool Call(const void* pCondition) {
        return (*static_cast<const Condition*>(pCondition))();
    }
    void WakeAll();
    bool Block(uint32_t dwMilliseconds, bool (*pfnCondition)(const void*), const void* pCondition);

    struct State;
    const std::unique_ptr<State> m_pState;
    std::atomic<int32_t> m_nWaiters = 0;  // about to wait or waiting
};
