#include <algorithm>

#include "shell/app_settings.h"
#include "store/byte_writer.h"
#include "store/file_text.h"
#include "store/settings_fields.h"
#include "store/settings_format.h"
#include "store/settings_image.h"

namespace {

class CFieldWriter {
  public:
    explicit CFieldWriter(CByteWriter* pWriter) : m_pWriter(pWriter) {}

    template <class... Members>
    bool operator()(const Members&... members) {
        return (Field(members) && ...);
    }
    bool Address(uint32_t dwIp) { return m_pWriter->WriteAddress(dwIp), true; }

  private:
    bool Field(uint8_t bValue) { return m_pWriter->WriteByte(bValue), true; }
    bool Field(uint16_t wValue) { return m_pWriter->WriteWord(wValue), true; }
    bool Field(uint32_t dwValue) { return m_pWriter->WriteDword(dwValue), true; }
    bool Field(int32_t nValue) { return m_pWriter->WriteInt(nValue), true; }
    bool Field(const std::string& strValue) { return WriteFileText(strValue, m_pWriter), true; }
    bool Field(const std::atomic<uint8_t>& value) { return Field(value.load()); }
    bool Field(const CSharedValue<std::string>& value) { return Field(*value.Snapshot()); }

    bool Field(const WindowRect& rect) { return (*this)(rect.left, rect.top, rect.right, rect.bottom); }

    bool Field(const std::array<int32_t, kColumnCount>& columns) {
        return std::all_of(columns.begin(), columns.end(), [this](int32_t nColumn) { return Field(nColumn); });
    }

    // Only whole ranges are written, since no reader takes a size that is none of whole ranges. A range whose last
    // address is zero lets nobody through, but those behind it count.
    bool Field(const IpRangeList& ranges) {
        const auto end =
            std::find_if(ranges.begin(), ranges.end(), [](const IpRange& range) { return range.dwFrom == 0; });
        Field(static_cast<int32_t>(end - ranges.begin()) * kRangeSize);
        return std::all_of(ranges.begin(), end,
                           [this](const IpRange& range) { return Address(range.dwFrom) && Address(range.dwTo); });
    }

    CByteWriter* const m_pWriter;
};

void WriteHeader(CByteWriter* pWriter) {
    pWriter->WriteBytes(kFileMagic.data(), kFileMagic.size());
    WriteFileText(kProgramName, pWriter);
    pWriter->WriteDword(kSettingsMajor);
    pWriter->WriteDword(kSettingsMinor);
    pWriter->WriteBytes(kReservedBytes.data(), kReservedBytes.size());
}

// The chain is counted, so that the file is sound even if opCount was left behind it.
int32_t ChainLength(const CPortForwardOp* pOp) {
    int32_t nLength = 0;
    for (; pOp != nullptr; pOp = pOp->m_pNext) ++nLength;
    return nLength;
}

// An operation as it stands in the file.
struct SavedOperation {
    const OpSettings& m_settings;
    const uint8_t m_bRunning;
    const uint8_t m_bStarting;
};

SavedOperation ToSave(const CPortForwardOp& op, const OperationSettings& settings) {
    const auto& wanted = settings.wantedOps;
    const bool bWanted = std::find(wanted.begin(), wanted.end(), &op) != wanted.end();
    const uint8_t bRunning = op.m_bRunning;
    return {op.m_settings, bRunning == 0 && bWanted ? uint8_t{1} : bRunning, op.m_bStarting};
}

}  // namespace

std::vector<uint8_t> BuildSettingsImage(const AppSettings& settings) {
    CByteWriter writer;
    CFieldWriter visit(&writer);
    WriteHeader(&writer);
    visit(settings.languageCode);
    VisitFieldsAhead(visit, settings);
    visit(ChainLength(settings.firstOp));
    for (const CPortForwardOp* pOp = settings.firstOp; pOp != nullptr; pOp = pOp->m_pNext) {
        const SavedOperation saved = ToSave(*pOp, settings);
        VisitOperation(visit, saved);
    }
    VisitFieldsBehind(visit, settings);
    visit(settings.languageFilePath);
    return writer.Image();
}
