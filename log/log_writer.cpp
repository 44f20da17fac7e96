#include "log/log_writer.h"

#include <new>
#include <string>
#include <utility>

#include "platform/files/files.h"
#include "platform/threads/threads.h"

namespace {

constexpr uint32_t kPollMs = 100;
constexpr uint32_t kEndPollMs = 10;

size_t BatchSize(const LogEntry* pEntry) {
    size_t nSize = 0;
    for (; pEntry != nullptr; pEntry = pEntry->pNext.get()) nSize += pEntry->strText.size() + 2;
    return nSize;
}

std::string DroppedText(uint64_t nDropped) {
    return "\r\nLog entries missing here, since the queue of the log was full: " + std::to_string(nDropped);
}

// False when there is no memory for it: the batch is then lost, and the entries are freed all the same.
bool JoinEntries(const LogEntry* pEntry, uint64_t nDropped, std::string* pstrBatch) try {
    const std::string strDropped = nDropped > 0 ? DroppedText(nDropped) : std::string();
    pstrBatch->reserve(BatchSize(pEntry) + strDropped.size());
    for (; pEntry != nullptr; pEntry = pEntry->pNext.get()) {
        pstrBatch->append("\r\n");
        pstrBatch->append(pEntry->strText);
    }
    pstrBatch->append(strDropped);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

}  // namespace

CLogWriter::~CLogWriter() {
    m_bStop = 1;
    while (m_bRunning != 0) Sleep(kEndPollMs);
}

bool CLogWriter::Start(std::atomic<int32_t>* pnThreads) {
    m_bFlushRequested = 0;
    m_bLastBatch = 0;
    m_bStop = 0;
    m_bRunning = 1;
    pnThreads->fetch_add(1);
    if (AfxBeginThread(LogWriterThread, this)) return true;
    pnThreads->fetch_sub(1);
    m_bRunning = 0;
    return false;
}

void CLogWriter::RequestFlush() {
    if (!m_queue.IsEmpty()) m_bFlushRequested = 1;
}

bool CLogWriter::End(uint32_t nWaitMs) {
    m_bStop = 1;
    for (uint32_t n = 0; m_bRunning != 0 && n < nWaitMs; n += kEndPollMs) Sleep(kEndPollMs);
    return m_bRunning == 0;
}

bool CLogWriter::EndWithLastBatch(uint32_t nWaitMs) {
    m_bLastBatch = 1;
    return End(nWaitMs);
}

void CLogWriter::LogWriterThread(CLogWriter* pWriter) {
    while (pWriter->m_bStop == 0) {
        Sleep(kPollMs);
        if (pWriter->m_bFlushRequested != 0 && pWriter->m_settings.autoLogEnabled != 0) {
            // Cleared first: a tick that falls between here and the taking asks for a batch that may be empty.
            pWriter->m_bFlushRequested = 0;
            pWriter->WriteBatch();
        }
    }
    if (pWriter->m_bLastBatch != 0 && pWriter->m_settings.autoLogEnabled != 0) pWriter->WriteBatch();
    pWriter->m_bRunning = 0;
}

// One open, one write and one close, each entry as CR LF and its text: so it begins on a line of its own even where the
// disk took only a part of the batch before.
void CLogWriter::WriteBatch() {
    std::unique_ptr<LogEntry> pBatch = m_queue.TakeAll(&m_nDropped);
    if (!pBatch) return;
    std::string strBatch;
    const bool bJoined = JoinEntries(pBatch.get(), m_nDropped, &strBatch);
    FreeLogEntries(std::move(pBatch));
    if (bJoined && AppendToFile(*m_settings.logFilePath.Snapshot(), strBatch) == 0) m_nDropped = 0;
}
