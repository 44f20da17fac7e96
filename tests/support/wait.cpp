#include "tests/support/wait.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>

#include "tests/support/process.h"

bool WaitFor(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

CWatchdog::CWatchdog()
    : m_thread([](std::stop_token stop) {
          std::mutex csWait;
          std::unique_lock lock(csWait);
          std::condition_variable_any().wait_for(lock, stop, std::chrono::seconds(120), [] { return false; });
          if (stop.stop_requested()) return;
          const auto* const pTest = testing::UnitTest::GetInstance()->current_test_info();
          std::printf("hangs: %s.%s\n", pTest->test_suite_name(), pTest->name());
          EndTestProcess(97);
      }) {}
