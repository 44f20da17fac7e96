// The main window's rows: each stands for one operation, to which its item data points.
#include "resources/resource.h"
#include "shell/app_settings.h"
#include "shell/main_window/column_layout.h"
#include "shell/main_window/main_dlg.h"
#include "shell/main_window/main_dlg_slots.h"
#include "shell/main_window/operation_sort.h"

namespace {

// The direction of the next sort, whatever the column.
int g_nSortSign = 1;

CPortForwardOp* OperationOf(LPARAM nData) {
    return reinterpret_cast<CPortForwardOp*>(nData);
}

LPARAM DataOf(const CPortForwardOp* pOperation) {
    return reinterpret_cast<LPARAM>(pOperation);
}

int CALLBACK CompareRows(LPARAM nFirst, LPARAM nSecond, LPARAM nColumn) {
    return CompareOperations(OperationOf(nFirst), OperationOf(nSecond), static_cast<int>(nColumn), g_nSortSign);
}

}  // namespace

CListCtrl CMainDlg::List() const {
    return {*this, IDC_MAIN_LIST};
}

std::string CMainDlg::Text(uint32_t nSlot) const {
    return m_pSettings->slotTable.Text(nSlot);
}

bool CMainDlg::InsertRow(CPortForwardOp* pOperation) {
    const CListCtrl list = List();
    const int nRow = list.InsertItem(0, Text(kSlotStopped));
    if (nRow < 0) return false;
    if (!list.SetItemData(nRow, DataOf(pOperation))) {
        list.DeleteItem(nRow);
        return false;
    }
    FillColumns(nRow, *pOperation);
    return true;
}

void CMainDlg::FillColumns(int nRow, const CPortForwardOp& operation) const {
    const CListCtrl list = List();
    const OpSettings& settings = operation.m_settings;
    const char* const pszProtocol = ProtocolText(settings.m_nProtocol);
    if (pszProtocol) list.SetItemText(nRow, COLUMN_PROTOCOL, pszProtocol);
    list.SetItemText(nRow, COLUMN_LOCAL_IP, FormatIpAddress(settings.m_dwLocalIp));
    list.SetItemText(nRow, COLUMN_LOCAL_PORT, std::to_string(settings.m_wLocalPort));
    const bool bToClient = settings.IsTargetTheClient();
    list.SetItemText(nRow, COLUMN_REMOTE_HOST, bToClient ? Text(kSlotClientAddress) : settings.m_strRemoteHost);
    list.SetItemText(nRow, COLUMN_REMOTE_PORT, std::to_string(settings.m_wRemotePort));
}

CPortForwardOp* CMainDlg::OperationOfRow(int nRow) const {
    return nRow < 0 ? nullptr : OperationOf(List().GetItemData(nRow));
}

// Commands act on the list's selection mark, which is not the row that is shown as selected.
CPortForwardOp* CMainDlg::SelectedOperation() const {
    return OperationOfRow(List().GetSelectionMark());
}

int CMainDlg::FindRow(const CPortForwardOp* pOperation) const {
    return List().FindItemByData(DataOf(pOperation));
}

void CMainDlg::SetStatus(const CPortForwardOp* pOperation, uint32_t nSlot) {
    const int nRow = FindRow(pOperation);
    if (nRow >= 0) List().SetItemText(nRow, COLUMN_STATUS, Text(nSlot));
    // The list tells of a new text, not of the same one.
    EnableButtons(SelectedOperation());
}

void CMainDlg::OnItemChanged(const NMLISTVIEW& change) {
    const UINT nGained = change.uNewState & ~change.uOldState;
    if ((change.uChanged & LVIF_STATE) && (nGained & (LVIS_SELECTED | LVIS_FOCUSED))) {
        UpdateSelection(change.iItem);
    } else if (change.uChanged & LVIF_TEXT) {
        UpdateSelection(-1);
    }
}

void CMainDlg::UpdateSelection(int nRow) {
    const CPortForwardOp* const pOperation = nRow < 0 ? SelectedOperation() : OperationOfRow(nRow);
    EnableButtons(pOperation);
    if (pOperation) {
        Watch(*pOperation);
    } else {
        Unwatch(nullptr);
    }
}

