// The bytes of one fuzzing run as the values that a target needs.
//
// Every byte string is a valid input: once the bytes are used up, numbers read as zero and texts as empty. Numbers are
// big-endian. Borrows the bytes, which must outlive it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

class CFuzzInput {
  public:
    CFuzzInput(const uint8_t* pData, size_t nSize) : m_left(pData, nSize) {}

    uint8_t Byte();
    uint16_t Word();
    uint32_t Dword();
    /// Up to the next zero byte, which is passed over: the program's texts hold none.
    std::string Text();
    std::span<const uint8_t> Rest() const { return m_left; }

  private:
    std::span<const uint8_t> m_left;
};
