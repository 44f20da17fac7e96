#include "platform/mfc/dialog_font.h"

#include "platform/mfc/dialog.h"

bool NeedsLanguageFont(uint32_t dwLanguageCode) {
    return dwLanguageCode == 4 || dwLanguageCode == 6 || dwLanguageCode == 9 || dwLanguageCode == 1000;
}

INT_PTR OpenDialogFont(CDialog* pDialog, uint32_t dwLanguageCode) {
    // Not by the virtual DoModal: that is where the dialogs call this from.
    return NeedsLanguageFont(dwLanguageCode) ? OpenDialogLanguageFont(pDialog) : pDialog->CDialog::DoModal();
}

INT_PTR OpenDialogLanguageFont(CDialog* pDialog) {
    return pDialog->DoModalInFont("Tahoma", 10);
}
