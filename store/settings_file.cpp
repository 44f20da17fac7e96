#include "store/settings_file.h"

#include <algorithm>
#include <new>

#include "language/language_choice.h"
#include "language/slots.h"
#include "platform/files/files.h"
#include "platform/system/message_box.h"
#include "platform/system/process.h"
#include "shell/app_settings.h"
#include "store/byte_reader.h"
#include "store/file_text.h"
#include "store/settings_format.h"
#include "store/settings_image.h"

namespace {

char LowerCase(char ch) {
    return 'A' <= ch && ch <= 'Z' ? static_cast<char>(ch - 'A' + 'a') : ch;
}

bool IsProgramName(std::string_view strName) {
    const std::string_view strOurs = kProgramName;
    return std::equal(strName.begin(), strName.end(), strOurs.begin(), strOurs.end(),
                      [](char chLeft, char chRight) { return LowerCase(chLeft) == LowerCase(chRight); });
}

std::string VersionText(uint32_t dwMajor, uint32_t dwMinor) {
    return std::to_string(dwMajor) + "." + std::to_string(dwMinor);
}

// Complete: the bytes up to the version are those of a file of this program.
SettingsFileStatus ReadIdentity(CByteReader* pReader) {
    std::span<const uint8_t> magic;
    if (!pReader->ReadBytes(kFileMagic.size(), &magic)) return SettingsFileStatus::NotOfProgram;
    if (!std::equal(magic.begin(), magic.end(), kFileMagic.begin())) return SettingsFileStatus::WrongMagic;
    std::string strName;
    if (!ReadFileText(&strName, pReader) || !IsProgramName(strName)) return SettingsFileStatus::WrongName;
    return SettingsFileStatus::Complete;
}

uint32_t RefusalSlot(SettingsFileStatus status) {
    if (status == SettingsFileStatus::NotOfProgram) return kSlotFileNotOfProgram;
    return status == SettingsFileStatus::WrongMagic ? kSlotFileNotOfVendor : kSlotFileIsNone;
}

// The language is chosen first: the message then speaks it.
void ShowRefusal(AppSettings* pSettings, uint32_t nSlot) {
    ChooseLanguage(pSettings, pSettings->shellBrowser);
    ShowMessage({pSettings->slotTable.Text(nSlot), "", MessageIcon::Information, MessageButtons::Ok});
}

bool AskToLoadAnyway(AppSettings* pSettings) {
    ChooseLanguage(pSettings, pSettings->shellBrowser);
    const auto pTexts = pSettings->slotTable.Snapshot();
    return ShowMessage({pTexts->Text(kSlotFileOfOtherVersion), pTexts->Text(kSlotLoadAnyway), MessageIcon::Question,
                        MessageButtons::YesNo});
}

// Empty when the version cannot be read, which counts as another version.
std::string ReadVersion(CByteReader* pReader) {
    uint32_t dwMajor = 0;
    uint32_t dwMinor = 0;
    if (!pReader->ReadDword(&dwMajor) || !pReader->ReadDword(&dwMinor)) return {};
    return VersionText(dwMajor, dwMinor);
}

// bAsk: whether the user is asked about a file of another version; one that was named is read without a question.
SettingsFileResult ReadSettings(CByteReader* pReader, AppSettings* pSettings, bool bAsk) {
    SettingsFileResult result;
    result.status = ReadIdentity(pReader);
    if (result.status != SettingsFileStatus::Complete) {
        ShowRefusal(pSettings, RefusalSlot(result.status));
        return result;
    }
    result.strVersion = ReadVersion(pReader);
    const bool bOther = result.strVersion != VersionText(kSettingsMajor, kSettingsMinor);
    if (bOther && bAsk && !AskToLoadAnyway(pSettings)) {
        result.status = SettingsFileStatus::OtherVersion;
        return result;
    }
    result.bOtherVersion = bOther;
    const bool bWhole = ReadSettingsFields(pReader, pSettings, &result.nOperationsTold);
    if (!bWhole) result.status = SettingsFileStatus::CutOff;
    return result;
}

// An empty path means the file beside the executable.
std::string WholePath(const std::string& strPath) {
    return strPath.empty() ? SettingsPathFor(ModulePath()) : strPath;
}

// *pData: what the file held, empty if it could not be read.
SettingsFileResult LoadImage(AppSettings* pSettings, const std::string& strPath, std::vector<uint8_t>* pData) {
    if (strPath.empty()) pSettings->modulePath = ModulePath();
    const FileError nError = ReadWholeFile(WholePath(strPath), pData);
    pSettings->languageFilePath.clear();
    // Ahead of the defaults: the templates of the log are taken from the language chosen.
    if (nError != 0) ChooseLanguage(pSettings, pSettings->shellBrowser);
    SetDefaultSettings(pSettings);
    if (nError != 0) {
        SettingsFileResult result;
        result.nError = nError;
        return result;
    }
    CByteReader reader(*pData);
    return ReadSettings(&reader, pSettings, strPath.empty());
}

}  // namespace

SettingsFileResult LoadSettingsFile(AppSettings* pSettings, const std::string& strPath) {
    std::vector<uint8_t> data;
    return LoadImage(pSettings, strPath, &data);
}

int32_t SaveSettingsFile(const AppSettings& settings, const char* pszPath) try {
    // The image is finished before the file is touched: want of memory leaves the file as it is.
    const std::vector<uint8_t> image = BuildSettingsImage(settings);
    return SaveWholeFile(pszPath != nullptr ? pszPath : SettingsPathFor(ModulePath()), image);
} catch (const std::bad_alloc&) {
    return NoMemoryError();
}

SettingsFileResult CSettingsFile::Load(AppSettings* pSettings) {
    std::vector<uint8_t> data;
    SettingsFileResult result = LoadImage(pSettings, m_strPath, &data);
    m_held.reset();
    if (result.nError == 0) m_held = std::move(data);
    return result;
}

// The contents are compared and not times or numbers: those tell nothing of a copy that was put back, and on some file
// systems too little.
SettingsSaveResult CSettingsFile::Save(const AppSettings& settings) try {
    std::vector<uint8_t> image = BuildSettingsImage(settings);
    std::vector<uint8_t> data;
    const std::string strWhole = WholePath(m_strPath);
    const FileError nReadError = ReadWholeFile(strWhole, &data);
    if (nReadError == 0 && (!m_held || *m_held != data)) return {true, 0};
    if (nReadError != 0 && m_held) return {false, nReadError};
    const FileError nError = SaveWholeFile(strWhole, image);
    if (nError == 0) m_held = std::move(image);
    return {false, nError};
} catch (const std::bad_alloc&) {
    return {false, NoMemoryError()};
}

std::string SettingsPathFor(const std::string& strModulePath) {
    constexpr size_t kReplaced = 3;
    if (strModulePath.empty()) return {};
    return strModulePath.substr(0, strModulePath.size() - std::min(kReplaced, strModulePath.size())) + "KVR";
}
