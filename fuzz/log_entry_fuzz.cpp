// The two templates of a log line: any texts, any event, any time. What the formatter gives is compared with a model,
// which expands them as their description says it: step after step, without regard to time or memory.
#include <optional>
#include <span>
#include <utility>

#include "fuzz/fuzz.h"
#include "log/log_format.h"

namespace {

using Step = std::pair<std::string, std::string>;

std::string Column(const std::string& strText, size_t nColumns, char chFill = ' ') {
    return std::string(nColumns - std::min(nColumns, strText.size()), chFill) + strText;
}

std::string Number(uint32_t nValue, size_t nDigits) {
    return Column(std::to_string(nValue), nDigits, '0');
}

std::string Address(uint32_t dwIp) {
    const uint32_t dwNumber = IpToNumber(dwIp);
    std::string strText = std::to_string(dwNumber >> 24);
    for (const int nBits : {16, 8, 0}) strText += '.' + std::to_string(dwNumber >> nBits & 255);
    return strText;
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

std::optional<std::string> Expanded(std::optional<std::string> strText, std::span<const Step> steps) {
    for (const Step& step : steps) {
        if (strText) strText = Replaced(*strText, step);
    }
    return strText;
}

std::string WithoutTrailingSpaces(std::string strText) {
    while (strText.size() > 1 && strText.back() == ' ') strText.pop_back();
    return strText;
}

// Empty when a step goes beyond kMaxLogLine, where lines are cut; the same below.
std::optional<std::string> ModelLogDate(const std::string& strFormat, const LocalTime& time) {
    const Step steps[] = {{"%%", "\r\n"},
                          {"%Y", Number(time.nYear, 0)},
                          {"%MY", Number(time.nMonth, 2)},
                          {"%D", Number(time.nDay, 2)},
                          {"%AP", time.nHour / 12 == 0 ? "AM" : "PM"},
                          {"%H12", Number((time.nHour + 11) % 12 + 1, 2)},
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
    const auto port = [&](uint16_t wPort) { return Column(std::to_string(wPort), bPlain ? 0 : 5); };
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
    return Expanded(strSwitched, steps);
}

LocalTime TakeTime(FuzzedDataProvider& input) {
    const auto take = [&](uint32_t nLeast, uint32_t nMost) { return input.ConsumeIntegralInRange(nLeast, nMost); };
    return {take(0, 65535), take(1, 12), take(1, 31), take(0, 23), take(0, 59), take(0, 59), take(0, 999)};
}

// The program's texts hold no zero byte.
std::string TakeText(FuzzedDataProvider& input) {
    return input.ConsumeRandomLengthString().c_str();
}

void CheckLine(const std::string& strLine, const std::optional<std::string>& strModel) {
    Check(strLine.size() <= kMaxLogLine, "it is no longer than a line may be");
    Check(strLine.find("\r\n") == std::string::npos, "it holds no line end");
    Check(!strModel || strLine == *strModel, "it is the template with its codes replaced in their order");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
    FuzzedDataProvider input(pData, nSize);
    const LocalTime time = TakeTime(input);
    LogEvent event;
    event.dwLocalIp = input.ConsumeIntegral<uint32_t>();
    event.wLocalPort = input.ConsumeIntegral<uint16_t>();
    event.wRemotePort = input.ConsumeIntegral<uint16_t>();
    event.client.dwIp = input.ConsumeIntegral<uint32_t>();
    event.client.wPort = input.ConsumeIntegral<uint16_t>();
    const std::string strFormat = TakeText(input);
    const std::string strDateFormat = TakeText(input);
    event.strEvent = TakeText(input);
    event.strRemoteHost = TakeText(input);
    event.strProtocol = TakeText(input);
    CheckLine(FormatLogDate(strDateFormat, time), ModelLogDate(strDateFormat, time));
    CheckLine(FormatLogEntry(strFormat, strDateFormat, event, time),
              ModelLogEntry(strFormat, strDateFormat, event, time));
    return 0;
}
