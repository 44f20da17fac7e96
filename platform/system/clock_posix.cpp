#include "platform/system/clock.h"

#include <time.h>

LocalTime ReadLocalTime() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local = {};
    localtime_r(&now.tv_sec, &local);
    LocalTime time;
    time.nYear = static_cast<uint32_t>(local.tm_year + 1900);
    time.nMonth = static_cast<uint32_t>(local.tm_mon + 1);
    time.nDay = static_cast<uint32_t>(local.tm_mday);
    time.nHour = static_cast<uint32_t>(local.tm_hour);
    time.nMinute = static_cast<uint32_t>(local.tm_min);
    time.nSecond = static_cast<uint32_t>(local.tm_sec);
    time.nMillisecond = static_cast<uint32_t>(now.tv_nsec / 1'000'000);
    return time;
}
