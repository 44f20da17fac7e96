#include "platform/mfc/list_ctrl.h"

namespace {

/// The list view's records take text by a writable pointer also where it only reads.
char* TextForRecord(const std::string& strText) {
    return const_cast<char*>(strText.c_str());
}

LPARAM Pointer(const void* p) {
    return reinterpret_cast<LPARAM>(p);
}

WPARAM Index(int nIndex) {
    return static_cast<WPARAM>(nIndex);
}

}  // namespace

void CListCtrl::SetExtendedStyle(DWORD dwStyle) const {
    SendMessage(LVM_SETEXTENDEDLISTVIEWSTYLE, 0, static_cast<LPARAM>(dwStyle));
}

int CListCtrl::InsertColumn(int nColumn, const std::string& strText, int nWidth) const {
    if (!m_hWnd) return -1;
    LVCOLUMNA column = {};
    column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM;
    column.pszText = TextForRecord(strText);
    column.cx = nWidth;
    column.iSubItem = nColumn;
    return static_cast<int>(SendMessage(LVM_INSERTCOLUMNA, Index(nColumn), Pointer(&column)));
}

bool CListCtrl::SetColumnText(int nColumn, const std::string& strText) const {
    LVCOLUMNA column = {};
    column.mask = LVCF_TEXT;
    column.pszText = TextForRecord(strText);
    return SendMessage(LVM_SETCOLUMNA, Index(nColumn), Pointer(&column)) != FALSE;
}

int CListCtrl::GetColumnWidth(int nColumn) const {
    return static_cast<int>(SendMessage(LVM_GETCOLUMNWIDTH, Index(nColumn)));
}

bool CListCtrl::SetColumnWidth(int nColumn, int nWidth) const {
    return SendMessage(LVM_SETCOLUMNWIDTH, Index(nColumn), nWidth) != FALSE;
}

bool CListCtrl::GetColumnOrderArray(std::span<int32_t> order) const {
    return SendMessage(LVM_GETCOLUMNORDERARRAY, order.size(), Pointer(order.data())) != FALSE;
}

bool CListCtrl::SetColumnOrderArray(std::span<const int32_t> order) const {
    return SendMessage(LVM_SETCOLUMNORDERARRAY, order.size(), Pointer(order.data())) != FALSE;
}

int CListCtrl::GetItemCount() const {
    return static_cast<int>(SendMessage(LVM_GETITEMCOUNT));
}

int CListCtrl::InsertItem(int nRow, const std::string& strText) const {
    if (!m_hWnd) return -1;
    LVITEMA item = {};
    item.mask = LVIF_TEXT;
    item.iItem = nRow;
    item.pszText = TextForRecord(strText);
    return static_cast<int>(SendMessage(LVM_INSERTITEMA, 0, Pointer(&item)));
}

bool CListCtrl::SetItem(const LVITEMA& item) const {
    return SendMessage(LVM_SETITEMA, 0, Pointer(&item)) != FALSE;
}

bool CListCtrl::SetItemText(int nRow, int nColumn, const std::string& strText) const {
    LVITEMA item = {};
    item.iSubItem = nColumn;
    item.pszText = TextForRecord(strText);
    return SendMessage(LVM_SETITEMTEXTA, Index(nRow), Pointer(&item)) != FALSE;
}

std::string CListCtrl::GetItemText(int nRow, int nColumn) const {
    std::string strText(256, '\0');
    for (;;) {
        LVITEMA item = {};
        item.iSubItem = nColumn;
        item.pszText = strText.data();
        item.cchTextMax = static_cast<int>(strText.size());
        const size_t nLength = static_cast<size_t>(SendMessage(LVM_GETITEMTEXTA, Index(nRow), Pointer(&item)));
        // A buffer filled to within a two-byte character of its end may have cut the text.
        if (nLength + 2 < strText.size()) {
            strText.resize(nLength);
            return strText;
        }
        strText.resize(strText.size() * 2);
    }
}

LPARAM CListCtrl::GetItemData(int nRow) const {
    LVITEMA item = {};
    item.mask = LVIF_PARAM;
    item.iItem = nRow;
    return SendMessage(LVM_GETITEMA, 0, Pointer(&item)) ? item.lParam : 0;
}

bool CListCtrl::SetItemData(int nRow, LPARAM nData) const {
    LVITEMA item = {};
    item.mask = LVIF_PARAM;
    item.iItem = nRow;
    item.lParam = nData;
    return SetItem(item);
}

int CListCtrl::FindItemByData(LPARAM nData) const {
    if (!m_hWnd) return -1;
    LVFINDINFOA find = {};
    find.flags = LVFI_PARAM;
    find.lParam = nData;
    return static_cast<int>(SendMessage(LVM_FINDITEMA, Index(-1), Pointer(&find)));
}

bool CListCtrl::DeleteItem(int nRow) const {
    return SendMessage(LVM_DELETEITEM, Index(nRow)) != FALSE;
}

bool CListCtrl::DeleteAllItems() const {
    return SendMessage(LVM_DELETEALLITEMS) != FALSE;
}

POINT CListCtrl::GetItemPosition(int nRow) const {
    POINT point = {};
    SendMessage(LVM_GETITEMPOSITION, Index(nRow), Pointer(&point));
    return point;
}

bool CListCtrl::SetItemState(int nRow, UINT nState, UINT nMask) const {
    LVITEMA item = {};
    item.state = nState;
    item.stateMask = nMask;
    return SendMessage(LVM_SETITEMSTATE, Index(nRow), Pointer(&item)) != FALSE;
}

int CListCtrl::GetSelectionMark() const {
    return m_hWnd ? static_cast<int>(SendMessage(LVM_GETSELECTIONMARK)) : -1;
}

int CListCtrl::SetSelectionMark(int nRow) const {
    return m_hWnd ? static_cast<int>(SendMessage(LVM_SETSELECTIONMARK, 0, nRow)) : -1;
}

bool CListCtrl::SortItems(PFNLVCOMPARE pfnCompare, LPARAM nParam) const {
    return SendMessage(LVM_SORTITEMS, static_cast<WPARAM>(nParam), reinterpret_cast<LPARAM>(pfnCompare)) != FALSE;
}
