// The main window's commands on operations: the buttons, the entries of the menus, and the start of what ran before.
//
// A command acts on the selected row and says so when there is none. Start runs on the thread of the window, like every
// call here; Stop, Edit and Delete leave their work to a worker. Each saves the settings, a command on all rows once.
#pragma once

#include "shell/main_window/main_window.h"

class COperationList;
class COperationWorkers;
class CPortForwardOp;
class CStatusLines;
struct OpSettings;

class COperationCommands {
  public:
    COperationCommands(const MainWindow& main, COperationList* pList, CStatusLines* pStatus,
                       COperationWorkers* pWorkers)
        : m_main(main), m_pList(pList), m_pStatus(pStatus), m_pWorkers(pWorkers) {}

    /// Lists the operations of the settings; with bStart, starts those that are marked as running.
    void ListOperations(bool bStart);

    void OnNew();
    void OnEdit();
    void OnDelete();
    void OnStart();
    void OnStop();
    void OnStartAll();
    void OnStopAll();

  private:
    void Link(CPortForwardOp* pOperation) const;
    void ForEachRowFromBelow(void (COperationCommands::*pfnCommand)());
    bool AskForEdit(const CPortForwardOp* pOperation, OpSettings* pEdited) const;
    bool AskForDelete(const CPortForwardOp* pOperation) const;
    void RefuseWithoutRow() const;
    void RefuseWhileStopping(uint32_t nSlot) const;
    void Save() const;

    const MainWindow m_main;
    COperationList* const m_pList;
    CStatusLines* const m_pStatus;
    COperationWorkers* const m_pWorkers;
    bool m_bBatchCommand = false;  // the coming Start or Stop is not to save the settings
};
