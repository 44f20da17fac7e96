#include "shell/main_window/operation_list.h"

#include <string>

#include "language/slots.h"
#include "resources/resource.h"
#include "shell/main_window/column_layout.h"
#include "shell/main_window/operation_sort.h"
#include "shell/main_window/status_lines.h"

namespace {

// Before the columns get their saved widths.
constexpr std::array<int, kColumnCount> kInsertedWidths = {80, 80, 120, 90, 200, 150};

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

CListCtrl COperationList::List() const {
    return {*m_main.pWindow, IDC_MAIN_LIST};
}

void COperationList::SetStyle() const {
    List().SetExtendedStyle(LVS_EX_GRIDLINES | LVS_EX_HEADERDRAGDROP | LVS_EX_FULLROWSELECT);
}

void COperationList::InsertColumns() const {
    const CListCtrl list = List();
    for (size_t i = 0; i < kColumnCount; ++i) list.InsertColumn(static_cast<int>(i), "", kInsertedWidths[i]);
}

void COperationList::RelabelColumns() const {
    const CListCtrl list = List();
    for (uint32_t i = 0; i < kColumnCount; ++i) {
        list.SetColumnText(static_cast<int>(i), m_main.Text(kSlotStatusHeader + i));
    }
}

void COperationList::RestoreColumns() const {
    const CListCtrl list = List();
    list.SetColumnOrderArray(RepairColumnOrder(m_main.pSettings->columnOrder));
    const ColumnValues widths = RepairColumnWidths(m_main.pSettings->columnWidths);
    for (size_t i = 0; i < kColumnCount; ++i) list.SetColumnWidth(static_cast<int>(i), widths[i]);
}

void COperationList::ListOperations(const std::function<void(CPortForwardOp*)>& fnListed) {
    for (CPortForwardOp* pOperation = m_main.pSettings->firstOp; pOperation; pOperation = pOperation->m_pNext) {
        if (!InsertRow(*pOperation)) {
            m_pUnlisted = pOperation;
            break;
        }
        fnListed(pOperation);
    }
    m_bListed = true;
}

bool COperationList::Add(std::unique_ptr<CPortForwardOp> pOperation) {
    auto& operations = m_main.pSettings->operations;
    operations.push_back(std::move(pOperation));
    if (InsertRow(*operations.back())) return true;
    operations.pop_back();
    return false;
}

// The row and the chain go ahead of the operation: nothing leads to it when it is destroyed. Its row may be the watched
// one, and may be watched once more by the messages that its end brings.
void COperationList::Delete(CPortForwardOp* pOperation) {
    const int nRow = FindRow(pOperation);
    if (nRow < 0) return;
    m_pStatus->Unwatch(pOperation);
    if (!List().DeleteItem(nRow)) return;
    m_pStatus->Unwatch(pOperation);
    CollectListToSettings();
    std::erase_if(m_main.pSettings->operations,
                  [pOperation](const auto& pOwned) { return pOwned.get() == pOperation; });
    EnableButtons(SelectedOperation());
}

bool COperationList::InsertRow(const CPortForwardOp& operation) const {
    const CListCtrl list = List();
    const int nRow = list.InsertItem(0, m_main.Text(kSlotStopped));
    if (nRow < 0) return false;
    if (!list.SetItemData(nRow, DataOf(&operation))) {
        list.DeleteItem(nRow);
        return false;
    }
    FillColumns(nRow, operation);
    return true;
}

void COperationList::FillColumns(int nRow, const CPortForwardOp& operation) const {
    const CListCtrl list = List();
    const OpSettings& settings = operation.m_settings;
    const char* const pszProtocol = ProtocolText(settings.m_nProtocol);
    if (pszProtocol) list.SetItemText(nRow, COLUMN_PROTOCOL, pszProtocol);
    list.SetItemText(nRow, COLUMN_LOCAL_IP, FormatIpAddress(settings.m_dwLocalIp));
    list.SetItemText(nRow, COLUMN_LOCAL_PORT, std::to_string(settings.m_wLocalPort));
    const bool bToClient = settings.IsTargetTheClient();
    list.SetItemText(nRow, COLUMN_REMOTE_HOST, bToClient ? m_main.Text(kSlotClientAddress) : settings.m_strRemoteHost);
    list.SetItemText(nRow, COLUMN_REMOTE_PORT, std::to_string(settings.m_wRemotePort));
}

void COperationList::RefillRow(const CPortForwardOp& operation) const {
    const int nRow = FindRow(&operation);
    if (nRow >= 0) FillColumns(nRow, operation);
}

void COperationList::SetStatus(const CPortForwardOp* pOperation, uint32_t nSlot) const {
    const int nRow = FindRow(pOperation);
    if (nRow >= 0) List().SetItemText(nRow, COLUMN_STATUS, m_main.Text(nSlot));
    // The list tells of a new text, not of the same one.
    EnableButtons(SelectedOperation());
}

CPortForwardOp* COperationList::OperationOfRow(int nRow) const {
    return nRow < 0 ? nullptr : OperationOf(List().GetItemData(nRow));
}

int COperationList::FindRow(const CPortForwardOp* pOperation) const {
    return List().FindItemByData(DataOf(pOperation));
}

CPortForwardOp* COperationList::SelectedOperation() const {
    return OperationOfRow(List().GetSelectionMark());
}

std::optional<POINT> COperationList::SelectedPosition() const {
    const CListCtrl list = List();
    const int nRow = list.GetSelectionMark();
    if (!OperationOfRow(nRow)) return std::nullopt;
    return list.ClientToScreen(list.GetItemPosition(nRow));
}

void COperationList::Mark(const CPortForwardOp* pOperation) const {
    List().SetSelectionMark(FindRow(pOperation));
}

void COperationList::Show(const CPortForwardOp* pOperation) const {
    ShowMarked(FindRow(pOperation));
}

// Marks the row and shows it as selected: a command that acts on another row than the highlighted one would surprise.
void COperationList::ShowMarked(int nRow) const {
    if (nRow < 0) return;
    const CListCtrl list = List();
    list.SetItemState(nRow, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
    list.SetSelectionMark(nRow);
    UpdateSelection(nRow);
    // The change of the state may have come here already; the rates start over all the same.
    m_pStatus->ResetRates();
}

void COperationList::ForEachRowFromBelow(const std::function<void()>& fnCommand) const {
    for (int nRow = List().GetItemCount() - 1; nRow >= 0; --nRow) {
        // A message box of the row before may have let a delete come to its end.
        if (!OperationOfRow(nRow)) continue;
        List().SetSelectionMark(nRow);
        fnCommand();
    }
    ShowMarked(List().GetSelectionMark());
}

void COperationList::OnItemChanged(const NMLISTVIEW& change) const {
    const UINT nGained = change.uNewState & ~change.uOldState;
    if ((change.uChanged & LVIF_STATE) && (nGained & (LVIS_SELECTED | LVIS_FOCUSED))) {
        UpdateSelection(change.iItem);
    } else if (change.uChanged & LVIF_TEXT) {
        UpdateSelection(-1);
    }
}

/// With -1, for the selected row.
void COperationList::UpdateSelection(int nRow) const {
    const CPortForwardOp* const pOperation = nRow < 0 ? SelectedOperation() : OperationOfRow(nRow);
    EnableButtons(pOperation);
    if (pOperation) {
        m_pStatus->Watch(*pOperation);
    } else {
        m_pStatus->Unwatch(nullptr);
    }
}

void COperationList::EnableButtons(const CPortForwardOp* pOperation) const {
    const CWnd& window = *m_main.pWindow;
    const bool bRunning = pOperation && pOperation->m_bRunning != 0;
    window.GetDlgItem(ID_PFO_EDIT).EnableWindow(pOperation != nullptr);
    window.GetDlgItem(ID_PFO_DELETE).EnableWindow(pOperation != nullptr);
    window.GetDlgItem(ID_PFO_START).EnableWindow(pOperation && !bRunning);
    window.GetDlgItem(ID_PFO_STOP).EnableWindow(bRunning);
    // A disabled button that keeps the focus would keep the keys from everybody.
    const CWnd focus(::GetFocus());
    if (::GetParent(focus.GetSafeHwnd()) == window.GetSafeHwnd() && !focus.IsWindowEnabled()) List().SetFocus();
}

void COperationList::OnColumnClick(int nColumn) const {
    List().SortItems(CompareRows, nColumn);
    g_nSortSign = -g_nSortSign;
}

void COperationList::CollectListToSettings() const {
    if (!m_bListed) return;
    const CListCtrl list = List();
    ColumnValues order = {};
    if (list.GetColumnOrderArray(order)) m_main.pSettings->columnOrder = order;
    for (size_t i = 0; i < kColumnCount; ++i) {
        m_main.pSettings->columnWidths[i] = list.GetColumnWidth(static_cast<int>(i));
    }
    ChainOperations();
}

void COperationList::ChainOperations() const {
    CPortForwardOp** ppLink = &m_main.pSettings->firstOp;
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
    m_main.pSettings->opCount = nCount;
}
