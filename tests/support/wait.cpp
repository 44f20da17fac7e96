#include "tests/support/wait.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>

#include "tests/support/process_end.h"

namespace {

constexpr std::chrono::seconds kDeadline(60);
constexpr std::chrono::seconds kHang(120);

}  // namespace

bool WaitFor(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + kDeadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

CWatchdog::CWatchdog()
    : m_thread([this] {
          std::unique_lock lock(m_csDone);
          if (m_cvDone.wait_for(lock, kHang, [this] { return m_bDone; })) return;
          const auto* const pTest = testing::UnitTest::GetInstance()->current_test_info();
          std::printf("hangs: %s.%s\n", pTest->test_suite_name(), pTest->name());
          EndTestProcess(97);
      }) {}

CWatchdog::~CWatchdog() {
    {
        const std::scoped_lock lock(m_csDone);
        m_bDone = true;
    }
    m_cvDone.notify_all();
    m_thread.join();
}
