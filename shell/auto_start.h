// The rules of a start with operations that ran before, and of the log's flush.
#pragma once

#include <cstdint>
#include <functional>

struct AppSettings;

/// Whether the operations that the file marks as running are to be started. ask() is called only when autoStartMode
/// leaves it to the user and there is such an operation.
bool ShouldStartOperations(const AppSettings& settings, const std::function<bool()>& ask);

/// The period of the timer that asks for log batches, in milliseconds; logIntervalSeconds can hold any number.
uint32_t LogFlushPeriodMs(const AppSettings& settings);
