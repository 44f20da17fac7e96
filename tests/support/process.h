// The process of a test program: how it meets a crash, how it ends, and what it holds, to see that a test gave everything
// back.
#pragma once

#include <cstdint>

/// Makes a crash print one line and end the process with code 99, where the system would open a window instead.
void PrepareTestProcess();
/// Ends the process with this code, whatever threads are left.
[[noreturn]] void EndTestProcess(int32_t nCode);

/// Open files and sockets (Linux) or handles (Windows) of this process.
int32_t CountHandles();
/// How many of them the run-time library may take for itself at the first use of threads and locks, and keep.
int32_t HandlesOfTheLibrary();
/// Threads of this process.
int32_t CountThreads();
/// Whether the heap is sound, where the system can tell.
bool IsHeapSound();
