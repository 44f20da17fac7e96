// Looking up a host text without being held up by the resolver, which can take many seconds.
//
// The resolver runs on a thread of its own that belongs to nobody: it is in no count, no stop waits for it, and what it
// touches outlives whoever asked. Whoever no longer wants the answer just lets go of it.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/threads/change_signal.h"

enum class LookupResult : uint8_t {
    Pending,
    Found,
    Unknown,    // the text is blank or names no host
    Cancelled,  // the caller's condition came first
    NoThread,   // the system has no thread or no memory for it
};

/// One look-up. The one who asked and the thread share it.
class CHostLookup {
  public:
    /// Starts to look the text up anew, also one that is a numeric address (see ParseHostAddress). told() is called on the
    /// look-up's thread once the result stands, perhaps long after the asker has gone: it must own what it uses. Null when
    /// the system gives no thread or no memory: told() is not called then. Does not block; any thread.
    static std::shared_ptr<CHostLookup> Start(std::string_view strHost, std::function<void()> told);

    CHostLookup(std::string_view strHost, std::function<void()> told) : m_strHost(strHost), m_told(std::move(told)) {}

    /// Pending, Found or Unknown; once it is not Pending it stays as it is. Any thread.
    LookupResult Result() const { return m_result; }
    /// In network byte order. Only behind a Result of Found.
    uint32_t Address() const { return m_dwIp; }
    /// Blocks until the result stands, at most so many milliseconds.
    bool WaitFor(uint32_t dwMilliseconds);

  private:
    static void Run(std::unique_ptr<std::shared_ptr<CHostLookup>> ppLookup);

    const std::string m_strHost;
    const std::function<void()> m_told;
    bool m_bHeld = false;                                        // by a test; set before the thread begins
    uint32_t m_dwIp = 0;                                         // written by the thread, before m_result
    std::atomic<LookupResult> m_result = LookupResult::Pending;  // written once, by the thread
    CChangeSignal m_done;
};

/// Blocks until the host is known, or until cancelled() holds, which is asked every few milliseconds; never Pending. A
/// numeric address needs no thread and is never cancelled. *pdwIp is in network byte order and is set only on Found.
[[nodiscard]] LookupResult LookUpHost(std::string_view strHost, uint32_t* pdwIp,
                                      const std::function<bool()>& cancelled);
