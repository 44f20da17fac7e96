#include "shell/main_window/operation_commands.h"

#include <utility>

#include "dialogs/pfo_options_dlg.h"
#include "language/slots.h"
#include "platform/mfc/wnd.h"
#include "resources/private_messages.h"
#include "shell/link_operation.h"
#include "shell/main_window/operation_list.h"
#include "shell/main_window/operation_workers.h"
#include "shell/main_window/status_lines.h"

void COperationCommands::RefuseWithoutRow() const {
    m_main.MessageBox(kSlotNoneSelected, kSlotNoneSelectedTitle, MB_ICONERROR);
}

void COperationCommands::RefuseWhileStopping(uint32_t nSlot) const {
    m_main.MessageBox(nSlot, kSlotNotWhileStopping, MB_ICONERROR);
}

void COperationCommands::Save() const {
    m_main.pWindow->SendMessage(WM_SAVE_SETTINGS);
}

void COperationCommands::Link(CPortForwardOp* pOperation) const {
    LinkOperation(pOperation, *m_main.pSettings, m_main.pCounters, m_main.pLogQueue);
}

void COperationCommands::ListOperations(bool bStart) {
    const CWaitCursor wait;
    const CPortForwardOp* pLastStarted = nullptr;
    m_pList->ListOperations([&](CPortForwardOp* pOperation) {
        pOperation->m_bStarting = 0;
        Link(pOperation);
        const bool bWasRunning = pOperation->m_bRunning.exchange(0) != 0;
        if (!bWasRunning || !bStart) return;
        m_pList->Mark(pOperation);
        m_bBatchCommand = true;
        OnStart();
        pLastStarted = pOperation;
    });
    // Rows went in above the mark since: it stays with the operation whose status is shown.
    if (pLastStarted) m_pList->Mark(pLastStarted);
}

void COperationCommands::OnNew() {
    auto pNew = std::make_unique<CPortForwardOp>();
    CPortForwardOp* const pOperation = pNew.get();
    if (CPfoOptionsDlg(m_main.pSettings, nullptr, &pOperation->m_settings).DoModal() != IDOK) return;
    Link(pOperation);
    if (!m_pList->Add(std::move(pNew))) return;
    m_pList->Show(pOperation);
    Save();
}

bool COperationCommands::AskForEdit(const CPortForwardOp* pOperation, OpSettings* pEdited) const {
    const COperationHold hold = m_pWorkers->Hold(pOperation);
    return CPfoOptionsDlg(m_main.pSettings, pOperation, pEdited).DoModal() == IDOK;
}

void COperationCommands::OnEdit() {
    CPortForwardOp* const pOperation = m_pList->SelectedOperation();
    if (!pOperation) return RefuseWithoutRow();
    if (m_pWorkers->IsHeld(pOperation)) return RefuseWhileStopping(kSlotNoEdit);
    OpSettings edited;
    if (!AskForEdit(pOperation, &edited)) return;
    m_pWorkers->Edit(pOperation, std::move(edited));
    // Writes the old values: the edited ones come into force when the operation has stopped.
    Save();
}

bool COperationCommands::AskForDelete(const CPortForwardOp* pOperation) const {
    const COperationHold hold = m_pWorkers->Hold(pOperation);
    return m_main.MessageBox(kSlotSureToDelete, kSlotSure, MB_YESNO | MB_ICONQUESTION) == IDYES;
}

void COperationCommands::OnDelete() {
    CPortForwardOp* const pOperation = m_pList->SelectedOperation();
    if (!pOperation) return RefuseWithoutRow();
    if (m_pWorkers->IsHeld(pOperation)) return RefuseWhileStopping(kSlotNoDelete);
    if (AskForDelete(pOperation)) m_pWorkers->Delete(pOperation);
    Save();
}

void COperationCommands::OnStart() {
    const bool bBatch = std::exchange(m_bBatchCommand, false);
    CPortForwardOp* const pOperation = m_pList->SelectedOperation();
    if (!pOperation) return RefuseWithoutRow();
    if (m_pWorkers->IsHeld(pOperation)) return RefuseWhileStopping(kSlotNoStart);
    {
        const CWaitCursor wait;
        pOperation->Start();
    }
    m_pList->SetStatus(pOperation, pOperation->m_bRunning ? kSlotStarted : kSlotErrorStarting);
    m_pStatus->WatchBytes(*pOperation);
    if (!bBatch) Save();
}

void COperationCommands::OnStop() {
    const bool bBatch = std::exchange(m_bBatchCommand, false);
    CPortForwardOp* const pOperation = m_pList->SelectedOperation();
    if (!pOperation) return RefuseWithoutRow();
    if (!pOperation->m_bRunning || m_pWorkers->IsHeld(pOperation)) return;
    m_pWorkers->Stop(pOperation);
    if (!bBatch) Save();
}

void COperationCommands::ForEachRowFromBelow(void (COperationCommands::*pfnCommand)()) {
    const CWaitCursor wait;
    m_pList->ForEachRowFromBelow([&] {
        m_bBatchCommand = true;
        (this->*pfnCommand)();
    });
    Save();
}

void COperationCommands::OnStartAll() {
    ForEachRowFromBelow(&COperationCommands::OnStart);
}

void COperationCommands::OnStopAll() {
    ForEachRowFromBelow(&COperationCommands::OnStop);
}
