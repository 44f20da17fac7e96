#include "fuzz/settings_model.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>

namespace {

// b, w, d: 1, 2 and 4 bytes; t: a text; r: a list of ranges.
constexpr char kIdentity[] = "dd";
constexpr char kReserved[] = "dddd";
constexpr char kAhead[] =
    "dbt"
    "ddddd"
    "dddddd"
    "dddddd";
constexpr char kRecord[] = "bdbbtdwtwddbbrr";
constexpr char kBehind[] =
    "ttbbbwwdd"
    "bbbbb"
    "ttttt"
    "dbb"
    "tttd"
    "ttd"
    "bbbb"
    "t";

constexpr std::string_view kMagic = "\x7C\x55\xD3\x92\x6E\x94\x45\x48\xA5\x51\xF5\xF1\xD0\xAF\xE4\x40";
constexpr std::string_view kName = "velmoorstack zelkor";
constexpr std::string_view kVersion = std::string_view("\1\0\0\0\0\0\0\0", 8);

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
bool TakeFields(std::string_view* pstrLeft, std::string_view strLayout, std::vector<std::string>* pFields) {
    for (const char chType : strLayout) {
        auto strField = TakeField(pstrLeft, chType);
        if (!strField) return false;
        pFields->push_back(std::move(*strField));
    }
    return true;
}

std::string Joined(const std::vector<std::string>& fields, const std::vector<std::string>& defaults = {}) {
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
    std::transform(strName->begin(), strName->end(), strName->begin(),
                   [](unsigned char ch) { return static_cast<char>(std::tolower(ch)); });
    return strName->substr(4) == std::string(kName) + '\0' ? SettingsFileStatus::Complete
                                                           : SettingsFileStatus::WrongName;
}

bool TakeRecords(std::string_view* pstrLeft, FileParts* pParts) {
    const auto strCount = Take(pstrLeft, 4);
    if (!strCount) return false;
    pParts->nOperationsTold = static_cast<int32_t>(ValueOf(*strCount));
    for (int32_t i = 0; i < pParts->nOperationsTold; ++i) {
        std::vector<std::string> fields;
        if (!TakeFields(pstrLeft, kRecord, &fields)) return false;
        pParts->records.push_back(Joined(fields));
    }
    return true;
}

bool TakeContent(std::string_view* pstrLeft, FileParts* pParts) {
    std::vector<std::string> reserved;
    return TakeFields(pstrLeft, kReserved, &reserved) && TakeFields(pstrLeft, kAhead, &pParts->ahead) &&
           TakeRecords(pstrLeft, pParts) && TakeFields(pstrLeft, kBehind, &pParts->behind);
}

}  // namespace

FileParts TakeApart(const std::string& strFile) {
    FileParts parts;
    std::string_view strLeft = strFile;
    parts.status = TakeIdentity(&strLeft);
    if (parts.status != SettingsFileStatus::Complete) return parts;
    std::vector<std::string> version;
    parts.bOtherVersion = !TakeFields(&strLeft, kIdentity, &version) || Joined(version) != kVersion;
    if (!TakeContent(&strLeft, &parts)) parts.status = SettingsFileStatus::CutOff;
    return parts;
}

std::string PutTogether(const FileParts& parts, const FileParts& defaults) {
    const std::string strName = "Velmoorstack ZELKOR";
    return std::string(kMagic) + FourBytes(20) + strName + '\0' + std::string(kVersion) + std::string(16, '\0') +
           Joined(parts.ahead, defaults.ahead) + FourBytes(static_cast<uint32_t>(parts.records.size())) +
           Joined(parts.records) + Joined(parts.behind, defaults.behind);
}
