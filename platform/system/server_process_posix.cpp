#include "platform/system/server_process.h"

#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/resource.h>
#include <time.h>

namespace {

sigset_t EndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

}  // namespace

void PrepareServerProcess() {
    const sigset_t signals = EndSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    signal(SIGPIPE, SIG_IGN);
    // Not where an administrator has chosen another policy.
    const sched_param normal = {};
    if (sched_getscheduler(0) == SCHED_OTHER) sched_setscheduler(0, SCHED_BATCH, &normal);
    rlimit files = {};
    if (getrlimit(RLIMIT_NOFILE, &files) != 0) return;
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
}

bool WaitForEndSignal(uint32_t dwMilliseconds) {
    const sigset_t signals = EndSignals();
    const timespec timeout = {static_cast<time_t>(dwMilliseconds / 1000),
                              static_cast<long>(dwMilliseconds % 1000) * 1'000'000};
    return sigtimedwait(&signals, nullptr, &timeout) > 0;
}
