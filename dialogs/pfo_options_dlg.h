// The dialog in which a port-forwarding-operation gets its settings.
//
// A new operation starts from the values that were used last, an edit from those of the operation. The live operation of
// an edit is only read: what the user entered is handed out as a value, which the caller carries over while the operation
// is stopped. Everything that the constructor is given stays the caller's and outlives the dialog.
#pragma once

#include "dialogs/pfo_options_rules.h"
#include "platform/mfc/dialog.h"

class CPortForwardOp;
struct AppSettings;

class CPfoOptionsDlg : public CDialog {
  public:
    /// pEdited is the live operation; null for a new one.
    CPfoOptionsDlg(AppSettings* pSettings, const CPortForwardOp* pEdited, OpSettings* pResult);

    /// IDOK: the result and the last-used values of the settings are written. IDCANCEL: nothing is.
    INT_PTR DoModal() override;

  protected:
    void DoDataExchange() override;
    bool OnCommand(int nId, int nCode) override;
    LRESULT DefWindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) override;
    void OnOK() override;

  private:
    void SetCaptions() const;
    void FillInterfaces() const;
    void ShowFields() const;
    PfoFields ReadFields() const;
    void EnableFields() const;
    bool OnClicked(int nId);
    void ShowInformation(uint32_t nSlot, uint32_t nTitleSlot) const;
    void Refuse(const PfoRefusal& refusal) const;
    bool MayCloseSessions() const;

    AppSettings* const m_pSettings;
    const CPortForwardOp* const m_pEdited;
    OpSettings* const m_pResult;
    OpSettings m_options;  // what the dialog began with, filters included; the operation keeps its own
};
