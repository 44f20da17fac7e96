// What tests and the soak ask of the thread starts. The program itself calls nothing here.
#pragma once

#include <cstdint>

#include "platform/threads/threads.h"

/// Lets this many further starts pass and makes every one after them fail, as on a system that has no thread left; -1
/// switches that off. Any thread.
void FailThreadStartsAfter(int32_t nStarts);

/// Ends the parked threads and waits until they have gone: for whoever counts the threads of the process.
void ReleaseParkedThreads();
