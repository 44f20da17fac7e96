// How a test program meets a crash, and how it ends.
#pragma once

/// Makes a crash print one line and end the process with code 99, where the system would open a window instead.
void PrepareTestProcess();

/// Ends the process with this code, whatever threads are left.
[[noreturn]] void EndTestProcess(int nCode);
