#include "log/log_writer.h"

#include <new>
#include <string>

#include "platform/files/files.h"
#include "platform/threads/threads.h"
#include "shell/app_settings.h"

namespace {

constexpr uint32_t kPollMs = 100;

size_t BatchSize(const LogEntry* pEntry) {
    size_t nSize = 0;
    for (; pEntry != nullptr; pEntry = pEntry->pNext.get()) nSize += pEntry->strText.size() + 2;
    return nSize;
}

// False when there is no memory for it: the batch is then lost, and the entries are freed all the same.
bool JoinEntries(const LogEntry* pEntry, std::string* pstrBatch) try {
    pstrBatch->reserve(BatchSize(pEntry));
    for (; pEntry != nullptr; pEntry = pEntry->pNext.get()) {
        pstrBatch->append("\r\n");
        pstrBatch->append(pEntry->strText);
    }
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

}  // namespace

bool WriteLogBatch(AppSettings* pSettings) {
    std::unique_ptr<LogEntry> pBatch = pSettings->logQueue->TakeAll();
    if (!pBatch) return false;
    std::string strBatch;
    const bool bJoined = JoinEntries(pBatch.get(), &strBatch);
    FreeLogEntries(std::move(pBatch));
    // The log has no way to complain: a batch that cannot be written is gone, and the next one tries again.
    return bJoined && AppendToFile(*pSettings->logFilePath.Snapshot(), strBatch) == 0;
}

void RequestLogFlush(AppSettings* pSettings) {
    if (!pSettings->logQueue->IsEmpty()) pSettings->logFlushRequested = 1;
}

void LogWriterThread(AppSettings* pSettings) {
    while (pSettings->logWriterStop == 0) {
        Sleep(kPollMs);
        if (pSettings->logFlushRequested != 0 && pSettings->autoLogEnabled != 0) {
            // Cleared first: a tick that falls between here and the taking asks for a batch that may be empty.
            pSettings->logFlushRequested = 0;
            WriteLogBatch(pSettings);
        }
    }
    pSettings->logWriterStop = 0;
}
