#include "platform/mfc/dialog_template.h"

#include <algorithm>

namespace {

// Both forms, little-endian. DLGTEMPLATE: style 4, extended style 4, count 2, x, y, cx, cy 2 each. DLGTEMPLATEEX:
// version 2 (1), signature 2 (FFFF), help id 4, extended style 4, style 4, count 2, x, y, cx, cy 2 each. Then menu,
// window class and title, each a zero-ended text, where menu and class may be FFFF and a number instead. Then, with
// DS_SETFONT, the point size 2, in the extended form weight 2, italic 1 and character set 1, and the face. Controls
// follow at the next multiple of 4.
constexpr size_t kHeadSize = 18;
constexpr size_t kExtendedHeadSize = 26;
constexpr size_t kStyle = 0;
constexpr size_t kExtendedStyle = 12;
constexpr uint16_t kOrdinal = 0xFFFF;

/// Walks the head unit by unit; every step fails once the bytes are at their end.
class CHeadReader {
  public:
    CHeadReader(const std::vector<uint8_t>& bytes, size_t nPosition) : m_bytes(bytes), m_nPosition(nPosition) {}

    bool Read(uint16_t* pwUnit) {
        if (m_nPosition + 2 > m_bytes.size()) return false;
        *pwUnit = static_cast<uint16_t>(m_bytes[m_nPosition] | m_bytes[m_nPosition + 1] << 8);
        m_nPosition += 2;
        return true;
    }
    bool SkipText() {
        uint16_t wUnit = 0;
        do {
            if (!Read(&wUnit)) return false;
        } while (wUnit != 0);
        return true;
    }
    bool SkipTextOrNumber() {
        uint16_t wUnit = 0;
        if (!Read(&wUnit)) return false;
        if (wUnit == kOrdinal) return Read(&wUnit);
        return wUnit == 0 || SkipText();
    }
    size_t Position() const { return m_nPosition; }

  private:
    const std::vector<uint8_t>& m_bytes;
    size_t m_nPosition;
};

size_t AlignToControl(size_t nPosition) {
    return (nPosition + 3) & ~size_t{3};
}

void AppendUnit(std::vector<uint8_t>* pBytes, uint16_t wUnit) {
    pBytes->push_back(static_cast<uint8_t>(wUnit & 0xFF));
    pBytes->push_back(static_cast<uint8_t>(wUnit >> 8));
}

/// Empty when the text cannot be converted.
std::wstring WideFromAnsi(const std::string& strText) {
    const int nSize = static_cast<int>(strText.size());
    std::wstring strWide(strText.size(), L'\0');
    const int nLength = MultiByteToWideChar(CP_ACP, 0, strText.data(), nSize, strWide.data(), nSize);
    strWide.resize(static_cast<size_t>(std::max(nLength, 0)));
    return strWide;
}

}  // namespace

bool CDialogTemplate::Load(UINT nTemplate) {
    m_bytes.clear();
    const HRSRC hResource = FindResourceA(nullptr, MAKEINTRESOURCEA(nTemplate), RT_DIALOG);
    const HGLOBAL hData = hResource ? LoadResource(nullptr, hResource) : nullptr;
    const void* pData = hData ? LockResource(hData) : nullptr;
    if (!pData) return false;
    return Load(std::span(static_cast<const uint8_t*>(pData), SizeofResource(nullptr, hResource)));
}

bool CDialogTemplate::Load(std::span<const uint8_t> bytes) {
    m_bytes.assign(bytes.begin(), bytes.end());
    Head head;
    if (ReadHead(&head)) return true;
    m_bytes.clear();
    return false;
}

bool CDialogTemplate::ReadHead(Head* pHead) const {
    if (m_bytes.size() < kHeadSize) return false;
    pHead->bExtended = m_bytes[0] == 1 && m_bytes[1] == 0 && m_bytes[2] == 0xFF && m_bytes[3] == 0xFF;
    pHead->nStyle = pHead->bExtended ? kExtendedStyle : kStyle;
    CHeadReader reader(m_bytes, pHead->bExtended ? kExtendedHeadSize : kHeadSize);
    if (!reader.SkipTextOrNumber() || !reader.SkipTextOrNumber() || !reader.SkipText()) return false;
    pHead->nFont = pHead->nFace = pHead->nHeadEnd = reader.Position();
    pHead->bHasFont = (m_bytes[pHead->nStyle] & DS_SETFONT) != 0;
    if (!pHead->bHasFont) return true;
    uint16_t wUnit = 0;
    const int nUnits = pHead->bExtended ? 3 : 1;
    for (int i = 0; i < nUnits; ++i) {
        if (!reader.Read(&wUnit)) return false;
    }
    pHead->nFace = reader.Position();
    if (!reader.SkipText()) return false;
    pHead->nHeadEnd = reader.Position();
    return true;
}

bool CDialogTemplate::SetFont(const std::string& strFace, WORD wPoints) {
    Head head;
    const std::wstring strWide = WideFromAnsi(strFace);
    if (!ReadHead(&head) || strWide.empty()) return false;
    const auto at = [this](size_t n) { return m_bytes.begin() + static_cast<ptrdiff_t>(n); };
    std::vector<uint8_t> altered(m_bytes.begin(), at(head.nFont));
    altered[head.nStyle] |= DS_SETFONT;
    AppendUnit(&altered, wPoints);
    if (head.bHasFont) {
        altered.insert(altered.end(), at(head.nFont + 2), at(head.nFace));
    } else if (head.bExtended) {
        AppendUnit(&altered, FW_DONTCARE);
        AppendUnit(&altered, DEFAULT_CHARSET << 8);  // not italic
    }
    for (const wchar_t ch : strWide) AppendUnit(&altered, ch);
    AppendUnit(&altered, 0);
    altered.resize(AlignToControl(altered.size()));
    altered.insert(altered.end(), at(std::min(AlignToControl(head.nHeadEnd), m_bytes.size())), m_bytes.end());
    m_bytes.swap(altered);
    return true;
}

std::wstring CDialogTemplate::FontFace() const {
    Head head;
    std::wstring strFace;
    if (!ReadHead(&head) || !head.bHasFont) return strFace;
    CHeadReader reader(m_bytes, head.nFace);
    uint16_t wUnit = 0;
    while (reader.Read(&wUnit) && wUnit != 0) strFace.push_back(static_cast<wchar_t>(wUnit));
    return strFace;
}

WORD CDialogTemplate::FontPoints() const {
    Head head;
    uint16_t wPoints = 0;
    if (!ReadHead(&head) || !head.bHasFont) return 0;
    return CHeadReader(m_bytes, head.nFont).Read(&wPoints) ? wPoints : WORD{0};
}

const DLGTEMPLATE* CDialogTemplate::Get() const {
    // The vector's memory is aligned for any type, as the system wants it.
    return m_bytes.empty() ? nullptr : reinterpret_cast<const DLGTEMPLATE*>(m_bytes.data());
}
