// The choice of a language.
#pragma once

#include <string>

#include "language/language_settings.h"

/// Lets the user choose the language and applies the choice. strBrowser is the program that shows web pages. A program
/// without windows keeps the language that it has.
void ChooseLanguage(LanguageSettings* pSettings, const std::string& strBrowser);
