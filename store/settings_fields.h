// The fields of the saved-settings file in their order, said once for the reader and the writer.
//
// A visitor takes any number of members in a call and passes over them in that order; Address is for a value that stands
// in network byte order in memory and in the file alike. Both answer whether to go on. languageCode in front and
// languageFilePath at the end are not here: they have no default, since the choice of a language may have set them before
// the defaults are.
#pragma once

/// From behind languageCode up to the count of the operations.
template <class Visitor, class Settings>
bool VisitFieldsAhead(Visitor& visit, Settings& settings) {
    return visit(settings.reservedFlag, settings.reservedText, settings.windowRect, settings.windowFlags,
                 settings.columnOrder, settings.columnWidths);
}

/// One operation record: `op` is an operation, or what stands for one in the file.
template <class Visitor, class Operation>
bool VisitOperation(Visitor& visit, Operation& op) {
    auto& settings = op.m_settings;
    return visit(settings.m_bBounce, settings.m_nProtocol, op.m_bRunning, op.m_bStarting,
                 settings.m_strLocalInterface) &&
           visit.Address(settings.m_dwLocalIp) &&
           visit(settings.m_wLocalPort, settings.m_strRemoteHost, settings.m_wRemotePort, settings.m_nMaxSessions,
                 settings.m_nUdpTimeoutMs, settings.m_bForwardIcmp, settings.m_bFiltersEnabled, settings.m_allowRanges,
                 settings.m_blockRanges);
}

/// From behind the operations up to languageFilePath.
template <class Visitor, class Settings>
bool VisitFieldsBehind(Visitor& visit, Settings& settings) {
    auto& last = settings.lastOptions;
    return visit(last.m_strLocalInterface, last.m_strRemoteHost, last.m_bBounce, settings.lastProtocolTcp,
                 settings.lastProtocolUdp, last.m_wLocalPort, last.m_wRemotePort, last.m_nMaxSessions,
                 last.m_nUdpTimeoutMs, settings.showTrayIcon, settings.trayOnlyWhenMinimized,
                 settings.hideTaskbarWhenMinimized, settings.showRateInBits, last.m_bForwardIcmp,
                 settings.lastResolverText, settings.lastAllowFrom, settings.lastBlockFrom, settings.lastAllowTo,
                 settings.lastBlockTo, settings.autoStartMode, settings.legalAccepted, settings.autoLogEnabled,
                 settings.logDateFormat, settings.logFilePath, settings.logEntryFormat, settings.logIntervalSeconds,
                 settings.profileFolder, settings.logFolder, settings.helpMode, settings.noLogBlocked,
                 settings.startMinimizedSetting, settings.minimizeOnClose, settings.trayPromptDone);
}
