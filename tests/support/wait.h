// Waiting for an event instead of for a time.
#pragma once

#include <functional>
#include <thread>

/// Polls until the condition holds. False when that took longer than any machine should need.
bool WaitFor(const std::function<bool()>& condition);

/// Ends the process with a message if it lives longer than a blocked test may: a hang then names its test.
class CWatchdog {
  public:
    CWatchdog();

  private:
    std::jthread m_thread;  // ends with the object
};
