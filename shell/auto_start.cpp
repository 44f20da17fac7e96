#include "shell/auto_start.h"

#include "shell/app_settings.h"

bool ShouldStartOperations(const AppSettings& settings, const std::function<bool()>& ask) {
    if (settings.runningOpCount <= 0) return false;
    if (settings.autoStartMode == kAutoStartAlways) return true;
    if (settings.autoStartMode == kAutoStartNever) return false;
    return ask();
}
