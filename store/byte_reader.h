// Reads the fields of a file that stands in memory as a whole, from its front to its end.
//
// Borrows the bytes, which must outlive it. Every call reads all of its field or nothing: a false leaves the output
// as it was, and means that fewer bytes are left than the field needs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

class CByteReader {
  public:
    explicit CByteReader(std::span<const uint8_t> data) : m_left(data) {}

    size_t Left() const { return m_left.size(); }

    [[nodiscard]] bool ReadByte(uint8_t* pValue);
    [[nodiscard]] bool ReadWord(uint16_t* pValue);
    [[nodiscard]] bool ReadDword(uint32_t* pValue);
    [[nodiscard]] bool ReadInt(int32_t* pValue);
    /// Four bytes as they stand: an address in network byte order.
    [[nodiscard]] bool ReadAddress(uint32_t* pValue);
    /// A view of the next bytes, valid as long as the bytes of the file.
    [[nodiscard]] bool ReadBytes(size_t nSize, std::span<const uint8_t>* pBytes);

  private:
    std::span<const uint8_t> m_left;
};
