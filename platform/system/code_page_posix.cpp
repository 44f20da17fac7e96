#include "platform/system/code_page.h"

#include <iconv.h>

#include <new>

namespace {

constexpr char kUnshowable = '\xBF';

// One conversion descriptor a call: descriptors hold state and are not shared by threads.
class CConverter {
  public:
    CConverter() : m_hConverter(iconv_open("WINDOWS-1252", "UTF-16LE")) {}
    ~CConverter() {
        if (IsOpen()) iconv_close(m_hConverter);
    }
    CConverter(const CConverter&) = delete;
    CConverter& operator=(const CConverter&) = delete;

    bool IsOpen() const { return m_hConverter != reinterpret_cast<iconv_t>(-1); }

    // The byte for one unit; false when the code page has none.
    bool Convert(char16_t wUnit, char* pchByte) {
        char in[2] = {static_cast<char>(wUnit & 0xFF), static_cast<char>(wUnit >> 8)};
        char* pIn = in;
        char* pOut = pchByte;
        size_t nIn = sizeof in;
        size_t nOut = 1;
        iconv(m_hConverter, nullptr, nullptr, nullptr, nullptr);
        return iconv(m_hConverter, &pIn, &nIn, &pOut, &nOut) == 0 && nOut == 0;
    }

  private:
    iconv_t m_hConverter;
};

// The five bytes that the code page leaves undefined stand for the control characters of the same numbers, as on Windows.
bool IsOwnByte(char16_t wUnit) {
    return wUnit < 0x80 || wUnit == 0x81 || wUnit == 0x8D || wUnit == 0x8F || wUnit == 0x90 || wUnit == 0x9D;
}

}  // namespace

bool WideToAnsi(std::u16string_view strWide, std::string* pstrAnsi) try {
    pstrAnsi->clear();
    CConverter converter;
    if (!converter.IsOpen()) return false;
    pstrAnsi->reserve(strWide.size());
    for (const char16_t wUnit : strWide) {
        char chByte = kUnshowable;
        if (IsOwnByte(wUnit)) {
            chByte = static_cast<char>(wUnit);
        } else if (!converter.Convert(wUnit, &chByte)) {
            chByte = kUnshowable;
        }
        pstrAnsi->push_back(chByte);
    }
    return true;
} catch (const std::bad_alloc&) {
    pstrAnsi->clear();
    return false;
}

bool IsLeadByte(char /*ch*/) {
    return false;
}
