// The font that dialogs are opened in: the languages that "MS Sans Serif" serves badly get another one.
#pragma once

#include <cstdint>

#include "platform/system/windows_api.h"

class CDialog;

/// Whether dialogs in this language leave their template's font for "Tahoma" at 10 points: Japanese (4), Chinese (6),
/// Russian (9) and the user's own language file (1000).
bool NeedsLanguageFont(uint32_t dwLanguageCode);

/// Runs the dialog modally by that rule and returns its result. A dialog's own DoModal is one call of this.
INT_PTR OpenDialogFont(CDialog* pDialog, uint32_t dwLanguageCode);

/// Runs the dialog in "Tahoma" at 10 points whatever the language.
INT_PTR OpenDialogLanguageFont(CDialog* pDialog);
