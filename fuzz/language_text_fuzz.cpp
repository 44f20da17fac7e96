// Language texts of any content: as a file that the user named, and as a table with zones. The parser is compared with
// a second one, written after the description of the format.
#include <algorithm>
#include <cstring>
#include <map>
#include <vector>

#include "fuzz/fuzz.h"
#include "language/language_store.h"
#include "language/zones.h"
#include "log/log_format.h"
#include "platform/system/code_page.h"
#include "platform/system/message_box.h"

namespace {

using Slots = std::map<int64_t, std::string>;  // those that hold a text

constexpr char kMark[] = "\r\n[";

std::string ToAnsi(const std::vector<uint8_t>& bytes) {
    std::u16string strWide;
    for (size_t n = 1; n < bytes.size(); n += 2) {
        strWide += static_cast<char16_t>(bytes[n - 1] + 256 * bytes[n]);
    }
    std::string strAnsi;
    Check(WideToAnsi(strWide, &strAnsi), "a conversion finds memory");
    Check(strAnsi.size() == strWide.size(), "each unit becomes one byte");
    for (size_t n = 0; n < strAnsi.size(); ++n) {
        const auto bByte = static_cast<uint8_t>(strAnsi[n]);
        Check(strWide[n] < 0x80 ? bByte == strWide[n] : bByte >= 0x80, "ASCII stays, and nothing else becomes ASCII");
    }
    return strAnsi;
}

std::string WithoutEscapes(const std::string& strText) {
    const std::map<char, char> codes = {{'r', '\r'}, {'n', '\n'}, {'t', '\t'}, {'"', '"'}, {'\'', '\''}};
    std::string strResult;
    for (size_t n = 0; n < strText.size(); ++n) {
        const auto code = strText[n] == '\\' && n + 1 < strText.size() ? codes.find(strText[n + 1]) : codes.end();
        strResult += code == codes.end() ? strText[n] : code->second;
        if (code != codes.end()) ++n;
    }
    return strResult;
}

// Of the bytes behind a key. The last value of all ends in front of what fills up the file.
std::string ValueOf(const std::string& strBytes, bool bLast) {
    std::string strValue = WithoutEscapes(strBytes);
    while (bLast && !strValue.empty() && std::string("\r\n\t ").find(strValue.back()) != std::string::npos) {
        strValue.pop_back();
    }
    return strValue.c_str();
}

Slots Model(const std::string& strText) {
    Slots slots;
    for (size_t nAt = strText.find(kMark); nAt != std::string::npos;) {
        // A key ends at its bracket, even if that stands lines further on.
        const size_t nKey = nAt + std::strlen(kMark);
        const size_t nKeyEnd = strText.find(']', nKey);
        if (nKeyEnd == std::string::npos) break;
        nAt = strText.find(kMark, nKeyEnd);
        const std::string strKey = strText.substr(nKey, nKeyEnd - nKey);
        if (strKey.find_first_of("0123456789") == std::string::npos) break;
        const int64_t nSlot = std::strtoll(strKey.c_str(), nullptr, 10);
        if (nSlot < 0 || nSlot >= kSlotCount) continue;
        const size_t nEnd = std::min(nAt, strText.size());
        const size_t nValue = std::min(nKeyEnd + 2, nEnd);
        slots[nSlot] = ValueOf(strText.substr(nValue, nEnd - nValue), nAt == std::string::npos);
    }
    return slots;
}

void CheckTable(const TextTable& table, const Slots& expected) {
    for (uint32_t nSlot = 0; nSlot < kSlotCount; ++nSlot) {
        const std::string& strText = table.Text(nSlot);
        Check(strText.c_str()[strText.size()] == 0 && strText.find('\0') == std::string::npos,
              "a text ends at a zero byte");
        const auto entry = expected.find(nSlot);
        Check(entry == expected.end() ? strText.empty() : strText == entry->second,
              "a slot holds what the format says");
    }
    for (const uint32_t nSlot : {kSlotCount, kSlotCount + 1, UINT32_MAX}) {
        Check(table.Text(nSlot).empty(), "a number outside the table reads as the empty text");
    }
}

// What the program expands: the default templates of the log, here for an ended session.
void CheckLogTexts(const TextTable& table) {
    if (table.Text(31).empty()) return;
    LogEvent event;
    event.strEvent = table.Text(134);
    event.strRemoteHost = table.Text(119);
    event.strProtocol = "UDP";
    const std::string strLine = FormatLogEntry(table.Text(31), table.Text(30), event, {2006, 3, 4, 13, 5, 9, 42});
    Check(strLine.size() <= kMaxLogLine, "a line is no longer than a line may be");
}

void CheckFile(const std::vector<uint8_t>& bytes, const std::string& strText) {
    // Nothing in the file means English, which other tests see to.
    if (bytes.empty()) return;
    static const CFuzzFile file;
    file.Write(bytes);
    TextTable table;
    LoadLanguageStrings(&table, nullptr, file.Path().c_str());
    CheckTable(table, Model(strText));
    CheckLogTexts(table);
}

void CheckZone(const std::vector<uint8_t>& bytes, std::string strText) {
    if (!strText.empty()) strText.pop_back();
    TextTable table;
    LoadLanguageZone(&table, kEnglishZone, bytes);
    const size_t nLabel = strText.find(kEnglishZone);
    CheckTable(table, nLabel == std::string::npos ? Slots() : Model(strText.substr(nLabel + sizeof kEnglishZone - 1)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
    SetMessageHandler([](const Message&) { return true; });
    const std::vector<uint8_t> bytes(pData, pData + nSize);
    const std::string strText = ToAnsi(bytes);
    CheckFile(bytes, strText);
    CheckZone(bytes, strText);
    return 0;
}
