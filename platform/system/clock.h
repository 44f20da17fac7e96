// The local wall clock.
#pragma once

#include <cstdint>

struct LocalTime {
    uint32_t nYear = 0;
    uint32_t nMonth = 0;  // 1 to 12
    uint32_t nDay = 0;    // 1 to 31
    uint32_t nHour = 0;   // 0 to 23
    uint32_t nMinute = 0;
    uint32_t nSecond = 0;
    uint32_t nMillisecond = 0;  // 0 to 999
};

/// The local time now. Any thread.
LocalTime ReadLocalTime();
