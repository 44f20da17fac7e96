#include "shell/main_window/operation_workers.h"

#include "engine/port_forward_op.h"
#include "language/slots.h"
#include "platform/threads/threads.h"
#include "shell/main_window/operation_list.h"
#include "shell/main_window/status_lines.h"

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
    CPortForwardOp* pOperation = nullptr;  // held for this worker alone
    OpSettings edited;                     // EditWorker: the new settings
    bool bWasRunning = false;              // EditWorker
    uint32_t nStatusSlot = 0;              // EditWorker: what the row says when all is done
};

namespace {

// The workers. Who started one has counted it in nThreads; taking itself off is its last act.

bool TakeStep(OperationWork* pWork, WorkStep step) {
    const LPARAM nWork = reinterpret_cast<LPARAM>(pWork);
    return SendMessageA(pWork->hMainWnd, WM_WORKER_STEP, static_cast<WPARAM>(step), nWork) != 0;
}

void End(std::unique_ptr<OperationWork> pWork) {
    EngineCounters* const pCounters = pWork->pCounters;
    pWork.reset();
    pCounters->nThreads.fetch_sub(1);
}

void StopWorker(std::unique_ptr<OperationWork> pWork) {
    pWork->pOperation->Stop();
    TakeStep(pWork.get(), WorkStep::Stopped);
    End(std::move(pWork));
}

void EditWorker(std::unique_ptr<OperationWork> pWork) {
    pWork->bWasRunning = pWork->pOperation->m_bRunning != 0;
    pWork->pOperation->Stop();
    if (TakeStep(pWork.get(), WorkStep::EditStopped)) pWork->pOperation->Start();
    TakeStep(pWork.get(), WorkStep::EditDone);
    End(std::move(pWork));
}

void DeleteWorker(std::unique_ptr<OperationWork> pWork) {
    pWork->pOperation->Stop();
    TakeStep(pWork.get(), WorkStep::DeleteStopped);
    End(std::move(pWork));
}

uint32_t StatusAfterStop(const CPortForwardOp& operation) {
    return operation.m_bRunning ? kSlotErrorStopping : kSlotStopped;
}

}  // namespace

bool COperationWorkers::IsHeld(const CPortForwardOp* pOperation) const {
    return pOperation->m_bStopping != 0 || m_held.contains(pOperation);
}

void COperationWorkers::Stop(CPortForwardOp* pOperation) {
    Begin(StopWorker, WorkOn(pOperation));
}

void COperationWorkers::Edit(CPortForwardOp* pOperation, OpSettings edited) {
    auto pWork = WorkOn(pOperation);
    pWork->edited = std::move(edited);
    Begin(EditWorker, std::move(pWork));
}

void COperationWorkers::Delete(CPortForwardOp* pOperation) {
    Begin(DeleteWorker, WorkOn(pOperation));
}

std::unique_ptr<OperationWork> COperationWorkers::WorkOn(CPortForwardOp* pOperation) const {
    auto pWork = std::make_unique<OperationWork>();
    pWork->hMainWnd = m_main.pWindow->GetSafeHwnd();
    pWork->pCounters = m_main.pCounters;
    pWork->pOperation = pOperation;
    return pWork;
}

void COperationWorkers::Begin(void (*pfnWorker)(std::unique_ptr<OperationWork>), std::unique_ptr<OperationWork> pWork) {
    CPortForwardOp* const pOperation = pWork->pOperation;
    m_held.insert(pOperation);
    pOperation->m_bStopping = 1;
    m_main.pCounters->nThreads.fetch_add(1);
    if (!AfxBeginThread(pfnWorker, std::move(pWork))) {
        m_main.pCounters->nThreads.fetch_sub(1);
        pOperation->m_bStopping = 0;
        m_held.erase(pOperation);
        return;
    }
    // The worker's first step waits until this thread serves it, so this text comes first.
    m_pList->SetStatus(pOperation, kSlotStopping);
}

LRESULT COperationWorkers::OnWorkerStep(WPARAM wParam, LPARAM lParam) {
    auto* const pWork = reinterpret_cast<OperationWork*>(lParam);
    switch (static_cast<WorkStep>(wParam)) {
        case WorkStep::Stopped:
            FinishStop(pWork->pOperation);
            return 0;
        case WorkStep::EditStopped:
            return CarryOverEdit(pWork);
        case WorkStep::EditDone:
            FinishEdit(pWork);
            return 0;
        case WorkStep::DeleteStopped:
            FinishDelete(pWork->pOperation);
            return 0;
    }
    return 0;
}

void COperationWorkers::FinishStop(CPortForwardOp* pOperation) {
    m_held.erase(pOperation);
    m_pStatus->UnwatchBytes(*pOperation);
    m_pList->SetStatus(pOperation, StatusAfterStop(*pOperation));
}

/// Whether the operation is to be started again.
bool COperationWorkers::CarryOverEdit(OperationWork* pWork) {
    CPortForwardOp* const pOperation = pWork->pOperation;
    pWork->nStatusSlot = StatusAfterStop(*pOperation);
    m_pList->SetStatus(pOperation, pWork->nStatusSlot);
    if (pOperation->m_bRunning) return false;
    pOperation->m_settings = std::move(pWork->edited);
    if (pWork->bWasRunning) pWork->nStatusSlot = kSlotErrorStarting;
    return pWork->bWasRunning;
}

void COperationWorkers::FinishEdit(OperationWork* pWork) {
    CPortForwardOp* const pOperation = pWork->pOperation;
    m_held.erase(pOperation);
    const bool bStarted = pOperation->m_bRunning && pWork->nStatusSlot != kSlotErrorStopping;
    m_pList->SetStatus(pOperation, bStarted ? kSlotStarted : pWork->nStatusSlot);
    m_pList->RefillRow(*pOperation);
}

void COperationWorkers::FinishDelete(CPortForwardOp* pOperation) {
    m_held.erase(pOperation);
    m_pList->SetStatus(pOperation, StatusAfterStop(*pOperation));
    if (!pOperation->m_bRunning) m_pList->Delete(pOperation);
}
