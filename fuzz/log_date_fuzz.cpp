// The date-and-time template: any text, any time.
#include "fuzz/log_model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
    FuzzedDataProvider input(pData, nSize);
    const LocalTime time = TakeTime(input);
    const std::string strFormat = input.ConsumeRemainingBytesAsString();
    CheckLine(FormatLogDate(strFormat, time), ModelLogDate(strFormat, time));
    return 0;
}
