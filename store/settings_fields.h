// The fields of the saved-settings file in their order, said once for the reader, the writer and the defaults.
//
// A visitor has Field for each type of a member, and Address for a value that stands in network byte order in memory
// and in the file alike. It answers whether to go on. Several records at once are visited in step, so that Field gets
// the same member of each. languageCode in front and languageFilePath at the end are not here: they have no default,
// since the choice of a language may have set them before the defaults are.
#pragma once

/// From behind languageCode up to the count of the operations.
template <class Visitor, class... Settings>
bool VisitFieldsAhead(Visitor& visitor, Settings&... settings) {
    return visitor.Field(settings.reservedFlag...) && visitor.Field(settings.reservedText...) &&
           visitor.Field(settings.windowRect...) && visitor.Field(settings.windowFlags...) &&
           visitor.Field(settings.columnOrder...) && visitor.Field(settings.columnWidths...);
}

template <class Visitor, class... Settings>
bool VisitOptionsFields(Visitor& visitor, Settings&... settings) {
    return visitor.Field(settings.lastLocalInterface...) && visitor.Field(settings.lastRemoteHost...) &&
           visitor.Field(settings.lastBounce...) && visitor.Field(settings.lastProtocolTcp...) &&
           visitor.Field(settings.lastProtocolUdp...) && visitor.Field(settings.lastLocalPort...) &&
           visitor.Field(settings.lastRemotePort...) && visitor.Field(settings.lastMaxSessions...) &&
           visitor.Field(settings.lastUdpTimeoutMs...);
}

template <class Visitor, class... Settings>
bool VisitFilterFields(Visitor& visitor, Settings&... settings) {
    return visitor.Field(settings.lastResolverText...) && visitor.Field(settings.lastAllowFrom...) &&
           visitor.Field(settings.lastBlockFrom...) && visitor.Field(settings.lastAllowTo...) &&
           visitor.Field(settings.lastBlockTo...);
}

template <class Visitor, class... Settings>
bool VisitLogFields(Visitor& visitor, Settings&... settings) {
    return visitor.Field(settings.autoLogEnabled...) && visitor.Field(settings.logDateFormat...) &&
           visitor.Field(settings.logFilePath...) && visitor.Field(settings.logEntryFormat...) &&
           visitor.Field(settings.logIntervalSeconds...);
}

/// From behind the operations up to languageFilePath.
template <class Visitor, class... Settings>
bool VisitFieldsBehind(Visitor& visitor, Settings&... settings) {
    return VisitOptionsFields(visitor, settings...) && visitor.Field(settings.showTrayIcon...) &&
           visitor.Field(settings.trayOnlyWhenMinimized...) && visitor.Field(settings.hideTaskbarWhenMinimized...) &&
           visitor.Field(settings.showRateInBits...) && visitor.Field(settings.lastForwardIcmp...) &&
           VisitFilterFields(visitor, settings...) && visitor.Field(settings.autoStartMode...) &&
           visitor.Field(settings.legalAccepted...) && VisitLogFields(visitor, settings...) &&
           visitor.Field(settings.profileFolder...) && visitor.Field(settings.logFolder...) &&
           visitor.Field(settings.helpMode...) && visitor.Field(settings.noLogBlocked...) &&
           visitor.Field(settings.startMinimizedSetting...) && visitor.Field(settings.minimizeOnClose...) &&
           visitor.Field(settings.trayPromptDone...);
}

/// One operation record.
template <class Visitor, class Operation>
bool VisitOperation(Visitor& visitor, Operation& op) {
    return visitor.Field(op.m_bBounce) && visitor.Field(op.m_nProtocol) && visitor.Field(op.m_bRunning) &&
           visitor.Field(op.m_bStarting) && visitor.Field(op.m_strLocalInterface) && visitor.Address(op.m_dwLocalIp) &&
           visitor.Field(op.m_wLocalPort) && visitor.Field(op.m_strRemoteHost) && visitor.Field(op.m_wRemotePort) &&
           visitor.Field(op.m_nMaxSessions) && visitor.Field(op.m_nUdpTimeoutMs) && visitor.Field(op.m_bForwardIcmp) &&
           visitor.Field(op.m_bFiltersEnabled) && visitor.Field(op.m_allowRanges) && visitor.Field(op.m_blockRanges);
}
