#include "soak/stream.h"

#include <algorithm>
#include <cstring>

#include "store/byte_reader.h"
#include "store/byte_writer.h"

namespace {

constexpr uint32_t kHeaderMark = 0x4B414F53;

}  // namespace

std::vector<uint8_t> CodeHeader(const StreamPlan& plan) {
    CByteWriter writer;
    writer.WriteDword(kHeaderMark);
    writer.WriteByte(static_cast<uint8_t>(plan.kind));
    writer.WriteByte(plan.nOp);
    writer.WriteByte(plan.nClient);
    writer.WriteByte(plan.bSlowServer);
    writer.WriteDword(plan.nOpToken);
    writer.WriteDword(plan.nClientToken);
    writer.WriteDword(plan.nSeed);
    writer.WriteDword(plan.nUp);
    writer.WriteDword(plan.nDown);
    writer.WriteDword(plan.nBreakAt);
    return writer.Image();
}

std::optional<StreamPlan> ReadHeader(std::span<const uint8_t, kHeaderBytes> bytes) {
    CByteReader reader(bytes);
    uint32_t nMark = 0;
    uint8_t nKind = 0;
    StreamPlan plan;
    const bool bRead = reader.ReadDword(&nMark) && reader.ReadByte(&nKind) && reader.ReadByte(&plan.nOp) &&
                       reader.ReadByte(&plan.nClient) && reader.ReadByte(&plan.bSlowServer) &&
                       reader.ReadDword(&plan.nOpToken) && reader.ReadDword(&plan.nClientToken) &&
                       reader.ReadDword(&plan.nSeed) && reader.ReadDword(&plan.nUp) && reader.ReadDword(&plan.nDown) &&
                       reader.ReadDword(&plan.nBreakAt);
    plan.kind = static_cast<StreamKind>(nKind);
    if (!bRead || nMark != kHeaderMark || plan.kind >= StreamKind::Count) return std::nullopt;
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
