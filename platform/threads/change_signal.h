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
    /// Waits for those that are telling.
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
    friend class CTelling;
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
    std::atomic<int32_t> m_nTelling = 0;
};

/// Tells at the end of its scope. For a change by which others may find that the signal is not needed any more: what is
/// changed within the scope is seen only by those whose destruction of the signal waits for its end.
class CTelling {
  public:
    explicit CTelling(CChangeSignal* pSignal) : m_pSignal(pSignal) { ++m_pSignal->m_nTelling; }
    ~CTelling() {
        m_pSignal->Tell();
        --m_pSignal->m_nTelling;
    }
    CTelling(const CTelling&) = delete;
    CTelling& operator=(const CTelling&) = delete;

  private:
    CChangeSignal* const m_pSignal;
};
