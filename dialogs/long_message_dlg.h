// A text that is too long for a message box, in a window of its own with a scroll bar, and a button that saves it.
//
// The size is in pixels and without the title bar. Texts are in the ANSI code page, lines end in CR LF.
#pragma once

#include <string>

#include "platform/mfc/dialog.h"

struct AppSettings;

/// Shows the text and returns when the user has closed it.
void ShowLongMessage(const std::string& strText, const std::string& strCaption, int nWidth, int nHeight,
                     AppSettings* pSettings);

class CLongMessageDlg : public CDialog {
  public:
    CLongMessageDlg(AppSettings* pSettings, std::string strText, std::string strCaption, SIZE size);

    INT_PTR DoModal() override;

  protected:
    bool OnInitDialog() override;
    void DoDataExchange() override;
    bool OnCommand(int nId, int nCode) override;

  private:
    void PlaceControls() const;
    void SaveText() const;

    AppSettings* const m_pSettings;
    const HICON m_hIcon;  // shared: the system's
    const std::string m_strText;
    const std::string m_strCaption;
    const SIZE m_size;
};
