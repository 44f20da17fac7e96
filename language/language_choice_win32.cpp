#include "language/language_choice.h"

void ChooseLanguage(AppSettings*) {}
