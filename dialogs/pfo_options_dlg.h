// The dialog in which a port-forwarding-operation gets its settings.
//
// A new operation starts from the values that were used last, an edit from the operation. The live operation of an edit
// is only read: what the user entered goes into a second object, and the caller carries it over while the operation is
// stopped. Everything that the constructor is given stays the caller's and outlives the dialog.
#pragma once

#include "dialogs/pfo_options_rules.h"
#include "platform/mfc/dialog.h"

class CPfoOptionsDlg : public CDialog {
  public:
    /// pOperation is the object being made or, with bNewOperation false, the live operation; pEdited is the object that
    /// takes the result of an edit, and null for a new operation.
    CPfoOptionsDlg(AppSettings* pSettings, bool bNewOperation, CPortForwardOp* pOperation, CPortForwardOp* pEdited);

    /// IDOK: the target and the last-used values of the settings are written. IDCANCEL: nothing is.
    INT_PTR DoModal() override;

  protected:
    void DoDataExchange() override;
    bool OnCommand(int nId, int nCode) override;
    LRESULT DefWindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) override;
    void OnOK() override;

  private:
    void SetCaptions() const;
    void FillInterfaces() const;
    void ShowFields(const PfoFields& fields) const;
    PfoFields ReadFields() const;
    void EnableFields() const;
    bool OnClicked(int nId);
    void ShowInformation(uint32_t nSlot, uint32_t nTitleSlot) const;
    void Refuse(const PfoRefusal& refusal) const;
    bool MayCloseSessions() const;

    AppSettings* const m_pSettings;
    const bool m_bNewOperation;
    CPortForwardOp* const m_pOperation;
    CPortForwardOp* const m_pEdited;
    PfoFilters m_filters;  // what the dialog now holds; the operation keeps its own
};
