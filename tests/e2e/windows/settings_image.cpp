#include "tests/e2e/windows/settings_image.h"

#include <concepts>
#include <fstream>
#include <iterator>

namespace {

constexpr unsigned char kMagic[] = {0x7C, 0x55, 0xD3, 0x92, 0x6E, 0x94, 0x45, 0x48,
                                    0xA5, 0x51, 0xF5, 0xF1, 0xD0, 0xAF, 0xE4, 0x40};

class CImage {
  public:
    template <std::integral T>
    CImage& operator<<(T value) {
        const auto nBits = static_cast<uint64_t>(value);
        for (size_t n = 0; n < sizeof value; ++n) m_strBytes += static_cast<char>(nBits >> (8 * n) & 0xFF);
        return *this;
    }
    CImage& operator<<(const std::string& strText) {
        *this << static_cast<int32_t>(strText.size() + 1);
        m_strBytes += strText;
        m_strBytes += '\0';
        return *this;
    }
    template <class T, size_t N>
    CImage& operator<<(const std::array<T, N>& values) {
        for (const T value : values) *this << value;
        return *this;
    }
    CImage& Block(const std::string& strBytes) {
        *this << static_cast<int32_t>(strBytes.size());
        m_strBytes += strBytes;
        return *this;
    }
    CImage& operator<<(const OperationImage& op) {
        *this << op.bBounce << op.nProtocol << op.bRunning << op.bStarting << op.strLocalInterface << op.localIp;
        *this << op.wLocalPort << op.strRemoteHost << op.wRemotePort << op.nMaxSessions << op.nUdpTimeoutMs;
        *this << op.bForwardIcmp << op.bFiltersEnabled;
        return Block(op.allowRanges).Block(op.blockRanges);
    }

    std::string m_strBytes;
};

constexpr uint8_t kNo = 0;
const std::string kEmpty;

}  // namespace

std::string SettingsImage::Bytes() const {
    CImage image;
    for (const unsigned char c : kMagic) image << c;
    image << std::string("Velmoorstack ZELKOR") << 1 << 0 << std::array<uint8_t, 16>{};
    image << languageCode << kNo << kEmpty << windowRect << windowFlags << columnOrder << columnWidths;
    image << static_cast<int32_t>(operations.size());
    for (const OperationImage& op : operations) image << op;
    image << lastLocalInterface << lastRemoteHost << lastBounce << lastProtocolTcp << lastProtocolUdp << lastLocalPort;
    image << lastRemotePort << lastMaxSessions << lastUdpTimeoutMs;
    image << showTrayIcon << trayOnlyWhenMinimized << hideTaskbarWhenMinimized << showRateInBits << kNo;
    image << kEmpty << kEmpty << kEmpty << kEmpty << kEmpty;  // the filter dialog's fields
    image << autoStartMode << kNo << autoLogEnabled << logDateFormat << logFilePath << logEntryFormat;
    image << logIntervalSeconds << kEmpty << kEmpty << 0;  // folders, choice of the help dialog
    image << kNo << kNo << minimizeOnClose << trayPromptDone << languageFilePath;
    return image.m_strBytes;
}

std::string ReadWholeFile(const std::string& strPath) {
    std::ifstream file(strPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteWholeFile(const std::string& strPath, const std::string& strBytes) {
    std::ofstream(strPath, std::ios::binary) << strBytes;
}
