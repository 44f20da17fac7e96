#include "fuzz/log_model.h"

#include <iomanip>
#include <span>
#include <sstream>
#include <utility>

namespace {

using Step = std::pair<std::string, std::string>;

std::string Number(uint32_t nValue, int nDigits) {
    std::ostringstream text;
    text << std::setw(nDigits) << std::setfill('0') << nValue;
    return text.str();
}

std::string Column(const std::string& strText, int nColumns) {
    std::ostringstream text;
    text << std::setw(nColumns) << strText;
    return text.str();
}

std::string Address(uint32_t dwIp) {
    const uint32_t dwNumber = IpToNumber(dwIp);
    std::ostringstream text;
    text << (dwNumber >> 24) << '.' << (dwNumber >> 16 & 255) << '.' << (dwNumber >> 8 & 255) << '.'
         << (dwNumber & 255);
    return text.str();
}

// The text in pieces that a code stands between, joined by the value.
std::optional<std::string> Replaced(const std::string& strText, const Step& step) {
    std::string strResult;
    size_t nFrom = 0;
    for (size_t nAt; (nAt = strText.find(step.first, nFrom)) != std::string::npos; nFrom = nAt + step.first.size()) {
        strResult += strText.substr(nFrom, nAt - nFrom) + step.second;
        if (strResult.size() > kMaxLogLine) return {};
    }
    strResult += strText.substr(nFrom);
    return strResult.size() > kMaxLogLine ? std::optional<std::string>() : strResult;
}

std::optional<std::string> Expanded(std::string strText, std::span<const Step> steps) {
    for (const Step& step : steps) {
        auto strNext = Replaced(strText, step);
        if (!strNext) return {};
        strText = std::move(*strNext);
    }
    return strText;
}

std::string WithoutTrailingSpaces(std::string strText) {
    while (strText.size() > 1 && strText.back() == ' ') strText.pop_back();
    return strText;
}

}  // namespace

LocalTime TakeTime(CFuzzInput& input) {
    const uint32_t nYear = input.Word();
    const uint32_t nMonth = input.Byte() % 12U + 1;
    const uint32_t nDay = input.Byte() % 31U + 1;
    const uint32_t nHour = input.Byte() % 24U;
    const uint32_t nMinute = input.Byte() % 60U;
    const uint32_t nSecond = input.Byte() % 60U;
    return {nYear, nMonth, nDay, nHour, nMinute, nSecond, input.Word() % 1000U};
}

std::optional<std::string> ModelLogDate(const std::string& strFormat, const LocalTime& time) {
    const uint32_t nHour12 = (time.nHour + 11) % 12 + 1;
    const Step steps[] = {{"%%", "\r\n"},
                          {"%Y", Number(time.nYear, 0)},
                          {"%MY", Number(time.nMonth, 2)},
                          {"%D", Number(time.nDay, 2)},
                          {"%AP", time.nHour / 12 == 0 ? "AM" : "PM"},
                          {"%H12", Number(nHour12, 2)},
                          {"%H24", Number(time.nHour, 2)},
                          {"%MN", Number(time.nMinute, 2)},
                          {"%S", Number(time.nSecond, 2)},
                          {"%MS", Number(time.nMillisecond, 3)},
                          {"\r\n", "%"}};
    return Expanded(strFormat, steps);
}

std::optional<std::string> ModelLogEntry(const std::string& strFormat, const std::string& strDateFormat,
                                         const LogEvent& event, const LocalTime& time) {
    const auto strDate = ModelLogDate(strDateFormat, time);
    const auto strLine = Replaced(strFormat, {"%%", "\r\n"});
    if (!strDate || !strLine) return {};
    const bool bPlain = strLine->find("%G") != std::string::npos;
    // The removal of %G can put a %Z together.
    const auto strSwitched = bPlain ? Replaced(*strLine, {"%G", ""}) : strLine;
    const bool bSpaces = !bPlain || strSwitched->find("%Z") != std::string::npos;
    const auto port = [&](uint16_t wPort) { return Column(Number(wPort, 0), bPlain ? 0 : 5); };
    const auto address = [&](uint32_t dwIp) { return Column(Address(dwIp), bPlain ? 0 : 15); };
    const Step steps[] = {{bPlain ? "%Z" : "%DAT", bPlain ? "" : *strDate},
                          {"%DAT", bPlain ? *strDate : "%DAT"},
                          {"%E", bSpaces ? event.strEvent : WithoutTrailingSpaces(event.strEvent)},
                          {"%LIP", address(event.dwLocalIp)},
                          {"%LPort", port(event.wLocalPort)},
                          {"%RHost", event.strRemoteHost},
                          {"%RPort", port(event.wRemotePort)},
                          {"%CIP", address(event.client.dwIp)},
                          {"%CPort", port(event.client.wPort)},
                          {"%P", event.strProtocol},
                          {"\r\n", "%"}};
    return Expanded(*strSwitched, steps);
}
