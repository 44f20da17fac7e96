// The process as the system sees it: its executable, its errors in words, its end, and what a server or a program with
// windows asks of the system besides. Any thread, unless it says otherwise.
#pragma once

#include <cstdint>
#include <string>

/// The full path of the running executable, in the ANSI code page; empty if the system does not tell.
std::string ModulePath();

/// The system's text for one of its error codes, of files and sockets alike, without a line end.
std::string SystemErrorText(int32_t nError);

/// Ends the process with this code while other threads may still run: standard output is flushed, and nothing that such
/// a thread could be using is torn down first.
[[noreturn]] void EndProcess(int32_t nCode);

// Linux only: a process without a window.

/// The first thing that main does: where the process was started with its standard input, output or error closed, they lead
/// to nothing from here on. Otherwise a socket would be given their number, and its peer would read the messages.
void HoldStandardStreams();

/// Once, before any thread is started:
/// - SIGINT and SIGTERM wait until they are asked for; writing to a closed pipe or beyond the limit of a file's size is
///   an error and no end;
/// - threads that data wakes do not push aside the one that runs: with many sessions that saves a third of the changes of
///   thread, and round trips on a busy machine took no longer;
/// - the soft limit of open files is raised to the hard one: two sockets a session pass the usual limit of 1,024 long
///   before the program's own limit is reached.
void PrepareServerProcess();

/// Waits for SIGINT or SIGTERM; false when this many milliseconds have passed without one. The thread that called
/// PrepareServerProcess.
bool WaitForEndSignal(uint32_t dwMilliseconds);

// Windows only: a process with windows.

/// Starts the browser program with the page. Does not wait, and a failure is not told.
void OpenWebPage(const std::string& strBrowser, const std::string& strUrl);
