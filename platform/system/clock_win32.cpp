#include "platform/system/clock.h"

#include "platform/system/windows_api.h"

LocalTime ReadLocalTime() {
    SYSTEMTIME now = {};
    GetLocalTime(&now);
    return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds};
}
