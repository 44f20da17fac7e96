// The dialog in which the user picks a language, or a file with the texts of one.
//
// Each language stands in a row with its name and, in the language itself, what to do. The dialog only writes the
// choice (languageCode, languageFilePath) to the settings; the texts in force stay until ApplyLanguage. Closing it by
// its title bar chooses nothing.
#pragma once

#include <string>

#include "language/language_settings.h"
#include "platform/mfc/dialog.h"

class CLanguageDlg : public CDialog {
  public:
    /// strBrowser: the program that shows web pages.
    CLanguageDlg(LanguageSettings* pSettings, std::string strBrowser);

    INT_PTR DoModal() override;

  protected:
    bool OnInitDialog() override;
    void DoDataExchange() override;
    bool PreTranslateMessage(MSG* pMessage) override;
    bool OnCommand(int nId, int nCode) override;

  private:
    void OfferUnicodeVersion() const;
    void ChooseFile();

    LanguageSettings* const m_pSettings;
    const std::string m_strBrowser;
    const HICON m_hIcon;  // shared: the system's
};
