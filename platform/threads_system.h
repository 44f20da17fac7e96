// What the thread cache needs of the system. Only platform/threads.cpp includes this.
#pragma once

/// Starts pfnBody(pParam) on a new, detached system thread of the stack size that the relays need. False when the system
/// gives none.
[[nodiscard]] bool CreateSystemThread(void (*pfnBody)(void*), void* pParam);
