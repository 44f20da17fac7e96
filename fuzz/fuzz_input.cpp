#include "fuzz/fuzz_input.h"

#include <algorithm>

uint8_t CFuzzInput::Byte() {
    if (m_left.empty()) return 0;
    const uint8_t bValue = m_left.front();
    m_left = m_left.subspan(1);
    return bValue;
}

uint16_t CFuzzInput::Word() {
    const uint8_t bHigh = Byte();
    return static_cast<uint16_t>(bHigh << 8 | Byte());
}

uint32_t CFuzzInput::Dword() {
    const uint32_t dwHigh = Word();
    return dwHigh << 16 | Word();
}

std::string CFuzzInput::Text() {
    const auto end = std::find(m_left.begin(), m_left.end(), uint8_t{0});
    std::string strText(m_left.begin(), end);
    m_left = m_left.subspan(std::min(strText.size() + 1, m_left.size()));
    return strText;
}
