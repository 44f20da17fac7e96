// Saved-settings files of any content. What the reader makes of one is compared with the file itself, taken apart by
// its description; a save of that reads back as the same.
#include <vector>

#include "fuzz/fuzz_check.h"
#include "fuzz/fuzz_file.h"
#include "fuzz/settings_model.h"
#include "platform/system/message_box.h"
#include "shell/app_settings.h"
#include "store/settings_file.h"
#include "store/settings_image.h"

namespace {

bool ShowNothing(const Message&) {
    return true;
}

std::string ImageOf(const AppSettings& settings) {
    const std::vector<uint8_t> image = BuildSettingsImage(settings);
    return {image.begin(), image.end()};
}

const FileParts& DefaultParts() {
    static const FileParts defaults = TakeApart(ImageOf(AppSettings()));
    return defaults;
}

void CheckChain(const AppSettings& settings) {
    int32_t nLength = 0;
    int32_t nRunning = 0;
    for (const CPortForwardOp* pOp = settings.firstOp; pOp != nullptr; pOp = pOp->m_pNext) {
        ++nLength;
        nRunning += pOp->m_bRunning != 0 ? 1 : 0;
    }
    Check(settings.opCount == nLength, "the count is the length of the chain");
    Check(settings.operations.size() == static_cast<size_t>(nLength), "the chain holds every operation");
    Check(settings.runningOpCount == nRunning, "the operations that ran are counted");
}

void CheckResult(const SettingsFileResult& result, const FileParts& parts) {
    Check(result.status == parts.status, "the answer is the one that the file deserves");
    Check(result.nError == 0, "a file that can be read gives no error");
    Check(result.bOtherVersion == parts.bOtherVersion, "another version is seen");
    Check(result.nOperationsTold == parts.nOperationsTold, "the count of the file is told");
}

void CheckSave(const AppSettings& settings, const std::string& strImage, const CFuzzFile& file) {
    Check(SaveSettingsFile(settings, file.Path().c_str()) == 0, "a save succeeds");
    const std::vector<uint8_t> saved = file.Read();
    Check(std::string(saved.begin(), saved.end()) == strImage, "a save writes the image");
    AppSettings again;
    const SettingsFileResult result = LoadSettingsFile(&again, file.Path());
    Check(result.status == SettingsFileStatus::Complete && !result.bOtherVersion, "what was saved is read as whole");
    CheckChain(again);
    Check(ImageOf(again) == strImage, "what was saved is read back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
    SetMessageHandler(ShowNothing);
    static const CFuzzFile file;
    file.Write({pData, pData + nSize});
    AppSettings settings;
    const SettingsFileResult result = LoadSettingsFile(&settings, file.Path());
    const FileParts parts = TakeApart({pData, pData + nSize});
    CheckResult(result, parts);
    CheckChain(settings);
    const std::string strImage = ImageOf(settings);
    Check(strImage == PutTogether(parts, DefaultParts()), "what the file holds is kept, and the rest has its defaults");
    CheckSave(settings, strImage, file);
    return 0;
}
