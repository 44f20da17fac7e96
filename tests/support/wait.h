// Waiting for an event instead of for a time.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

/// Polls until the condition holds. False when that took longer than any machine should need.
bool WaitFor(const std::function<bool()>& condition);

/// Ends the process with a message if it lives longer than a blocked test may: a hang then names its test.
class CWatchdog {
  public:
    CWatchdog();
    ~CWatchdog();

  private:
    std::mutex m_csDone;
    std::condition_variable m_cvDone;
    bool m_bDone = false;  // guarded by m_csDone
    std::thread m_thread;
};
