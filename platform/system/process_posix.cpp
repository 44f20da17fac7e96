#include "platform/system/process.h"

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstring>

namespace {

sigset_t EndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

}  // namespace

std::string ModulePath() {
    std::array<char, 10000> buffer = {};
    const ssize_t nLength = readlink("/proc/self/exe", buffer.data(), buffer.size());
    // A text that fills the buffer may have been cut.
    if (nLength <= 0 || static_cast<size_t>(nLength) == buffer.size()) return {};
    return {buffer.data(), static_cast<size_t>(nLength)};
}

std::string SystemErrorText(int32_t nError) {
    std::array<char, 256> buffer = {};
    return strerror_r(nError, buffer.data(), buffer.size());
}

void EndProcess(int32_t nCode) {
    std::fflush(nullptr);
    _exit(nCode);
}

void HoldStandardStreams() {
    // The system gives the lowest free number: a higher one tells that all of these are held.
    int nOpened = 0;
    while (0 <= nOpened && nOpened <= STDERR_FILENO) {
        nOpened = open("/dev/null", O_RDWR);
        // Any directory takes the number as well, and nothing can be written to it.
        if (nOpened < 0) nOpened = open("/", O_RDONLY | O_DIRECTORY);
    }
    if (nOpened >= 0) close(nOpened);
}

void PrepareServerProcess() {
    const sigset_t signals = EndSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
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
