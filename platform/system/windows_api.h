// The one place by which the Windows headers come in: version, size and order are settled here. Only sources and headers
// that are built for Windows alone include it.
#pragma once

// Windows 7 is the least that is served; the compiler's own headers may have set an older version by now.
#undef WINVER
#undef _WIN32_WINNT
#undef _WIN32_IE
// NOLINTBEGIN(bugprone-reserved-identifier): the system headers ask for these names
#define WINVER 0x0601
#define _WIN32_WINNT 0x0601
#define _WIN32_IE 0x0800
// NOLINTEND(bugprone-reserved-identifier)
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif

#include <winsock2.h>
#include <ws2tcpip.h>

#include <windows.h>
