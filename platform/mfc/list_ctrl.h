// A list view in report form: columns, rows, and one value of the program's for each row.
//
// The control belongs to its dialog; the object borrows it, so it may be made anew for each use. Any thread may call:
// from another thread than the window's each call waits until that thread serves its messages. Rows and columns count
// from 0, -1 means none. A bool tells whether the control did it.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "platform/mfc/wnd.h"
#include "platform/system/windows_api.h"

#include <commctrl.h>

class CListCtrl : public CWnd {
  public:
    explicit CListCtrl(HWND hWnd) : CWnd(hWnd) {}
    /// The list with this id in the dialog.
    CListCtrl(const CWnd& dialog, int nId) : CWnd(::GetDlgItem(dialog.GetSafeHwnd(), nId)) {}

    void SetExtendedStyle(DWORD dwStyle) const;

    /// Returns the new column's index, -1 on failure. The width is in pixels.
    int InsertColumn(int nColumn, const std::string& strText, int nWidth) const;
    bool SetColumnText(int nColumn, const std::string& strText) const;
    int GetColumnWidth(int nColumn) const;
    bool SetColumnWidth(int nColumn, int nWidth) const;
    /// The columns' indexes from left to right. The span must be as long as there are columns.
    bool GetColumnOrderArray(std::span<int32_t> order) const;
    bool SetColumnOrderArray(std::span<const int32_t> order) const;

    int GetItemCount() const;
    /// Returns the new row's index, -1 on failure. Its value is 0.
    int InsertItem(int nRow, const std::string& strText) const;
    bool SetItem(const LVITEMA& item) const;
    bool SetItemText(int nRow, int nColumn, const std::string& strText) const;
    /// The whole text, however long.
    std::string GetItemText(int nRow, int nColumn) const;
    /// The row's own value (LVIF_PARAM); 0 when there is no such row.
    LPARAM GetItemData(int nRow) const;
    bool SetItemData(int nRow, LPARAM nData) const;
    int FindItemByData(LPARAM nData) const;
    bool DeleteItem(int nRow) const;
    bool DeleteAllItems() const;
    /// The row's top left corner in client coordinates of the control.
    POINT GetItemPosition(int nRow) const;
    bool SetItemState(int nRow, UINT nState, UINT nMask) const;

    int GetSelectionMark() const;
    /// Returns the mark before.
    int SetSelectionMark(int nRow) const;

    /// The function gets the values of two rows and nParam, and must not touch the list.
    bool SortItems(PFNLVCOMPARE pfnCompare, LPARAM nParam) const;
};
