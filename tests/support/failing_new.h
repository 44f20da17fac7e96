// Makes the program's own allocations fail.
#pragma once

#include <cstddef>

/// The next `new` of exactly this size fails, on whatever thread it comes; 0 calls that off.
void FailNextAllocationOf(size_t nSize);
