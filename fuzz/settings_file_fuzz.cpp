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
constexpr char kIdentity[] = "dd";
constexpr char kReserved[] = "dddd";
constexpr char kAhead[] = "dbtddddddddddddddddd";
constexpr char kRecord[] = "bdbbtdwtwddbbrr";
constexpr char kBehind[] = "ttbbbwwddbbbbbtttttdbbtttdttdbbbbt";

constexpr std::string_view kMagic = "\x7C\x55\xD3\x92\x6E\x94\x45\x48\xA5\x51\xF5\xF1\xD0\xAF\xE4\x40";
constexpr std::string_view kName("Velmoorstack ZELKOR\0", 20);
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

std::string FourBytes(uint32_t nValue) {
    std::string strBytes;
    for (int nBit = 0; nBit < 32; nBit += 8) strBytes += static_cast<char>(nValue >> nBit & 0xFF);
    return strBytes;
}

uint32_t ValueOf(std::string_view strBytes) {
    uint32_t nValue = 0;
    for (size_t n = strBytes.size(); n-- > 0;) nValue = nValue << 8 | static_cast<uint8_t>(strBytes[n]);
    return nValue;
}

std::optional<std::string> Take(std::string_view* pstrLeft, size_t nSize) {
    if (pstrLeft->size() < nSize) return {};
    std::string strTaken(pstrLeft->substr(0, nSize));
    pstrLeft->remove_prefix(nSize);
    return strTaken;
}

std::optional<std::string> TakeText(std::string_view* pstrLeft) {
    const auto strCount = Take(pstrLeft, 4);
    if (!strCount || ValueOf(*strCount) == 0 || ValueOf(*strCount) > 1'000'000) return {};
    auto strText = Take(pstrLeft, ValueOf(*strCount));
    if (!strText) return {};
    strText->resize(std::min(strText->find('\0'), strText->size()));
    return FourBytes(static_cast<uint32_t>(strText->size() + 1)) + *strText + '\0';
}

std::optional<std::string> TakeRanges(std::string_view* pstrLeft) {
    const auto strSize = Take(pstrLeft, 4);
    if (!strSize || ValueOf(*strSize) % 8 != 0) return {};
    auto strRanges = Take(pstrLeft, ValueOf(*strSize));
    if (!strRanges) return {};
    for (size_t n = 0; n < strRanges->size(); n += 8) {
        if (ValueOf(std::string_view(*strRanges).substr(n, 4)) == 0) strRanges->resize(n);
    }
    return FourBytes(static_cast<uint32_t>(strRanges->size())) + *strRanges;
}

std::optional<std::string> TakeField(std::string_view* pstrLeft, char chType) {
    if (chType == 't') return TakeText(pstrLeft);
    if (chType == 'r') return TakeRanges(pstrLeft);
    return Take(pstrLeft, chType == 'b' ? 1 : chType == 'w' ? 2 : 4);
}

// False when a field is not whole; those in front of it are.
bool TakeFields(std::string_view* pstrLeft, std::string_view strLayout, Strings* pFields) {
    for (const char chType : strLayout) {
        auto strField = TakeField(pstrLeft, chType);
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

SettingsFileStatus TakeIdentity(std::string_view* pstrLeft) {
    const auto strMagic = Take(pstrLeft, kMagic.size());
    if (!strMagic) return SettingsFileStatus::NotOfProgram;
    if (*strMagic != kMagic) return SettingsFileStatus::WrongMagic;
    auto strName = TakeText(pstrLeft);
    if (!strName) return SettingsFileStatus::WrongName;
    const auto isSame = [](unsigned char ch, unsigned char chOther) {
        return std::tolower(ch) == std::tolower(chOther);
    };
    const bool bSame = std::ranges::equal(strName->substr(4), kName, isSame);
    return bSame ? SettingsFileStatus::Complete : SettingsFileStatus::WrongName;
}

bool TakeRecords(std::string_view* pstrLeft, FileParts* pParts) {
    const auto strCount = Take(pstrLeft, 4);
    if (!strCount) return false;
    pParts->nOperationsTold = static_cast<int32_t>(ValueOf(*strCount));
    for (int32_t i = 0; i < pParts->nOperationsTold; ++i) {
        Strings fields;
        if (!TakeFields(pstrLeft, kRecord, &fields)) return false;
        pParts->records.push_back(Joined(fields));
    }
    return true;
}

bool TakeContent(std::string_view* pstrLeft, FileParts* pParts) {
    Strings reserved;
    return TakeFields(pstrLeft, kReserved, &reserved) && TakeFields(pstrLeft, kAhead, &pParts->ahead) &&
           TakeRecords(pstrLeft, pParts) && TakeFields(pstrLeft, kBehind, &pParts->behind);
}

FileParts TakeApart(const std::string& strFile) {
    FileParts parts;
    std::string_view strLeft = strFile;
    parts.status = TakeIdentity(&strLeft);
    if (parts.status != SettingsFileStatus::Complete) return parts;
    Strings version;
    parts.bOtherVersion = !TakeFields(&strLeft, kIdentity, &version) || Joined(version) != kVersion;
    if (!TakeContent(&strLeft, &parts)) parts.status = SettingsFileStatus::CutOff;
    return parts;
}

std::string PutTogether(const FileParts& parts, const FileParts& defaults) {
    return std::string(kMagic) + FourBytes(20) + std::string(kName) + std::string(kVersion) + std::string(16, '\0') +
           Joined(parts.ahead, defaults.ahead) + FourBytes(static_cast<uint32_t>(parts.records.size())) +
           Joined(parts.records) + Joined(parts.behind, defaults.behind);
}

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
    Check(file.Read() == strImage, "a save writes the image");
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
