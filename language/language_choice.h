// The choice of a language.
#pragma once

struct AppSettings;

/// Lets the user choose the language and applies the choice. A program without windows keeps the language that it has.
void ChooseLanguage(AppSettings* pSettings);
