// What the list's columns are made to look like after the saved values, which can be any numbers.
#pragma once

#include <array>
#include <cstdint>

#include "shell/window_settings.h"

using ColumnValues = std::array<int32_t, kColumnCount>;

/// The order with every column in it once. An entry that names no column gets its own index; a saved entry that names a
/// column which stands elsewhere already gives way to one that is missing.
ColumnValues RepairColumnOrder(const ColumnValues& order);

/// The widths in pixels: the low 16 bits of the saved values. A column that nobody could grasp, or that no screen could
/// show, comes back with its default width.
ColumnValues RepairColumnWidths(const ColumnValues& widths);
