#include "shell/link_operation.h"

#include "shell/app_settings.h"

void LinkOperation(CPortForwardOp* pOp, const AppSettings& settings, EngineCounters* pCounters, LogQueue* pLogQueue) {
    pOp->m_pStrings = &settings.slotTable;
    pOp->m_pCounters = pCounters;
    pOp->m_pLogQueue = pLogQueue;
    pOp->m_pLoggingEnabled = &settings.autoLogEnabled;
    pOp->m_pSuppressBlocked = &settings.noLogBlocked;
    pOp->m_pLogFormat = &settings.logEntryFormat;
    pOp->m_pDateFormat = &settings.logDateFormat;
}
