// Linking of an operation to what the program's operations share.
#pragma once

class CPortForwardOp;
class LogQueue;
struct AppSettings;
struct EngineCounters;

/// Before the operation's first start: gives it the texts and the log settings of the record, the program's counters and
/// the log queue. All of them must outlive the operation.
void LinkOperation(CPortForwardOp* pOp, const AppSettings& settings, EngineCounters* pCounters, LogQueue* pLogQueue);
