// Byte counts and data rates as the main window shows them. Plain functions, any thread.
//
// The steps between the units are powers of 1024, for bits too.
#pragma once

#include <string>

/// "1023 Bytes", "1.00 KB", up to "PB".
std::string FormatBytes(double dBytes);

/// "12 Bps", "3.25 Mbps", up to "P". The value is in the unit a second; chUnit is 'B' for bytes or 'b' for bits.
std::string FormatRate(double dRate, char chUnit);
