// The worker threads of the commands Stop, Edit and Delete, and what keeps other commands off their operations.
//
// A stop can take as long as a connect in progress, so it runs on a thread of its own. That thread does nothing but
// stop (and, after an edit, start) the operation: whatever concerns the list, the settings or the operation's life is a
// step that the window's thread takes when the worker sends it WM_WORKER_STEP, and the worker waits for that. A window
// that has gone takes no step; the worker then just ends.
//
// An operation is held from before its worker starts until the worker's last step. Commands refuse a held operation, so
// that nothing else starts, changes or destroys it meanwhile; m_bStopping, which the engine clears itself, ends too
// early for an edit. All calls here are for the thread of the window.
#pragma once

#include <memory>
#include <set>

#include "shell/main_window/main_window.h"

class COperationList;
class CPortForwardOp;
class CStatusLines;
struct OpSettings;
struct OperationWork;

/// From a worker: wParam tells the step, lParam leads to the worker's block.
inline constexpr UINT WM_WORKER_STEP = 0x8020;

/// Keeps an operation held while a dialog about it is open: whatever else reaches the window meanwhile leaves it alone.
class COperationHold {
  public:
    COperationHold(std::set<const CPortForwardOp*>* pHeld, const CPortForwardOp* pOperation)
        : m_pHeld(pHeld), m_pOperation(pOperation) {
        m_pHeld->insert(m_pOperation);
    }
    ~COperationHold() { m_pHeld->erase(m_pOperation); }
    COperationHold(const COperationHold&) = delete;
    COperationHold& operator=(const COperationHold&) = delete;

  private:
    std::set<const CPortForwardOp*>* const m_pHeld;
    const CPortForwardOp* const m_pOperation;
};

class COperationWorkers {
  public:
    COperationWorkers(const MainWindow& main, COperationList* pList, CStatusLines* pStatus)
        : m_main(main), m_pList(pList), m_pStatus(pStatus) {}

    /// Whether commands are to leave the operation alone.
    bool IsHeld(const CPortForwardOp* pOperation) const;
    [[nodiscard]] COperationHold Hold(const CPortForwardOp* pOperation) { return {&m_held, pOperation}; }

    // Each begins the work on an operation that is not held, and leaves the operation as it is when there is no thread
    // for it.

    void Stop(CPortForwardOp* pOperation);
    /// Stops the operation, gives it these settings, and starts it again if it ran.
    void Edit(CPortForwardOp* pOperation, OpSettings edited);
    /// Stops the operation and destroys it with its row.
    void Delete(CPortForwardOp* pOperation);

    /// WM_WORKER_STEP; what it returns is the answer to the worker.
    LRESULT OnWorkerStep(WPARAM wParam, LPARAM lParam);

  private:
    void Begin(void (*pfnWorker)(std::unique_ptr<OperationWork>), std::unique_ptr<OperationWork> pWork);
    std::unique_ptr<OperationWork> WorkOn(CPortForwardOp* pOperation) const;
    void FinishStop(CPortForwardOp* pOperation);
    bool CarryOverEdit(OperationWork* pWork);
    void FinishEdit(OperationWork* pWork);
    void FinishDelete(CPortForwardOp* pOperation);

    const MainWindow m_main;
    COperationList* const m_pList;
    CStatusLines* const m_pStatus;
    std::set<const CPortForwardOp*> m_held;  // a worker or a dialog works on it
};
