#include "platform/mfc/dialog_template.h"

#include <algorithm>
#include <cstring>

namespace {

// DLGTEMPLATE in units of 16 bits: style 2, extended style 2, count, x, y, cx, cy; DLGTEMPLATEEX has 1 and FFFF in front.
// Then menu, window class and title, each a zero-ended text, where menu and class may be FFFF and a number instead. Then,
// with DS_SETFONT, the point size and the face. Controls follow at the next multiple of 2.
constexpr size_t kHeadSize = 9;
constexpr uint16_t kMark = 0xFFFF;

size_t AlignToControl(size_t nPosition) {
    return (nPosition + 1) & ~size_t{1};
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
    m_units.clear();
    const HRSRC hResource = FindResourceA(nullptr, MAKEINTRESOURCEA(nTemplate), RT_DIALOG);
    const HGLOBAL hData = hResource ? LoadResource(nullptr, hResource) : nullptr;
    const void* pData = hData ? LockResource(hData) : nullptr;
    if (!pData) return false;
    const size_t nSize = SizeofResource(nullptr, hResource);
    m_units.resize((nSize + 1) / 2);
    std::memcpy(m_units.data(), pData, nSize);
    if (Unit(1) != kMark && (Unit(0) & DS_SETFONT) != 0) return true;
    m_units.clear();
    return false;
}

size_t CDialogTemplate::BehindText(size_t nPosition) const {
    if (Unit(nPosition) == kMark) return nPosition + 2;
    while (Unit(nPosition) != 0) ++nPosition;
    return nPosition + 1;
}

/// Where the point size stands.
size_t CDialogTemplate::Font() const {
    const size_t nTitle = BehindText(BehindText(kHeadSize));
    return BehindText(nTitle);
}

bool CDialogTemplate::SetFont(const std::string& strFace, WORD wPoints) {
    const std::wstring strWide = WideFromAnsi(strFace);
    const size_t nFont = Font();
    if (nFont >= m_units.size() || strWide.empty()) return false;
    const size_t nControls = std::min(AlignToControl(BehindText(nFont + 1)), m_units.size());
    std::vector<uint16_t> altered(m_units.begin(), m_units.begin() + static_cast<ptrdiff_t>(nFont));
    altered.push_back(wPoints);
    altered.insert(altered.end(), strWide.begin(), strWide.end());
    altered.push_back(0);
    altered.resize(AlignToControl(altered.size()));
    altered.insert(altered.end(), m_units.begin() + static_cast<ptrdiff_t>(nControls), m_units.end());
    m_units.swap(altered);
    return true;
}

const DLGTEMPLATE* CDialogTemplate::Get() const {
    // The vector's memory is aligned for any type, as the system wants it.
    return m_units.empty() ? nullptr : reinterpret_cast<const DLGTEMPLATE*>(m_units.data());
}
