// Where a C++ exception ends that must not leave a window procedure or a message loop.
#pragma once

/// Writes the exception that is being handled to the debugger output. Call it in a catch block only.
void ReportCaughtException(const char* pszWhere) noexcept;
