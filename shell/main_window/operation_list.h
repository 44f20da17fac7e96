// The list of the main window: a row for each operation, and the row that the commands act on.
//
// A row carries a pointer to its operation, which AppSettings::operations owns. Once the saved operations are listed,
// the rows are the only order of operations: the bottom row is the first one of the file. The selected row is the
// list's selection mark, not the row that is highlighted; its operation decides which of the buttons Edit, Delete,
// Start and Stop are enabled, and is the one that the status lines watch. Thread of the window only.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "platform/mfc/list_ctrl.h"
#include "shell/main_window/main_window.h"

class CPortForwardOp;
class CStatusLines;

class COperationList {
  public:
    COperationList(const MainWindow& main, CStatusLines* pStatus) : m_main(main), m_pStatus(pStatus) {}

    // Columns

    void InsertColumns() const;
    /// Column headers in the language in force.
    void RelabelColumns() const;
    /// Gives the columns their saved order and widths.
    void RestoreColumns() const;

    // Rows

    void SetStyle() const;
    /// Inserts a row for each operation of the chain in the settings, in its order, and calls fnListed behind each.
    /// Rows go in at the top, so the list shows the order of the file upside down.
    void ListOperations(const std::function<void(CPortForwardOp*)>& fnListed);
    /// Takes a new operation into the settings and gives it a row at the top; destroys it when there is no row for it.
    bool Add(std::unique_ptr<CPortForwardOp> pOperation);
    /// Takes the row away and then destroys the operation; an operation without a row stays.
    void Delete(CPortForwardOp* pOperation);
    /// Shows the operation's settings anew in the columns behind the status.
    void RefillRow(const CPortForwardOp& operation) const;
    /// Writes the row's status, if it has a row, and enables the buttons that the selected operation now allows.
    void SetStatus(const CPortForwardOp* pOperation, uint32_t nSlot) const;
    void OnColumnClick(int nColumn) const;
    /// Puts order and widths of the columns and the order of the rows into the settings. Until the saved operations are
    /// listed the settings stay as the file had them.
    void CollectListToSettings() const;

    // The selected row

    /// Null without one.
    CPortForwardOp* SelectedOperation() const;
    /// The row's top left corner on the screen.
    std::optional<POINT> SelectedPosition() const;
    /// Makes the operation's row the selected one without showing it.
    void Mark(const CPortForwardOp* pOperation) const;
    /// Makes it the selected one and highlights it.
    void Show(const CPortForwardOp* pOperation) const;
    /// Runs fnCommand with each row selected, from the bottom to the top, and then shows the selected row.
    void ForEachRowFromBelow(const std::function<void()>& fnCommand) const;
    void OnItemChanged(const NMLISTVIEW& change) const;

  private:
    CListCtrl List() const;
    bool InsertRow(const CPortForwardOp& operation) const;
    void FillColumns(int nRow, const CPortForwardOp& operation) const;
    CPortForwardOp* OperationOfRow(int nRow) const;
    int FindRow(const CPortForwardOp* pOperation) const;
    void ShowMarked(int nRow) const;
    void UpdateSelection(int nRow) const;
    void EnableButtons(const CPortForwardOp* pOperation) const;
    void ChainOperations() const;

    const MainWindow m_main;
    CStatusLines* const m_pStatus;
    CPortForwardOp* m_pUnlisted = nullptr;  // head of the operations that got no row at the start
    bool m_bListed = false;                 // the rows stand for the operations of the settings
};
