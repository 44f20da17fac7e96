#include "store/byte_writer.h"

void CByteWriter::WriteWord(uint16_t wValue) {
    WriteByte(static_cast<uint8_t>(wValue));
    WriteByte(static_cast<uint8_t>(wValue >> 8));
}

void CByteWriter::WriteDword(uint32_t dwValue) {
    WriteWord(static_cast<uint16_t>(dwValue));
    WriteWord(static_cast<uint16_t>(dwValue >> 16));
}

void CByteWriter::WriteBytes(const void* pBytes, size_t nSize) {
    const auto* const pFirst = static_cast<const uint8_t*>(pBytes);
    m_image.insert(m_image.end(), pFirst, pFirst + nSize);
}
