// Builds the image of a file in memory, field behind field, for one write.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class CByteWriter {
  public:
    void WriteByte(uint8_t bValue) { m_image.push_back(bValue); }
    void WriteWord(uint16_t wValue);
    void WriteDword(uint32_t dwValue);
    void WriteInt(int32_t nValue) { WriteDword(static_cast<uint32_t>(nValue)); }
    /// Four bytes as they stand: an address in network byte order.
    void WriteAddress(uint32_t dwIp) { WriteBytes(&dwIp, sizeof dwIp); }
    void WriteBytes(const void* pBytes, size_t nSize);

    const std::vector<uint8_t>& Image() const { return m_image; }

  private:
    std::vector<uint8_t> m_image;
};
