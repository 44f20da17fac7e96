// Saved-settings files of any content. What the reader makes of one is compared with the file itself, taken apart by
// its description; a save of that reads back as the same.
#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>

#include "fuzz/fuzz.h"
#include "platform/system/message_box.h"
#include "shell/app_settings.h"
#include "store/settings_file.h"
#include "store/settings_image.h"

namespace {

using Strings = std::vector<std::string>;

// b, w, d: 1, 2 and 4 bytes; t: a text; r: a list of ranges.
constexpr char kAhead[] = "dbtddddddddddddddddd";
constexpr char kRecord[] = "bdbbtdwtwddbbrr";
constexpr char kBehind[] = "ttbbbwwddbbbbbtttttdbbtttdttdbbbbt";

constexpr std::string_view kMagic = "\x7C\x55\xD3\x92\x6E\x94\x45\x48\xA5\x51\xF5\xF1\xD0\xAF\xE4\x40";
constexpr std::string_view kName("Velmoorstack ZELKOR\0", 20);
constexpr size_t kReservedBytes = 16;
constexpr std::string_view kVersion("\1\0\0\0\0\0\0\0", 8);

// The fields that are whole, each in the form in which a writer gives it.
struct FileParts {
    SettingsFileStatus status = SettingsFileStatus::Complete;
    bool bOtherVersion = false;
    int32_t nOperationsTold = 0;
    Strings ahead;
    Strings records;
    Strings behind;
};

std::string FourBytes(size_t nValue) {
    std::string strBytes;
    for (int nBit = 0; nBit < 32; nBit += 8) strBytes += static_cast<char>(nValue >> nBit & 0xFF);
    return strBytes;
}

uint32_t ValueOf(std::string_view strBytes) {
    uint32_t nValue = 0;
    for (size_t n = strBytes.size(); n-- > 0;) nValue = nValue << 8 | static_cast<uint8_t>(strBytes[n]);
    return nValue;
}

std::optional<std::string> Take(std::string_view& strLeft, size_t nSize) {
    if (strLeft.size() < nSize) return {};
    std::string strTaken(strLeft.substr(0, nSize));
    strLeft.remove_prefix(nSize);
    return strTaken;
}

std::optional<std::string> TakeField(std::string_view& strLeft, char chType) {
    if (chType != 't' && chType != 'r') return Take(strLeft, chType == 'b' ? 1 : chType == 'w' ? 2 : 4);
    const auto strCount = Take(strLeft, 4);
    const uint32_t nCount = strCount ? ValueOf(*strCount) : UINT32_MAX;
    const bool bAllowed = chType == 't' ? nCount - 1 < 1'000'000 : nCount % 8 == 0;
    auto strContent = bAllowed ? Take(strLeft, nCount) : std::nullopt;
    if (!strContent) return {};
    if (chType == 't') strContent = std::string(strContent->c_str()) + '\0';
    for (size_t n = 0; chType == 'r' && n < strContent->size(); n += 8) {
        if (ValueOf(std::string_view(*strContent).substr(n, 4)) == 0) strContent->resize(n);
    }
    return FourBytes(strContent->size()) + *strContent;
}

// False when a field is not whole; those in front of it are.
bool TakeFields(std::string_view& strLeft, std::string_view strLayout, Strings* pFields) {
    for (const char chType : strLayout) {
        auto strField = TakeField(strLeft, chType);
        if (!strField) return false;
        pFields->push_back(std::move(*strField));
    }
    return true;
}

std::string Joined(const Strings& fields, const Strings& defaults = {}) {
    std::string strJoined;
    for (const std::string& strField : fields) strJoined += strField;
    for (size_t n = fields.size(); n < defaults.size(); ++n) strJoined += defaults[n];
    return strJoined;
}

SettingsFileStatus TakeIdentity(std::string_view& strLeft) {
    const auto strMagic = Take(strLeft, kMagic.size());
    if (!strMagic) return SettingsFileStatus::NotOfProgram;
    if (*strMagic != kMagic) return SettingsFileStatus::WrongMagic;
    const auto strName = TakeField(strLeft, 't');
    if (!strName) return SettingsFileStatus::WrongName;
    const auto isSame = [](unsigned char ch, unsigned char chOther) {
        return std::tolower(ch) == std::tolower(chOther);
    };
    const bool bSame = std::ranges::equal(strName->substr(4), kName, isSame);
    return bSame ? SettingsFileStatus::Complete : SettingsFileStatus::WrongName;
}

bool TakeRecords(std::string_view& strLeft, FileParts* pParts) {
    const auto strCount = Take(strLeft, 4);
    if (!strCount) return false;
    pParts->nOperationsTold = static_cast<int32_t>(ValueOf(*strCount));
    for (int32_t i = 0; i < pParts->nOperationsTold; ++i) {
        Strings fields;
        if (!TakeFields(strLeft, kRecord, &fields)) return false;
        pParts->records.push_back(Joined(fields));
    }
    return true;
}

FileParts TakeApart(const std::string& strFile) {
    FileParts parts;
    std::string_view strLeft = strFile;
    parts.status = TakeIdentity(strLeft);
    if (parts.status != SettingsFileStatus::Complete) return parts;
    parts.bOtherVersion = Take(strLeft, kVersion.size()) != kVersion;
    const bool bWhole = Take(strLeft, kReservedBytes) && TakeFields(strLeft, kAhead, &parts.ahead) &&
                        TakeRecords(strLeft, &parts) && TakeFields(strLeft, kBehind, &parts.behind);
    if (!bWhole) parts.status = SettingsFileStatus::CutOff;
    return parts;
}

std::string PutTogether(const FileParts& parts, const FileParts& defaults) {
    return std::string(kMagic) + FourBytes(20) + std::string(kName) + std::string(kVersion) +
           std::string(kReservedBytes, '\0') + Joined(parts.ahead, defaults.ahead) + FourBytes(parts.records.size()) +
           Joined(parts.records) + Joined(parts.behind, defaults.behind);
}

std::string ImageOf(const AppSettings& settings) {
    const std::vector<uint8_t> image = BuildSettingsImage(settings);
    return {image.begin(), image.end()};
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
    Check(file.Read() == strImage, "a save writes the image");
    AppSettings again;
    const SettingsFileResult result = LoadSettingsFile(&again, file.Path());
    Check(result.status == SettingsFileStatus::Complete && !result.bOtherVersion, "what was saved is read as whole");
    CheckChain(again);
    Check(ImageOf(again) == strImage, "what was saved is read back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
    SetMessageHandler([](const Message&) { return true; });
    static const CFuzzFile file;
    static const FileParts defaults = TakeApart(ImageOf(AppSettings()));
    file.Write({pData, pData + nSize});
    AppSettings settings;
    const SettingsFileResult result = LoadSettingsFile(&settings, file.Path());
    const FileParts parts = TakeApart({pData, pData + nSize});
    CheckResult(result, parts);
    CheckChain(settings);
    const std::string strImage = ImageOf(settings);
    Check(strImage == PutTogether(parts, defaults), "what the file holds is kept, and the rest has its defaults");
    CheckSave(settings, strImage, file);
    return 0;
}
