// The worker threads of the commands Stop, Edit and Delete.
//
// A stop can take as long as a connect in progress, so it runs on a thread of its own. That thread does nothing but
// stop (and, after an edit, start) the operation: whatever concerns the list, the settings or the operation's life
// is a step that the window's thread takes when the worker sends it WM_WORKER_STEP, and the worker waits for that. A
// window that has gone takes no step; the worker then just ends.
#pragma once

#include <cstdint>
#include <memory>

#include "engine/engine_counters.h"
#include "engine/port_forward_op.h"
#include "platform/system/windows_api.h"

/// wParam is the WorkStep, lParam the worker's OperationWork.
inline constexpr UINT WM_WORKER_STEP = 0x8020;

enum class WorkStep : WPARAM {
    Stopped,        // of StopWorker: it is done with the operation
    EditStopped,    // the edit is to be carried over; an answer other than 0: start the operation
    EditDone,       // EditWorker is done with the operation
    DeleteStopped,  // DeleteWorker is done with the operation, which can go
};

/// Owned by the worker; the window's thread may use it during a step.
struct OperationWork {
    HWND hMainWnd = nullptr;
    EngineCounters* pCounters = nullptr;   // outlives the worker
    CPortForwardOp* pOperation = nullptr;  // held by the window for this worker alone
    OpSettings edited;                     // EditWorker: the new settings
    bool bWasRunning = false;              // EditWorker
    uint32_t nStatusSlot = 0;              // EditWorker: what the row says when all is done
};

// The creator has counted the thread in nThreads; taking itself off is its last act.
void StopWorker(std::unique_ptr<OperationWork> pWork);
void EditWorker(std::unique_ptr<OperationWork> pWork);
void DeleteWorker(std::unique_ptr<OperationWork> pWork);
