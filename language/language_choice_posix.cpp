#include "language/language_choice.h"

// Nobody can be asked: the language stays the saved one, or English.
void ChooseLanguage(LanguageSettings* /*pSettings*/, const std::string& /*strBrowser*/) {}
