// What a process holds, to see that a test gave everything back.
#pragma once

#include <cstdint>

/// Open files and sockets (Linux) or handles (Windows) of this process.
int32_t CountHandles();
/// How many of them the run-time library may take for itself at the first use of threads and locks, and keep.
int32_t HandlesOfTheLibrary();
/// Threads of this process.
int32_t CountThreads();
/// Whether the heap is sound, where the system can tell.
bool IsHeapSound();
