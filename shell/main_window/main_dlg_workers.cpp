// The steps that the window's thread takes for the workers of Stop, Edit and Delete.
//
// An operation is held from before its worker starts until the worker's last step. Commands refuse a held operation, so
// that nothing else starts, changes or destroys it meanwhile; m_bStopping, which the engine clears itself, ends too
// early for an edit.
#include "platform/threads/threads.h"
#include "shell/app_settings.h"
#include "shell/main_window/main_dlg.h"
#include "shell/main_window/main_dlg_slots.h"

namespace {

uint32_t StatusAfterStop(const CPortForwardOp& operation) {
    return operation.m_bRunning ? kSlotErrorStopping : kSlotStopped;
}

}  // namespace

bool CMainDlg::IsHeld(const CPortForwardOp* pOperation) const {
    return pOperation->m_bStopping != 0 || m_held.contains(pOperation);
}

// False when there is no thread for it: the operation then stays as it is.
bool CMainDlg::BeginWork(void (*pfnWorker)(std::unique_ptr<OperationWork>), CPortForwardOp* pOperation,
                         OpSettings edited) {
    auto pWork = std::make_unique<OperationWork>();
    pWork->hMainWnd = GetSafeHwnd();
    pWork->pCounters = &m_counters;
    pWork->pOperation = pOperation;
    pWork->edited = std::move(edited);
    m_held.insert(pOperation);
    pOperation->m_bStopping = 1;
    m_counters.nThreads.fetch_add(1);
    if (!AfxBeginThread(pfnWorker, std::move(pWork))) {
        m_counters.nThreads.fetch_sub(1);
        pOperation->m_bStopping = 0;
        m_held.erase(pOperation);
        return false;
    }
    // The worker's first step waits until this thread serves it, so this text comes first.
    SetStatus(pOperation, kSlotStopping);
    return true;
}

LRESULT CMainDlg::OnWorkerStep(WorkStep step, OperationWork* pWork) {
    CPortForwardOp* const pOperation = pWork->pOperation;
    switch (step) {
        case WorkStep::Stopped:
            m_held.erase(pOperation);
            if (m_pStatFromClient == &pOperation->m_dBytesFromClient) m_pStatFromClient = m_pStatFromServer = nullptr;
            SetStatus(pOperation, StatusAfterStop(*pOperation));
            return 0;
        case WorkStep::EditStopped:
            return CarryOverEdit(pWork);
        case WorkStep::EditDone:
            FinishEdit(pWork);
            return 0;
        case WorkStep::DeleteStopped:
            FinishDelete(pOperation);
            return 0;
    }
    return 0;
}

/// Whether the operation is to be started again.
bool CMainDlg::CarryOverEdit(OperationWork* pWork) {
    CPortForwardOp* const pOperation = pWork->pOperation;
    pWork->nStatusSlot = StatusAfterStop(*pOperation);
    SetStatus(pOperation, pWork->nStatusSlot);
    if (pOperation->m_bRunning) return false;
    pOperation->m_settings = std::move(pWork->edited);
    if (pWork->bWasRunning) pWork->nStatusSlot = kSlotErrorStarting;
    return pWork->bWasRunning;
}

void CMainDlg::FinishEdit(OperationWork* pWork) {
    CPortForwardOp* const pOperation = pWork->pOperation;
    m_held.erase(pOperation);
    const bool bStarted = pOperation->m_bRunning && pWork->nStatusSlot != kSlotErrorStopping;
    SetStatus(pOperation, bStarted ? kSlotStarted : pWork->nStatusSlot);
    const int nRow = FindRow(pOperation);
    if (nRow >= 0) FillColumns(nRow, *pOperation);
}

// Pointers, row and chain go ahead of the operation: nothing leads to it when it is destroyed.
void CMainDlg::FinishDelete(CPortForwardOp* pOperation) {
    m_held.erase(pOperation);
    SetStatus(pOperation, StatusAfterStop(*pOperation));
    const int nRow = FindRow(pOperation);
    if (pOperation->m_bRunning || nRow < 0) return;
    Unwatch(pOperation);
    if (!List().DeleteItem(nRow)) return;
    Unwatch(pOperation);
    CollectListToSettings();
    std::erase_if(m_pSettings->operations, [pOperation](const auto& pOwned) { return pOwned.get() == pOperation; });
    EnableButtons(SelectedOperation());
}
