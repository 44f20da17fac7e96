#include "soak/random.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace {

constexpr uint64_t kGoldenGamma = 0x9E3779B97F4A7C15;
constexpr size_t kWord = sizeof(uint64_t);

uint64_t Mix(uint64_t n) {
    n = (n ^ n >> 30) * 0xBF58476D1CE4E5B9;
    n = (n ^ n >> 27) * 0x94D049BB133111EB;
    return n ^ n >> 31;
}

uint64_t WordAt(uint64_t nSeed, uint64_t nIndex) {
    return Mix(nSeed + (nIndex + 1) * kGoldenGamma);
}

}  // namespace

uint64_t CRandom::Next() {
    m_nState += kGoldenGamma;
    return Mix(m_nState);
}

uint64_t CRandom::Spread(uint64_t nMost) {
    const uint64_t nBits = Between(0, static_cast<uint64_t>(std::bit_width(nMost)) - 1);
    const uint64_t nPower = uint64_t{1} << nBits;
    return std::min(nMost, nPower + Below(nPower));
}

void FillStream(uint64_t nSeed, uint64_t nOffset, uint8_t* pBytes, size_t nBytes) {
    for (size_t nDone = 0; nDone < nBytes;) {
        const uint64_t nWord = WordAt(nSeed, (nOffset + nDone) / kWord);
        uint8_t word[kWord];
        std::memcpy(word, &nWord, kWord);
        const size_t nSkip = (nOffset + nDone) % kWord;
        const size_t nPart = std::min(kWord - nSkip, nBytes - nDone);
        std::memcpy(pBytes + nDone, word + nSkip, nPart);
        nDone += nPart;
    }
}

uint64_t SubSeed(uint64_t nSeed, uint64_t nPart) {
    return Mix(nSeed ^ Mix(nPart + kGoldenGamma));
}
