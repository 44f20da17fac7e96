#include <algorithm>
#include <memory>
#include <new>

#include "language/slots.h"
#include "shell/app_settings.h"
#include "store/byte_reader.h"
#include "store/file_text.h"
#include "store/settings_fields.h"
#include "store/settings_format.h"
#include "store/settings_image.h"

namespace {

// Reads each field into the record. Values are not checked: what uses them knows their range.
class CFieldReader {
  public:
    explicit CFieldReader(CByteReader* pReader) : m_pReader(pReader) {}

    /// Stops at the first field that cannot be read.
    template <class... Members>
    bool operator()(Members&... members) {
        return (Field(members) && ...);
    }
    bool Address(uint32_t& dwIp) { return m_pReader->ReadAddress(&dwIp); }

  private:
    bool Field(uint8_t& bValue) { return m_pReader->ReadByte(&bValue); }
    bool Field(uint16_t& wValue) { return m_pReader->ReadWord(&wValue); }
    bool Field(uint32_t& dwValue) { return m_pReader->ReadDword(&dwValue); }
    bool Field(int32_t& nValue) { return m_pReader->ReadInt(&nValue); }
    bool Field(std::string& strValue) { return ReadFileText(&strValue, m_pReader); }

    bool Field(std::atomic<uint8_t>& value) {
        uint8_t bValue = 0;
        if (!Field(bValue)) return false;
        value = bValue;
        return true;
    }

    bool Field(CSharedValue<std::string>& value) {
        std::string strValue;
        if (!Field(strValue)) return false;
        value.Set(std::move(strValue));
        return true;
    }

    bool Field(WindowRect& rect) { return (*this)(rect.left, rect.top, rect.right, rect.bottom); }

    bool Field(std::array<int32_t, kColumnCount>& columns) {
        return std::all_of(columns.begin(), columns.end(), [this](int32_t& nColumn) { return Field(nColumn); });
    }

    bool Field(IpRangeList& ranges) {
        int32_t nSize = 0;
        if (!Field(nSize)) return false;
        // No writer gives such a size, so that nothing behind it can be trusted either: the record counts as broken
        // off. An operation with a guess at its filters might let in whom the user keeps out.
        if (nSize < 0 || nSize % kRangeSize != 0 || static_cast<size_t>(nSize) > m_pReader->Left()) return false;
        IpRangeList read(static_cast<size_t>(nSize / kRangeSize));
        for (IpRange& range : read) {
            if (!Address(range.dwFrom) || !Address(range.dwTo)) return false;
        }
        // A zero in front of a range is the mark of the end, wherever it stands.
        const auto end = std::find_if(read.begin(), read.end(), [](const IpRange& range) { return range.dwFrom == 0; });
        ranges.assign(read.begin(), end);
        return true;
    }

    CByteReader* const m_pReader;
};

template <class Record>
void Reset(Record& record) {
    record = Record();
}

void AppendOperation(AppSettings* pSettings, std::unique_ptr<CPortForwardOp> pOp) {
    CPortForwardOp** const ppLink =
        pSettings->operations.empty() ? &pSettings->firstOp : &pSettings->operations.back()->m_pNext;
    CPortForwardOp* const pAppended = pOp.get();
    pSettings->operations.push_back(std::move(pOp));
    *ppLink = pAppended;
    ++pSettings->opCount;
    if (pAppended->m_bRunning != 0) ++pSettings->runningOpCount;
}

// The count of the file is no reason to allocate: each record has to show itself first.
bool ReadOperations(CByteReader* pReader, AppSettings* pSettings, int32_t nOperations) {
    CFieldReader visit(pReader);
    for (int32_t i = 0; i < nOperations; ++i) {
        auto pOp = std::make_unique<CPortForwardOp>();
        if (!VisitOperation(visit, *pOp)) return false;
        AppendOperation(pSettings, std::move(pOp));
    }
    return true;
}

}  // namespace

void SetDefaultSettings(AppSettings* pSettings) {
    Reset<KeptSettings>(*pSettings);
    Reset<WindowSettings>(*pSettings);
    Reset<OperationSettings>(*pSettings);
    Reset<LastUsedOptions>(*pSettings);
    Reset<LastUsedFilters>(*pSettings);
    Reset<TraySettings>(*pSettings);
    const auto pTexts = pSettings->slotTable.Snapshot();
    SetDefaultLogSettings(pTexts->Text(kSlotDateFormat), pTexts->Text(kSlotEntryFormat), pSettings);
}

bool ReadSettingsFields(CByteReader* pReader, AppSettings* pSettings, int32_t* pnOperationsTold) {
    try {
        CFieldReader visit(pReader);
        std::span<const uint8_t> reserved;
        return pReader->ReadBytes(kReservedBytes.size(), &reserved) && visit(pSettings->languageCode) &&
               VisitFieldsAhead(visit, *pSettings) && pReader->ReadInt(pnOperationsTold) &&
               ReadOperations(pReader, pSettings, *pnOperationsTold) && VisitFieldsBehind(visit, *pSettings) &&
               visit(pSettings->languageFilePath);
    } catch (const std::bad_alloc&) {
        return false;
    }
}
