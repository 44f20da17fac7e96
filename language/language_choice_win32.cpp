#include "language/language_choice.h"

#include "language/language_dlg.h"
#include "language/language_store.h"

void ChooseLanguage(LanguageSettings* pSettings, const std::string& strBrowser) {
    CLanguageDlg(pSettings, strBrowser).DoModal();
    ApplyLanguage(pSettings);
}
