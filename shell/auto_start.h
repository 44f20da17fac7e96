// The rule of a start with operations that ran before.
#pragma once

#include <functional>

struct AppSettings;

/// Whether the operations that the file marks as running are to be started. ask() is called only when autoStartMode
/// leaves it to the user and there is such an operation.
bool ShouldStartOperations(const AppSettings& settings, const std::function<bool()>& ask);
