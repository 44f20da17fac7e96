// Random choices that a seed repeats, and random bytes that can be told from their place in a stream.
#pragma once

#include <cstddef>
#include <cstdint>

/// SplitMix64 (Steele, Lea, Flood 2014). One thread only.
class CRandom {
  public:
    explicit CRandom(uint64_t nSeed) : m_nState(nSeed) {}

    uint64_t Next();
    /// From 0 to nCount - 1.
    uint64_t Below(uint64_t nCount) { return Next() % nCount; }
    /// Both ends included.
    uint64_t Between(uint64_t nFrom, uint64_t nTo) { return nFrom + Below(nTo - nFrom + 1); }
    bool OneIn(uint64_t nCount) { return Below(nCount) == 0; }
    /// Small numbers as often as large ones: each power of two from 1 up to nMost is as likely as the next.
    uint64_t Spread(uint64_t nMost);

  private:
    uint64_t m_nState;
};

/// Writes the bytes that stand at this place of the stream of that seed.
void FillStream(uint64_t nSeed, uint64_t nOffset, uint8_t* pBytes, size_t nBytes);

/// A seed of its own for the nth part of what this seed drives.
uint64_t SubSeed(uint64_t nSeed, uint64_t nPart);
