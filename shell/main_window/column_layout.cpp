#include "shell/main_window/column_layout.h"

namespace {

// Wider than the largest screens; well below 65534 and 65535, which a list view takes as "fit to the contents".
constexpr int32_t kMaxWidth = 16384;
constexpr int32_t kColumns = static_cast<int32_t>(kColumnCount);

bool IsColumn(int32_t nColumn) {
    return 0 <= nColumn && nColumn < kColumns;
}

class CTakenColumns {
  public:
    bool Take(int32_t nColumn) {
        bool& bTaken = m_taken[static_cast<size_t>(nColumn)];
        const bool bWasFree = !bTaken;
        bTaken = true;
        return bWasFree;
    }
    int32_t TakeFirstFree() {
        int32_t nColumn = 0;
        while (!Take(nColumn)) ++nColumn;
        return nColumn;
    }

  private:
    std::array<bool, kColumnCount> m_taken = {};
};

}  // namespace

ColumnValues RepairColumnOrder(const ColumnValues& order) {
    constexpr int32_t kOpen = -1;
    CTakenColumns taken;
    ColumnValues repaired = order;
    for (size_t i = 0; i < kColumnCount; ++i) {
        if (IsColumn(order[i])) continue;
        repaired[i] = static_cast<int32_t>(i);
        taken.Take(repaired[i]);
    }
    for (size_t i = 0; i < kColumnCount; ++i) {
        if (IsColumn(order[i]) && !taken.Take(order[i])) repaired[i] = kOpen;
    }
    for (int32_t& nColumn : repaired) {
        if (nColumn == kOpen) nColumn = taken.TakeFirstFree();
    }
    return repaired;
}

ColumnValues RepairColumnWidths(const ColumnValues& widths) {
    const ColumnValues defaults = WindowSettings().columnWidths;
    ColumnValues repaired = {};
    for (size_t i = 0; i < kColumnCount; ++i) {
        const int32_t nWidth = widths[i] & 0xFFFF;
        repaired[i] = 0 < nWidth && nWidth <= kMaxWidth ? nWidth : defaults[i];
    }
    return repaired;
}
