#include "store/file_text.h"

#include <algorithm>
#include <new>

#include "store/byte_reader.h"
#include "store/byte_writer.h"
#include "store/settings_format.h"

bool ReadFileText(std::string* pstrText, CByteReader* pReader) try {
    int32_t nCount = 0;
    std::span<const uint8_t> field;
    if (!pReader->ReadInt(&nCount) || nCount < kMinTextCount || nCount > kMaxTextCount) return false;
    if (!pReader->ReadBytes(static_cast<size_t>(nCount), &field)) return false;
    pstrText->assign(field.begin(), std::find(field.begin(), field.end(), uint8_t{0}));
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

void WriteFileText(std::string_view strText, CByteWriter* pWriter) {
    const size_t nLength = std::min(strText.find('\0'), strText.size());
    const std::string_view strStored = strText.substr(0, std::min(nLength, size_t{kMaxTextCount - 1}));
    pWriter->WriteInt(static_cast<int32_t>(strStored.size() + 1));
    pWriter->WriteBytes(strStored.data(), strStored.size());
    pWriter->WriteByte(0);
}
