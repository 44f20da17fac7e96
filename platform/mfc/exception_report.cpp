#include "platform/mfc/exception_report.h"

#include <cstdio>
#include <exception>

#include "platform/system/windows_api.h"

void ReportCaughtException(const char* pszWhere) noexcept {
    char szLine[512];  // no allocation here: the exception may be about memory
    try {
        throw;  // cppcheck-suppress rethrowNoCurrentException
    } catch (const std::exception& error) {
        std::snprintf(szLine, sizeof(szLine), "%s: %s\n", pszWhere, error.what());
    } catch (...) {
        std::snprintf(szLine, sizeof(szLine), "%s: unknown exception\n", pszWhere);
    }
    OutputDebugStringA(szLine);
}
