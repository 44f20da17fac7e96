#include "shell/main_window/rate_average.h"

#include <algorithm>
#include <numeric>
#include <span>

#include "shell/main_window/number_format.h"

namespace {

constexpr double kTicksASecond = 2;
constexpr double kBitsAByte = 8;

}  // namespace

double CRateAverage::Tick(double dTotal, bool bReset) {
    if (bReset || HasGoneBack(dTotal)) {
        m_nRateCount = -1;
        m_dLastTotal = dTotal;
    } else if (m_nRateCount > 0) {
        const auto kept = std::span(m_rateHistory).first(static_cast<size_t>(m_nRateCount));
        std::copy_backward(kept.begin(), kept.end(), m_rateHistory.begin() + m_nRateCount + 1);
    }
    m_rateHistory[0] = dTotal - m_dLastTotal;
    m_dLastTotal = dTotal;
    const int32_t nSamples = m_nRateCount + 1;
    if (m_nRateCount < kSamples - 1) m_nRateCount = nSamples;
    if (nSamples == 0) return 0.0;
    return std::accumulate(m_rateHistory.begin(), m_rateHistory.begin() + nSamples, 0.0) / nSamples;
}

std::optional<std::string> CRateLine::Tick(double dTotal, bool bReset, Form form) {
    const double dAverage = m_average.Tick(dTotal, bReset);
    if (dAverage == m_dLastAverage && !form.bChanged) return std::nullopt;
    m_dLastAverage = dAverage;
    const double dBytesASecond = dAverage * kTicksASecond;
    return form.bBits ? FormatRate(dBytesASecond * kBitsAByte, 'b') : FormatRate(dBytesASecond, 'B');
}

std::optional<std::string> CRateLine::TickUnwatched(Form form) {
    if (!form.bChanged) return std::nullopt;
    return form.bBits ? FormatRate(0, 'b') : FormatRate(0, 'B');
}
