// The thread that writes the log file in batches.
#pragma once

struct AppSettings;

/// Thread procedure. Polls logFlushRequested every 100 ms; when it is set while autoLogEnabled is set, takes the whole
/// queue and appends it to logFilePath with one open, one write and one close, each entry as CR LF and its text. A batch
/// that cannot be written is dropped. Ends within 100 ms of logWriterStop being set, without a last flush, and clears
/// that flag as its last act. The record must outlive the thread.
void LogWriterThread(AppSettings* pSettings);

/// One batch, as the thread writes it. False when the queue was empty or the batch was lost.
bool WriteLogBatch(AppSettings* pSettings);

/// What the flush timer does on each tick: asks for a batch if the queue holds anything.
void RequestLogFlush(AppSettings* pSettings);
