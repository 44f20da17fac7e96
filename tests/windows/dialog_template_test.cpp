// Dialog templates with another font, byte by byte.
#include "platform/mfc/dialog_template.h"

#include <gmock/gmock.h>

#include "resources/resource.h"

namespace {

using Bytes = std::vector<uint8_t>;

void AddUnit(Bytes* pBytes, unsigned nUnit) {
    pBytes->push_back(static_cast<uint8_t>(nUnit & 0xFF));
    pBytes->push_back(static_cast<uint8_t>(nUnit >> 8));
}

void AddText(Bytes* pBytes, const std::wstring& strText) {
    for (const wchar_t ch : strText) AddUnit(pBytes, ch);
    AddUnit(pBytes, 0);
}

struct Shape {
    bool bExtended;
    std::wstring strFace;  // empty: no font
    std::wstring strTitle;
};

const Bytes kControls = {0xC0, 0xC1, 0xC2, 0xC3, 0xC4, 0xC5, 0xC6, 0xC7};

/// The head as the resource compiler writes it, with a numbered menu, a named class and no controls.
Bytes Head(const Shape& shape) {
    Bytes bytes;
    const unsigned nStyle = shape.strFace.empty() ? 0 : DS_SETFONT;
    if (shape.bExtended) {
        for (const unsigned nUnit : {1u, 0xFFFFu, 0u, 0u, 0u, 0u}) AddUnit(&bytes, nUnit);
        for (const unsigned nUnit : {nStyle, 0x80C8u}) AddUnit(&bytes, nUnit);
    } else {
        for (const unsigned nUnit : {nStyle, 0x80C8u, 0u, 0u}) AddUnit(&bytes, nUnit);
    }
    for (const unsigned nUnit : {1u, 0u, 0u, 100u, 50u}) AddUnit(&bytes, nUnit);
    for (const unsigned nUnit : {0xFFFFu, 7u}) AddUnit(&bytes, nUnit);
    AddText(&bytes, L"Class");
    AddText(&bytes, shape.strTitle);
    if (shape.strFace.empty()) return bytes;
    AddUnit(&bytes, 8);
    if (shape.bExtended) {
        AddUnit(&bytes, 700);
        AddUnit(&bytes, 0xCC01);
    }
    AddText(&bytes, shape.strFace);
    return bytes;
}

Bytes WithControls(Bytes bytes) {
    bytes.resize((bytes.size() + 3) / 4 * 4);
    bytes.insert(bytes.end(), kControls.begin(), kControls.end());
    return bytes;
}

TEST(DialogTemplateTest, NewFontKeepsHeadAndControls) {
    for (const bool bExtended : {false, true}) {
        for (const std::wstring strFace : {L"MS Sans Serif", L"Ab", L""}) {
            for (const std::wstring strTitle : {L"", L"T", L"Ti"}) {
                SCOPED_TRACE(testing::Message() << bExtended << strFace.size() << strTitle.size());
                const Bytes before = WithControls(Head({bExtended, strFace, strTitle}));
                Bytes expected = Head({bExtended, L"Tahoma", strTitle});
                const size_t nPoints = expected.size() - 14 - (bExtended ? 6 : 2);
                expected[nPoints] = 10;
                if (bExtended && strFace.empty()) {
                    // Added, not replaced: any weight, upright, default character set.
                    const Bytes plain = {0, 0, 0, 1};
                    std::copy(plain.begin(), plain.end(), expected.begin() + static_cast<ptrdiff_t>(nPoints) + 2);
                }
                expected = WithControls(expected);

                CDialogTemplate dialogTemplate;
                ASSERT_TRUE(dialogTemplate.Load(before));
                EXPECT_EQ(dialogTemplate.FontFace(), strFace);
                EXPECT_EQ(dialogTemplate.FontPoints(), strFace.empty() ? 0 : 8);
                ASSERT_TRUE(dialogTemplate.SetFont("Tahoma", 10));
                EXPECT_EQ(dialogTemplate.FontFace(), L"Tahoma");
                EXPECT_EQ(dialogTemplate.FontPoints(), 10);
                const auto* pBytes = reinterpret_cast<const uint8_t*>(dialogTemplate.Get());
                EXPECT_EQ(Bytes(pBytes, pBytes + expected.size()), expected);
            }
        }
    }
}

TEST(DialogTemplateTest, CutOffHeadIsRefused) {
    for (const bool bExtended : {false, true}) {
        const Bytes whole = Head({bExtended, L"MS Sans Serif", L"Title"});
        CDialogTemplate dialogTemplate;
        for (size_t nSize = 0; nSize < whole.size(); ++nSize) {
            EXPECT_FALSE(dialogTemplate.Load(std::span(whole).first(nSize))) << nSize;
            EXPECT_EQ(dialogTemplate.Get(), nullptr);
            EXPECT_FALSE(dialogTemplate.SetFont("Tahoma", 10));
        }
        EXPECT_TRUE(dialogTemplate.Load(whole));
    }
}

TEST(DialogTemplateTest, ProgramsTemplatesNameTheirFonts) {
    CDialogTemplate dialogTemplate;
    for (const UINT nTemplate : {IDD_MAIN, IDD_PFO_OPTIONS, IDD_LONG_MESSAGE}) {
        ASSERT_TRUE(dialogTemplate.Load(nTemplate)) << nTemplate;
        EXPECT_EQ(dialogTemplate.FontFace(), L"MS Sans Serif");
        EXPECT_EQ(dialogTemplate.FontPoints(), 8);
    }
    ASSERT_TRUE(dialogTemplate.Load(IDD_LANGUAGE));
    EXPECT_EQ(dialogTemplate.FontFace(), L"Tahoma");
    EXPECT_EQ(dialogTemplate.FontPoints(), 10);
}

}  // namespace
