// Numbers as bytes, little endian, one field behind the other; each takes the bytes of its type.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

class CByteWriter {
  public:
    /// The block must hold all that is put.
    explicit CByteWriter(std::span<uint8_t> bytes) : m_bytes(bytes) {}
    template <class T>
    void Put(T value) {
        const auto nValue = static_cast<uint64_t>(value);
        for (size_t n = 0; n < sizeof(T); ++n) m_bytes[m_nAt++] = static_cast<uint8_t>(nValue >> 8 * n);
    }

  private:
    std::span<uint8_t> m_bytes;
    size_t m_nAt = 0;
};

class CByteReader {
  public:
    /// The block must hold all that is asked for.
    explicit CByteReader(std::span<const uint8_t> bytes) : m_bytes(bytes) {}
    template <class T>
    void Get(T* pValue) {
        uint64_t nValue = 0;
        for (size_t n = 0; n < sizeof(T); ++n) nValue |= uint64_t{m_bytes[m_nAt++]} << 8 * n;
        *pValue = static_cast<T>(nValue);
    }

  private:
    std::span<const uint8_t> m_bytes;
    size_t m_nAt = 0;
};
