// The list of operations in another process's window.
//
// The list's messages carry pointers, which mean something only in the process that owns the list: what they point at is
// put into that process's memory for the time of the call.
#pragma once

#include <string>
#include <vector>

#include "tests/e2e/windows/remote_window.h"

class CRemoteList {
  public:
    explicit CRemoteList(const CRemoteWindow& list) : m_list(list) {}

    int Count() const;
    /// -1 when no row is selected.
    int SelectedRow() const;
    std::string Cell(int nRow, int nColumn) const;
    /// The cells of a row, joined by '|'.
    std::string Row(int nRow) const;
    std::vector<std::string> Rows() const;
    std::string ColumnHead(int nColumn) const;
    std::vector<int> ColumnOrder() const;
    std::vector<int> ColumnWidths() const;

    /// Clicks the row and waits until it is the selected one. False when rows come or go meanwhile.
    bool Select(int nRow) const;
    /// Clicks the head of the column.
    void ClickColumn(int nColumn) const;

  private:
    bool IsHighlighted(int nRow) const;
    bool ClickRow(int nRow) const;
    CRemoteWindow Header() const;

    CRemoteWindow m_list;
};
