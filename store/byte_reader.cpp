#include "store/byte_reader.h"

#include <cstring>

bool CByteReader::ReadBytes(size_t nSize, std::span<const uint8_t>* pBytes) {
    if (nSize > m_left.size()) return false;
    *pBytes = m_left.first(nSize);
    m_left = m_left.subspan(nSize);
    return true;
}

bool CByteReader::ReadByte(uint8_t* pValue) {
    std::span<const uint8_t> bytes;
    if (!ReadBytes(1, &bytes)) return false;
    *pValue = bytes[0];
    return true;
}

bool CByteReader::ReadWord(uint16_t* pValue) {
    std::span<const uint8_t> bytes;
    if (!ReadBytes(2, &bytes)) return false;
    *pValue = static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
    return true;
}

bool CByteReader::ReadDword(uint32_t* pValue) {
    std::span<const uint8_t> bytes;
    if (!ReadBytes(4, &bytes)) return false;
    *pValue = bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
    return true;
}

bool CByteReader::ReadInt(int32_t* pValue) {
    uint32_t dwValue = 0;
    if (!ReadDword(&dwValue)) return false;
    *pValue = static_cast<int32_t>(dwValue);
    return true;
}

bool CByteReader::ReadAddress(uint32_t* pValue) {
    std::span<const uint8_t> bytes;
    if (!ReadBytes(sizeof *pValue, &bytes)) return false;
    std::memcpy(pValue, bytes.data(), bytes.size());
    return true;
}
