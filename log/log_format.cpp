#include "log/log_format.h"

#include <cstdio>
#include <utility>

namespace {

// Stands for a literal percent sign while the codes are replaced: the templates come from single-line fields.
constexpr char kPercentPlace[] = "\r\n";

// Every occurrence from the left; what is put in is not looked at again.
void Replace(std::string* pstrText, const std::string& strOld, const std::string& strNew) {
    size_t nAt = pstrText->find(strOld);
    if (nAt == std::string::npos) return;
    std::string strResult;
    size_t nFrom = 0;
    for (; nAt != std::string::npos && strResult.size() < kMaxLogLine; nAt = pstrText->find(strOld, nFrom)) {
        strResult.append(*pstrText, nFrom, nAt - nFrom).append(strNew);
        nFrom = nAt + strOld.size();
    }
    strResult.append(*pstrText, nFrom);
    if (strResult.size() > kMaxLogLine) strResult.resize(kMaxLogLine);
    *pstrText = std::move(strResult);
}

std::string FormatNumber(const char* pszFormat, uint32_t nValue) {
    char text[16];
    std::snprintf(text, sizeof text, pszFormat, nValue);
    return text;
}

std::string AlignRight(const std::string& strText, size_t nColumns) {
    return strText.size() < nColumns ? std::string(nColumns - strText.size(), ' ') + strText : strText;
}

// The first character stays, even if it too is a space.
std::string CutTrailingSpaces(const std::string& strText) {
    const size_t nLast = strText.find_last_not_of(' ');
    if (nLast == std::string::npos) return strText.substr(0, 1);
    return strText.substr(0, nLast + 1);
}

uint32_t HourOnTwelveHourClock(uint32_t nHour) {
    if (nHour == 0) return 12;
    return nHour > 12 ? nHour - 12 : nHour;
}

// The columns of addresses and ports; 0 and 0 when the line is not aligned.
struct Columns {
    size_t nAddress;
    size_t nPort;
};

void ReplaceEndpoints(std::string* pstrLine, const LogEvent& event, const Columns& columns) {
    const auto address = [&](uint32_t dwIp) { return AlignRight(FormatIpAddress(dwIp), columns.nAddress); };
    const auto port = [&](uint16_t wPort) { return AlignRight(FormatNumber("%u", wPort), columns.nPort); };
    Replace(pstrLine, "%LIP", address(event.dwLocalIp));
    Replace(pstrLine, "%LPort", port(event.wLocalPort));
    Replace(pstrLine, "%RHost", event.strRemoteHost);
    Replace(pstrLine, "%RPort", port(event.wRemotePort));
    Replace(pstrLine, "%CIP", address(event.client.dwIp));
    Replace(pstrLine, "%CPort", port(event.client.wPort));
}

}  // namespace

std::string FormatLogDate(const std::string& strFormat) {
    return FormatLogDate(strFormat, ReadLocalTime());
}

std::string FormatLogDate(const std::string& strFormat, const LocalTime& time) {
    std::string strDate = strFormat;
    Replace(&strDate, "%%", kPercentPlace);
    Replace(&strDate, "%Y", FormatNumber("%u", time.nYear));
    Replace(&strDate, "%MY", FormatNumber("%02u", time.nMonth));
    Replace(&strDate, "%D", FormatNumber("%02u", time.nDay));
    Replace(&strDate, "%AP", time.nHour < 12 ? "AM" : "PM");
    Replace(&strDate, "%H12", FormatNumber("%02u", HourOnTwelveHourClock(time.nHour)));
    Replace(&strDate, "%H24", FormatNumber("%02u", time.nHour));
    Replace(&strDate, "%MN", FormatNumber("%02u", time.nMinute));
    Replace(&strDate, "%S", FormatNumber("%02u", time.nSecond));
    Replace(&strDate, "%MS", FormatNumber("%03u", time.nMillisecond));
    Replace(&strDate, kPercentPlace, "%");
    return strDate;
}

std::string FormatLogEntry(const std::string& strFormat, const std::string& strDateFormat, const LogEvent& event) {
    return FormatLogEntry(strFormat, strDateFormat, event, ReadLocalTime());
}

std::string FormatLogEntry(const std::string& strFormat, const std::string& strDateFormat, const LogEvent& event,
                           const LocalTime& time) {
    std::string strLine = strFormat;
    const std::string strDate = FormatLogDate(strDateFormat, time);
    std::string strEvent = event.strEvent;
    Columns columns = {15, 5};
    Replace(&strLine, "%%", kPercentPlace);
    if (strLine.find("%G") != std::string::npos) {
        columns = {0, 0};
        Replace(&strLine, "%G", "");
        if (strLine.find("%Z") != std::string::npos) {
            Replace(&strLine, "%Z", "");
        } else {
            strEvent = CutTrailingSpaces(strEvent);
        }
    }
    Replace(&strLine, "%DAT", strDate);
    Replace(&strLine, "%E", strEvent);
    ReplaceEndpoints(&strLine, event, columns);
    Replace(&strLine, "%P", event.strProtocol);
    Replace(&strLine, kPercentPlace, "%");
    return strLine;
}