// Marks the row and shows it as selected: a command that acts on another row than the highlighted one would surprise.
void CMainDlg::ShowMarked(int nRow) {
    if (nRow < 0) return;
    const CListCtrl list = List();
    list.SetItemState(nRow, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
    list.SetSelectionMark(nRow);
    UpdateSelection(nRow);
    // The change of the state may have come here already; the rates start over all the same.
    m_bResetRates = 1;
}

void CMainDlg::EnableButtons(const CPortForwardOp* pOperation) const {
    const bool bRunning = pOperation && pOperation->m_bRunning != 0;
    GetDlgItem(ID_PFO_EDIT).EnableWindow(pOperation != nullptr);
    GetDlgItem(ID_PFO_DELETE).EnableWindow(pOperation != nullptr);
    GetDlgItem(ID_PFO_START).EnableWindow(pOperation && !bRunning);
    GetDlgItem(ID_PFO_STOP).EnableWindow(bRunning);
    // A disabled button that keeps the focus would keep the keys from everybody.
    const CWnd focus(::GetFocus());
    if (::GetParent(focus.GetSafeHwnd()) == GetSafeHwnd() && !focus.IsWindowEnabled()) List().SetFocus();
}

void CMainDlg::Watch(const CPortForwardOp& operation) {
    const bool bSame =
        m_pStatFromClient == &operation.m_dBytesFromClient && m_pStatFromServer == &operation.m_dBytesFromServer;
    m_pStatThreads = &operation.m_nThreads;
    m_pStatSessions = &operation.m_nSessions;
    m_pStatTotal = &operation.m_nTotalSessions;
    m_pStatFromClient = &operation.m_dBytesFromClient;
    m_pStatFromServer = &operation.m_dBytesFromServer;
    m_bResetRates = bSame ? 0 : 1;
}

/// Clears the status pointers that lead into the operation, or all with null.
void CMainDlg::Unwatch(const CPortForwardOp* pOperation) {
    const auto clear = [pOperation](auto& pStatus, auto CPortForwardOp::*pMember) {
        if (!pOperation || pStatus == &(pOperation->*pMember)) pStatus = nullptr;
    };
    clear(m_pStatThreads, &CPortForwardOp::m_nThreads);
    clear(m_pStatSessions, &CPortForwardOp::m_nSessions);
    clear(m_pStatTotal, &CPortForwardOp::m_nTotalSessions);
    clear(m_pStatFromClient, &CPortForwardOp::m_dBytesFromClient);
    clear(m_pStatFromServer, &CPortForwardOp::m_dBytesFromServer);
    m_bResetRates = 1;
}

void CMainDlg::OnColumnClick(int nColumn) {
    List().SortItems(CompareRows, nColumn);
    g_nSortSign = -g_nSortSign;
}

void CMainDlg::CollectListToSettings() {
    // Until the rows are there, and during the question that may come ahead of them, the settings hold what the file
    // held.
    if (!m_bListed) return;
    const CListCtrl list = List();
    ColumnValues order = {};
    if (list.GetColumnOrderArray(order)) m_pSettings->columnOrder = order;
    for (size_t i = 0; i < kColumnCount; ++i) {
        m_pSettings->columnWidths[i] = list.GetColumnWidth(static_cast<int>(i));
    }
    ChainOperations();
}

void CMainDlg::ChainOperations() {
    CPortForwardOp** ppLink = &m_pSettings->firstOp;
    int32_t nCount = 0;
    for (int nRow = List().GetItemCount() - 1; nRow >= 0; --nRow, ++nCount) {
        CPortForwardOp* const pOperation = OperationOfRow(nRow);
        if (!pOperation) break;
        *ppLink = pOperation;
        ppLink = &pOperation->m_pNext;
    }
    // Operations for which the system had no row stay in the file.
    *ppLink = m_pUnlisted;
    for (const CPortForwardOp* pOperation = m_pUnlisted; pOperation; pOperation = pOperation->m_pNext) ++nCount;
    m_pSettings->opCount = nCount;
}
