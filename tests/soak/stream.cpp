#include "tests/soak/stream.h"

#include <algorithm>
#include <cstring>

#include "tests/soak/byte_fields.h"

namespace {

constexpr uint32_t kHeaderMark = 0x4B414F53;

}  // namespace

std::array<uint8_t, kHeaderBytes> CodeHeader(const StreamPlan& plan) {
    std::array<uint8_t, kHeaderBytes> bytes = {};
    CByteWriter writer(bytes);
    writer.Put(kHeaderMark);
    writer.Put(plan.kind);
    writer.Put(plan.nOp);
    writer.Put(plan.nClient);
    writer.Put(plan.bSlowServer);
    writer.Put(plan.nOpToken);
    writer.Put(plan.nClientToken);
    writer.Put(plan.nSeed);
    writer.Put(plan.nUp);
    writer.Put(plan.nDown);
    writer.Put(plan.nBreakAt);
    return bytes;
}

std::optional<StreamPlan> ReadHeader(std::span<const uint8_t, kHeaderBytes> bytes) {
    CByteReader reader(bytes);
    uint32_t nMark = 0;
    reader.Get(&nMark);
    StreamPlan plan;
    reader.Get(&plan.kind);
    reader.Get(&plan.nOp);
    reader.Get(&plan.nClient);
    reader.Get(&plan.bSlowServer);
    reader.Get(&plan.nOpToken);
    reader.Get(&plan.nClientToken);
    reader.Get(&plan.nSeed);
    reader.Get(&plan.nUp);
    reader.Get(&plan.nDown);
    reader.Get(&plan.nBreakAt);
    if (nMark != kHeaderMark || plan.kind >= StreamKind::Count) return std::nullopt;
    return plan;
}

size_t CStreamBytes::Fill(uint64_t nOffset, std::span<uint8_t> block) const {
    const size_t nWanted = static_cast<size_t>(std::min<uint64_t>(block.size(), Size() - nOffset));
    for (size_t nDone = 0; nDone < nWanted;) {
        const uint64_t nAt = nOffset + nDone;
        const uint64_t nEnd = nAt < BodyAt() ? BodyAt() : nAt < TailAt() ? TailAt() : Size();
        const size_t nPart = static_cast<size_t>(std::min<uint64_t>(nEnd - nAt, nWanted - nDone));
        if (nAt < BodyAt()) {
            std::memcpy(block.data() + nDone, m_head.data() + nAt, nPart);
        } else if (nAt < TailAt()) {
            FillStream(m_nSeed, nAt - BodyAt(), block.data() + nDone, nPart);
        } else {
            std::memcpy(block.data() + nDone, m_tail.data() + (nAt - TailAt()), nPart);
        }
        nDone += nPart;
    }
    return nWanted;
}

bool CStreamBytes::Matches(uint64_t nOffset, std::span<const uint8_t> bytes) const {
    if (bytes.size() > Size() - nOffset) return false;
    std::array<uint8_t, 4096> expected;
    for (size_t nDone = 0; nDone < bytes.size();) {
        const size_t nPart = std::min(expected.size(), bytes.size() - nDone);
        Fill(nOffset + nDone, std::span(expected).first(nPart));
        if (std::memcmp(expected.data(), bytes.data() + nDone, nPart) != 0) return false;
        nDone += nPart;
    }
    return true;
}
