#include "platform/clock.h"
#include "platform/windows_api.h"

LocalTime ReadLocalTime() {
    SYSTEMTIME now = {};
    GetLocalTime(&now);
    return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds};
}
