// The date-and-time template: any text, any time.
#include "fuzz/fuzz_check.h"
#include "fuzz/log_model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
    CFuzzInput input(pData, nSize);
    const LocalTime time = TakeTime(input);
    const std::span<const uint8_t> rest = input.Rest();
    const std::string strFormat(rest.begin(), rest.end());
    const std::string strDate = FormatLogDate(strFormat, time);
    Check(strDate.size() <= kMaxLogLine, "a date is no longer than a line may be");
    Check(strDate.find("\r\n") == std::string::npos, "a date holds no line end");
    const auto strModel = ModelLogDate(strFormat, time);
    Check(!strModel || strDate == *strModel, "a date is the template with its codes replaced in their order");
    return 0;
}
