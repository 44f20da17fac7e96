#include "language/language_parser.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

#include "platform/system/code_page.h"

namespace {

constexpr char kEntryMark[] = "\r\n[";
constexpr size_t kNone = std::string::npos;

// Where a key's closing bracket stands, from nFrom on. Steps over two-byte characters whole, as ReplaceEscape does: the
// second byte of one can look like a bracket or a backslash.
size_t FindKeyEnd(const std::string& strText, size_t nFrom) {
    for (size_t n = nFrom; n < strText.size(); ++n) {
        if (strText[n] == ']') return n;
        if (IsLeadByte(strText[n])) ++n;
    }
    return kNone;
}

void ReplaceEscape(std::string* pstrText, char chCode, char chNew) {
    size_t nOut = 0;
    for (size_t n = 0; n < pstrText->size(); ++n) {
        char ch = (*pstrText)[n];
        const bool bPair = n + 1 < pstrText->size();
        if (bPair && IsLeadByte(ch)) {
            (*pstrText)[nOut++] = ch;
            ch = (*pstrText)[++n];
        } else if (bPair && ch == '\\' && (*pstrText)[n + 1] == chCode) {
            ch = chNew;
            ++n;
        }
        (*pstrText)[nOut++] = ch;
    }
    pstrText->resize(nOut);
}

void ReplaceEscapes(std::string* pstrText) {
    ReplaceEscape(pstrText, 'r', '\r');
    ReplaceEscape(pstrText, 'n', '\n');
    ReplaceEscape(pstrText, 't', '\t');
    ReplaceEscape(pstrText, '"', '"');
    ReplaceEscape(pstrText, '\'', '\'');
}

void CutTrailingBlanks(std::string* pstrText) {
    const size_t nLast = pstrText->find_last_not_of("\r\n \t");
    pstrText->resize(nLast == kNone ? 0 : nLast + 1);
}

// A key with digits behind other characters names slot 0. A number that is too large stays too large for any table.
int64_t ReadSlotNumber(const std::string& strKey) {
    return std::strtoll(strKey.c_str(), nullptr, 10);
}

void StoreText(const std::string& strKey, std::string strText, TextTable* pTable) {
    const int64_t nSlot = ReadSlotNumber(strKey);
    if (nSlot >= 0 && nSlot < kSlotCount) pTable->SetText(static_cast<uint32_t>(nSlot), std::move(strText));
}

// One entry, whose key begins here and which ends at nNext (kNone: at the end of the text). False: it ends the parse.
bool ParseEntry(const std::string& strText, size_t nKey, size_t nKeyEnd, size_t nNext, TextTable* pTable) try {
    const std::string strKey = strText.substr(nKey, nKeyEnd - nKey);
    if (strKey.find_first_of("0123456789") == kNone) return false;
    // The character behind the bracket is skipped, whatever it is.
    const size_t nBegin = nKeyEnd + 2;
    const size_t nEnd = nNext == kNone ? strText.size() : nNext;
    std::string strValue = nBegin < nEnd ? strText.substr(nBegin, nEnd - nBegin) : std::string();
    ReplaceEscapes(&strValue);
    if (nNext == kNone) CutTrailingBlanks(&strValue);
    // A text ends at its first zero byte, as everywhere in the program.
    strValue.resize(std::min(strValue.size(), strValue.find('\0')));
    StoreText(strKey, std::move(strValue), pTable);
    return true;
} catch (const std::bad_alloc&) {
    return true;
}

}  // namespace

void ParseLanguageTexts(const std::string& strText, size_t nStart, TextTable* pTable) {
    size_t nMark = strText.find(kEntryMark, nStart);
    while (nMark != kNone) {
        const size_t nKey = nMark + sizeof kEntryMark - 1;
        const size_t nKeyEnd = FindKeyEnd(strText, nKey);
        if (nKeyEnd == kNone) return;
        nMark = strText.find(kEntryMark, nKeyEnd + 1);
        if (!ParseEntry(strText, nKey, nKeyEnd, nMark, pTable)) return;
    }
}

size_t FindZone(const std::string& strText, std::string_view strLabel) {
    const size_t nAt = strText.find(strLabel);
    return nAt == kNone ? kNone : nAt + strLabel.size();
}
