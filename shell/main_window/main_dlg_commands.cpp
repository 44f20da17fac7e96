// The main window's commands on operations.
#include "dialogs/pfo_options_dlg.h"
#include "language/language_choice.h"
#include "platform/mfc/wait_cursor.h"
#include "resources/private_messages.h"
#include "shell/app_settings.h"
#include "shell/link_operation.h"
#include "shell/main_window/main_dlg.h"
#include "shell/main_window/main_dlg_slots.h"
#include "store/settings_file.h"

namespace {

/// Keeps an operation held while a dialog about it is open: whatever else reaches the window meanwhile leaves it alone.
class CHold {
  public:
    CHold(std::set<const CPortForwardOp*>* pHeld, const CPortForwardOp* pOperation)
        : m_pHeld(pHeld), m_pOperation(pOperation) {
        m_pHeld->insert(m_pOperation);
    }
    ~CHold() { m_pHeld->erase(m_pOperation); }
    CHold(const CHold&) = delete;
    CHold& operator=(const CHold&) = delete;

  private:
    std::set<const CPortForwardOp*>* const m_pHeld;
    const CPortForwardOp* const m_pOperation;
};

}  // namespace

void CMainDlg::RefuseWithoutRow() const {
    MessageBox(Text(kSlotNoneSelected), Text(kSlotNoneSelectedTitle), MB_ICONERROR);
}

void CMainDlg::RefuseWhileStopping(uint32_t nSlot) const {
    MessageBox(Text(nSlot), Text(kSlotNotWhileStopping), MB_ICONERROR);
}

void CMainDlg::SaveSettings() {
    CollectListToSettings();
    // A file that cannot be written is not reported: the next save tries again.
    SaveSettingsFile(*m_pSettings, nullptr);
}

void CMainDlg::OnNew() {
    auto pNew = std::make_unique<CPortForwardOp>();
    CPortForwardOp* const pOperation = pNew.get();
    if (CPfoOptionsDlg(m_pSettings, nullptr, &pOperation->m_settings).DoModal() != IDOK) return;
    LinkOperation(pOperation, *m_pSettings, &m_counters, &m_logQueue);
    m_pSettings->operations.push_back(std::move(pNew));
    if (!InsertRow(pOperation)) {
        m_pSettings->operations.pop_back();
        return;
    }
    ShowMarked(FindRow(pOperation));
    SendMessage(WM_SAVE_SETTINGS);
}

bool CMainDlg::AskForEdit(const CPortForwardOp* pOperation, OpSettings* pEdited) {
    const CHold hold(&m_held, pOperation);
    return CPfoOptionsDlg(m_pSettings, pOperation, pEdited).DoModal() == IDOK;
}

void CMainDlg::OnEdit() {
    CPortForwardOp* const pOperation = SelectedOperation();
    if (!pOperation) return RefuseWithoutRow();
    if (IsHeld(pOperation)) return RefuseWhileStopping(kSlotNoEdit);
    OpSettings edited;
    if (!AskForEdit(pOperation, &edited)) return;
    BeginWork(EditWorker, pOperation, std::move(edited));
    // Writes the old values: the edited ones come into force when the operation has stopped.
    SendMessage(WM_SAVE_SETTINGS);
}

bool CMainDlg::AskForDelete(const CPortForwardOp* pOperation) {
    const CHold hold(&m_held, pOperation);
    return MessageBox(Text(kSlotSureToDelete), Text(kSlotSure), MB_YESNO | MB_ICONQUESTION) == IDYES;
}

void CMainDlg::OnDelete() {
    CPortForwardOp* const pOperation = SelectedOperation();
    if (!pOperation) return RefuseWithoutRow();
    if (IsHeld(pOperation)) return RefuseWhileStopping(kSlotNoDelete);
    if (AskForDelete(pOperation)) BeginWork(DeleteWorker, pOperation);
    SendMessage(WM_SAVE_SETTINGS);
}

void CMainDlg::OnStart() {
    const bool bBatch = std::exchange(m_bBatchCommand, false);
    CPortForwardOp* const pOperation = SelectedOperation();
    if (!pOperation) return RefuseWithoutRow();
    if (IsHeld(pOperation)) return RefuseWhileStopping(kSlotNoStart);
    {
        const CWaitCursor wait;
        pOperation->Start();
    }
    SetStatus(pOperation, pOperation->m_bRunning ? kSlotStarted : kSlotErrorStarting);
    m_pStatFromClient = &pOperation->m_dBytesFromClient;
    m_pStatFromServer = &pOperation->m_dBytesFromServer;
    m_bResetRates = 1;
    if (!bBatch) SendMessage(WM_SAVE_SETTINGS);
}

void CMainDlg::OnStop() {
    const bool bBatch = std::exchange(m_bBatchCommand, false);
    CPortForwardOp* const pOperation = SelectedOperation();
    if (!pOperation) return RefuseWithoutRow();
    if (!pOperation->m_bRunning || IsHeld(pOperation)) return;
    BeginWork(StopWorker, pOperation);
    if (!bBatch) SendMessage(WM_SAVE_SETTINGS);
}

void CMainDlg::ForEachRowFromBelow(void (CMainDlg::*pfnCommand)()) {
    const CWaitCursor wait;
    for (int nRow = List().GetItemCount() - 1; nRow >= 0; --nRow) {
        // A message box of the row before may have let a delete come to its end.
        if (!OperationOfRow(nRow)) continue;
        List().SetSelectionMark(nRow);
        m_bBatchCommand = true;
        (this->*pfnCommand)();
    }
    ShowMarked(List().GetSelectionMark());
    SendMessage(WM_SAVE_SETTINGS);
}

void CMainDlg::OnStartAll() {
    ForEachRowFromBelow(&CMainDlg::OnStart);
}

void CMainDlg::OnStopAll() {
    ForEachRowFromBelow(&CMainDlg::OnStop);
}

void CMainDlg::OnLanguage() {
    ChooseLanguage(m_pSettings);
    SaveSettings();
    RelabelWindow();
}
