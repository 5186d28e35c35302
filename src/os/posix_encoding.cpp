// Text conversion on POSIX systems, where a wide character is one code point (UTF-32). The error
// codes are those that callers know from Windows.

#include <bit>
#include <cstdlib>
#include <cwchar>

#include "os/os.h"

static_assert(sizeof(wchar_t) == sizeof(u32), "wide characters are code points here");

namespace ke::os {

namespace {

constexpr u32 kMaxCodePoint = 0x10FFFF;
constexpr wchar_t kReplacement = 0xFFFD;

bool is_valid(u32 code_point) {
    return code_point <= kMaxCodePoint && (code_point < 0xD800 || code_point > 0xDFFF);
}

size_t encoded_length(u32 code_point) {
    if (code_point < 0x80)
        return 1;
    if (code_point < 0x800)
        return 2;
    return code_point < 0x10000 ? 3 : 4;
}

// Writes a valid code point as UTF-8; returns the end.
char* encode(u32 code_point, char* out) {
    static constexpr u8 kLeadMarks[] = {0, 0, 0xC0, 0xE0, 0xF0};
    const size_t length = encoded_length(code_point);
    for (size_t i = length - 1; i > 0; --i) {
        out[i] = static_cast<char>(0x80 | (code_point & 0x3F));
        code_point >>= 6;
    }
    out[0] = static_cast<char>(kLeadMarks[length] | code_point);
    return out + length;
}

// Returns the length of the sequence that a lead byte announces, or 0 for a byte that begins no
// valid sequence.
u32 announced_length(u8 lead) {
    if (lead < 0x80)
        return 1;
    return lead < 0xC2 || lead > 0xF4 ? 0 : static_cast<u32>(std::countl_one(lead));
}

// Returns how many bytes from `s` on could begin a valid sequence of `length` bytes. This is the
// maximal subpart that one replacement character stands for (Unicode 15, section 3.9, table 3-8).
// Only the second byte has a range of its own, which depends on the lead byte; the bytes after it
// are any continuation bytes. The NUL at the end of the text is no continuation byte, so nothing
// after it is read.
u32 maximal_subpart(const u8* s, u32 length) {
    const u8 lead = s[0];
    u8 low = 0x80;
    u8 high = 0xBF;
    if (lead == 0xE0)
        low = 0xA0;
    else if (lead == 0xED)
        high = 0x9F;
    else if (lead == 0xF0)
        low = 0x90;
    else if (lead == 0xF4)
        high = 0x8F;
    u32 count = 1;
    while (count < length && s[count] >= low && s[count] <= high) {
        low = 0x80;
        high = 0xBF;
        ++count;
    }
    return count;
}

// Returns the code point of a valid sequence.
u32 decode(const u8* s, u32 length) {
    if (length == 1)
        return s[0];
    u32 code_point = s[0] & (0x7Fu >> length);
    for (u32 i = 1; i < length; ++i)
        code_point = code_point << 6 | (s[i] & 0x3Fu);
    return code_point;
}

// Returns the next character of the text, and moves *s past it.
wchar_t next_character(const u8** s) {
    const u32 length = announced_length(**s);
    const u32 taken = length == 0 ? 1 : maximal_subpart(*s, length);
    const wchar_t character =
        taken == length ? static_cast<wchar_t>(decode(*s, length)) : kReplacement;
    *s += taken;
    return character;
}

}  // namespace

char* narrow_text(const wchar_t* text, u32* code) {
    size_t size = 1;
    for (const wchar_t* p = text; *p != L'\0'; ++p) {
        if (!is_valid(static_cast<u32>(*p))) {
            *code = kErrorNoUnicodeTranslation;
            return nullptr;
        }
        size += encoded_length(static_cast<u32>(*p));
    }
    char* narrowed = static_cast<char*>(malloc(size));
    if (narrowed == nullptr) {
        *code = kErrorNotEnoughMemory;
        return nullptr;
    }
    char* out = narrowed;
    for (const wchar_t* p = text; *p != L'\0'; ++p)
        out = encode(static_cast<u32>(*p), out);
    *out = '\0';
    *code = kErrorNone;
    return narrowed;
}

wchar_t* widen_text(const char* text, u32* code) {
    const u8* first = reinterpret_cast<const u8*>(text);
    size_t count = 1;
    for (const u8* s = first; *s != 0; ++count)
        next_character(&s);
    auto* widened = static_cast<wchar_t*>(malloc(count * sizeof(wchar_t)));
    if (widened == nullptr) {
        *code = kErrorNotEnoughMemory;
        return nullptr;
    }
    wchar_t* out = widened;
    for (const u8* s = first; *s != 0;)
        *out++ = next_character(&s);
    *out = L'\0';
    *code = kErrorNone;
    return widened;
}

}  // namespace ke::os
