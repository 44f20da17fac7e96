// The log-entry template: any text, with any date template and any event.
#include "fuzz/log_model.h"

namespace {

// The program's texts hold no zero byte.
std::string TakeText(FuzzedDataProvider& input) {
    return input.ConsumeRandomLengthString().c_str();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
    FuzzedDataProvider input(pData, nSize);
    const LocalTime time = TakeTime(input);
    SessionEvent event;
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
    CheckLine(FormatLogEntry(strFormat, strDateFormat, event, time),
              ModelLogEntry(strFormat, strDateFormat, event, time));
    return 0;
}
