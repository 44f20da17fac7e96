// What a process without a window needs of the system: end signals and room for its sockets. Linux only.
#pragma once

#include <cstdint>

/// Once, before any thread is started:
/// - SIGINT and SIGTERM wait until they are asked for, and writing to a closed pipe is an error and no end;
/// - threads that data wakes do not push aside the one that runs: with many sessions that saves a third of the changes of
///   thread, and round trips on a busy machine took no longer;
/// - the soft limit of open files is raised to the hard one: two sockets a session pass the usual limit of 1,024 long
///   before the program's own limit is reached.
void PrepareServerProcess();

/// Waits for SIGINT or SIGTERM; false when this many milliseconds have passed without one.
bool WaitForEndSignal(uint32_t dwMilliseconds);
