// Ending calls that other threads are blocked in.
#pragma once

#include "platform/threads/threads.h"

/// Calls interrupt() and, on a system where one call can miss a thread that is just entering the socket, calls it again
/// every 10 ms until gone() tells that no other thread is inside a call any more.
template <class Interrupt, class Gone>
void EndCalls(Interrupt interrupt, Gone gone) {
    while (!interrupt() && !gone()) Sleep(10);
}
