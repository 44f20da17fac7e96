// What tests ask of the look-ups. The program itself calls nothing here.
#pragma once

#include <cstdint>

/// Lets so many of the following look-ups wait as for a resolver that does not answer; 0: those that wait go on waiting
/// and no others do; -1: all go on. Any thread.
void HoldNextLookups(int32_t nLookups);
