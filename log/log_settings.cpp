#include "log/log_settings.h"

#include <utility>

void SetDefaultLogSettings(std::string strDateFormat, std::string strEntryFormat, LogSettings* pSettings) {
    const LogSettings defaults;
    pSettings->autoLogEnabled = defaults.autoLogEnabled.load();
    pSettings->noLogBlocked = defaults.noLogBlocked.load();
    pSettings->logDateFormat.Set(std::move(strDateFormat));
    pSettings->logEntryFormat.Set(std::move(strEntryFormat));
    pSettings->logFilePath.Set({});
    pSettings->logIntervalSeconds = defaults.logIntervalSeconds;
    pSettings->logFolder.clear();
}
