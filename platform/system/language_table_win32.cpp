#include "platform/system/language_table.h"

#include "platform/system/windows_api.h"
#include "resources/resource.h"

std::span<const uint8_t> LanguageTableResource() {
    const HRSRC hFound = FindResourceA(nullptr, MAKEINTRESOURCEA(IDR_LANGUAGE_TABLE), "TEXT");
    const DWORD dwSize = hFound == nullptr ? 0 : SizeofResource(nullptr, hFound);
    const HGLOBAL hLoaded = dwSize == 0 ? nullptr : LoadResource(nullptr, hFound);
    const void* const pBytes = hLoaded == nullptr ? nullptr : LockResource(hLoaded);
    if (pBytes == nullptr) return {};
    return {static_cast<const uint8_t*>(pBytes), dwSize};
}
