// A value that one thread replaces while others read it.
//
// A reader takes a snapshot and reads from that: what it holds stays whole and alive, however often the value is replaced
// meanwhile. The lock is held only for the copy of one pointer. Any thread may call anything here.
#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "platform/threads/thread_annotations.h"

template <class T>
class CSharedValue {
  public:
    CSharedValue() : m_pValue(std::make_shared<const T>()) {}
    explicit CSharedValue(T value) : m_pValue(std::make_shared<const T>(std::move(value))) {}
    ~CSharedValue() = default;
    CSharedValue(const CSharedValue&) = delete;
    CSharedValue& operator=(const CSharedValue&) = delete;

    /// Never null.
    std::shared_ptr<const T> Snapshot() const {
        const std::scoped_lock lock(m_csValue);
        return m_pValue;
    }

    /// A copy of the present value.
    T Get() const { return *Snapshot(); }

    void Set(T value) {
        auto pNew = std::make_shared<const T>(std::move(value));
        const std::scoped_lock lock(m_csValue);
        m_pValue.swap(pNew);
        // The old value goes with pNew, behind the lock: pNew is declared first.
    }

  private:
    mutable std::mutex m_csValue;
    std::shared_ptr<const T> m_pValue GUARDED_BY(m_csValue);
};
