#include "language/language_choice.h"

#include "language/language_dlg.h"
#include "language/language_store.h"

void ChooseLanguage(AppSettings* pSettings) {
    CLanguageDlg(pSettings).DoModal();
    ApplyLanguage(pSettings);
}
