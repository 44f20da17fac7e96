#include "platform/system/language_table.h"

// resources/language_table.S.in
extern "C" const uint8_t zelkor_language_table_begin[];
extern "C" const uint8_t zelkor_language_table_end[];

std::span<const uint8_t> LanguageTableResource() {
    return {zelkor_language_table_begin, zelkor_language_table_end};
}
