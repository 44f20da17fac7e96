// The texts of one language, addressed by slot number, and the place where the language in force is held.
//
// A TextTable is filled by one thread and then only read. SlotTable holds the table in force: a change of language
// swaps the whole table, and a reader that took a snapshot goes on reading the one it took. No slot is ever null: a
// slot that the language lacks, and a number outside the table, read as the empty text.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/threads/shared_value.h"

/// Slots of a language and of the general table.
inline constexpr uint32_t kSlotCount = 1024;

class TextTable {
  public:
    /// The text of a slot in the ANSI code page, valid as long as the table.
    const std::string& Text(uint32_t nSlot) const { return nSlot < kSlotCount ? m_texts[nSlot] : m_texts[kSlotCount]; }
    /// A number outside the table is left out.
    void SetText(uint32_t nSlot, std::string strText) {
        if (nSlot < kSlotCount) m_texts[nSlot] = std::move(strText);
    }

  private:
    std::array<std::string, kSlotCount + 1> m_texts;  // the last one is never set: it is the empty text
};

class SlotTable {
  public:
    /// Any thread. The table stays whole and alive as long as the snapshot is held.
    std::shared_ptr<const TextTable> Snapshot() const { return m_table.Snapshot(); }
    /// Any thread. A copy of the text of one slot.
    std::string Text(uint32_t nSlot) const { return Snapshot()->Text(nSlot); }
    /// The thread of the windows only.
    void Replace(TextTable table) { m_table.Set(std::move(table)); }

  private:
    CSharedValue<TextTable> m_table;
};
