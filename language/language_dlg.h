// The dialog in which the user picks a language, or a file with the texts of one.
//
// Each language stands in a row with its name and, in the language itself, what to do. The dialog only writes the choice
// (languageCode, languageFilePath) to the settings; the texts in force stay until ApplyLanguage. Closing it by its title
// bar chooses nothing.
#pragma once

#include "platform/mfc/dialog.h"

struct AppSettings;

class CLanguageDlg : public CDialog {
  public:
    explicit CLanguageDlg(AppSettings* pSettings);

    INT_PTR DoModal() override;

  protected:
    bool OnInitDialog() override;
    void DoDataExchange() override;
    bool PreTranslateMessage(MSG* pMessage) override;
    bool OnCommand(int nId, int nCode) override;

  private:
    void OfferUnicodeVersion() const;
    void ChooseFile();

    AppSettings* const m_pSettings;
    const HICON m_hIcon;  // shared: the system's
};
