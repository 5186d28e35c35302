// Small operations on NUL-terminated strings. Character classes are those of the "C" locale
// (ctype.h), so only ASCII letters change case.
#include <cstdlib>
#include <cstring>

#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "text/ctype.h"
#include "text/trim.h"

i32 wiq_struct_str(const void* src, u64 width, char** block, u64* size, bool trim) {
    if (block == nullptr || (src == nullptr && width != 0))
        return WIQ_ERR_INVALID_ARG;
    char* old = nullptr;
    if (size == nullptr || *block == nullptr || width >= *size) {
        // The old block is freed only at the end, since the field may lie in it. A width to which 1
        // cannot be added exceeds any memory.
        old = *block;
        *block = width == UINT64_MAX ? nullptr : static_cast<char*>(malloc(width + 1));
        if (*block == nullptr)
            return WIQ_ERR_NO_MEMORY;
        if (size != nullptr)
            *size = width + 1;
    }
    const char* text = static_cast<const char*>(src);
    std::string_view field(text, wiq_strnlen(text, width));
    if (trim)
        field = ke::trimmed(field);
    if (!field.empty())
        memmove(*block, field.data(), field.size());  // the field may lie in the block
    (*block)[field.size()] = '\0';
    free(old);
    return 0;
}

void trim_in_place(char* str) {
    if (str == nullptr)
        return;
    const std::string_view text = ke::trimmed(str);
    memmove(str, text.data(), text.size());
    str[text.size()] = '\0';
}

char* wiq_upper_all(char* str) {
    for (char* p = str; p != nullptr && *p != '\0'; ++p)
        *p = ke::to_upper(*p);
    return str;
}

char* wiq_upper_first(char* str) {
    bool starts_word = true;
    for (char* p = str; p != nullptr && *p != '\0'; ++p) {
        if (starts_word)
            *p = ke::to_upper(*p);
        starts_word = *p == ' ';
    }
    return str;
}

char* wiq_strchr_replace(char* str, char from, char to) {
    for (char* p = str; p != nullptr && *p != '\0'; ++p) {
        if (*p == from)
            *p = to;
    }
    return str;
}

u64 wiq_strnlen(const char* str, u64 max) {
    if (str == nullptr || max == 0)
        return 0;
    const void* end = memchr(str, '\0', max);
    return end == nullptr ? max : static_cast<u64>(static_cast<const char*>(end) - str);
}

i32 wiq_strcasecmp(const char* a, const char* b) {
    if (a == nullptr || b == nullptr)
        return static_cast<i32>(a != nullptr) - static_cast<i32>(b != nullptr);
    for (;; ++a, ++b) {
        const i32 difference =
            static_cast<u8>(ke::to_lower(*a)) - static_cast<u8>(ke::to_lower(*b));
        if (difference != 0 || *a == '\0')
            return difference;
    }
}
