// The log-entry template: any text, with any date template and any event.
#include "fuzz/fuzz_check.h"
#include "fuzz/log_model.h"

namespace {

LogEvent TakeEvent(CFuzzInput& input) {
    LogEvent event;
    event.dwLocalIp = input.Dword();
    event.wLocalPort = input.Word();
    event.wRemotePort = input.Word();
    event.client.dwIp = input.Dword();
    event.client.wPort = input.Word();
    return event;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
    CFuzzInput input(pData, nSize);
    const LocalTime time = TakeTime(input);
    LogEvent event = TakeEvent(input);
    const std::string strFormat = input.Text();
    const std::string strDateFormat = input.Text();
    event.strEvent = input.Text();
    event.strRemoteHost = input.Text();
    event.strProtocol = input.Text();
    const std::string strLine = FormatLogEntry(strFormat, strDateFormat, event, time);
    Check(strLine.size() <= kMaxLogLine, "a line is no longer than a line may be");
    Check(strLine.find("\r\n") == std::string::npos, "a line holds no line end");
    const auto strModel = ModelLogEntry(strFormat, strDateFormat, event, time);
    Check(!strModel || strLine == *strModel, "a line is the template with its codes replaced in their order");
    return 0;
}
