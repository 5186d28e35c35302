// Formatted strings: three primitives on top of the runtime's printf, and, on top of these, the
// functions that make a new string or reuse a block of the caller. The growable string buffer is in
// containers/strbuf.cpp.
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "os/os.h"
#include "text/format.h"

namespace ke {

bool FormatAttempt::format(char* room, size_t size, const char* format, va_list args) {
    const bool on_stack = size <= kStackRoom;
    char* out = on_stack ? stack_ : room;
    const size_t out_size = on_stack ? kStackRoom : size;
    const i32 length = os::format_or_measure(out, out_size, format, args);
    if (length < 0)
        return false;
    length_ = static_cast<size_t>(length);
    text_ = length_ < out_size ? out : nullptr;
    return true;
}

}  // namespace ke

namespace {

// Grows a block to `need` bytes. If this fails, the caller's pair is overwritten all the same: the
// block's pointer is then NULL, the size is the one that was needed, and the caller must still
// release the old block.
void grow_block(char** block, u64* size, u64 need) {
    *size = need;
    *block = static_cast<char*>(realloc(*block, need));
}

// Returns the length of the string in a block. It is 0 if the size is 0, or after a growth
// that failed.
u64 text_length(const char* block, u64 size) {
    return size == 0 || block == nullptr ? 0 : strlen(block);
}

// Puts a text of a known length and a NUL into `out`. Returns the length; or WIQ_ERR_FAILED, with
// an empty text: the runtime has measured the text, but may have no memory for formatting it again.
i32 put_formatted(char* out, size_t length, const char* format, va_list args) {
    const i32 result = wiq_vsprintf(out, length + 1, format, args);
    if (result < 0)
        out[0] = '\0';
    return result;
}

// Puts the text of an attempt and a NUL into `out`, which must have space for both. A text that did
// not fit is formatted again. Returns what put_formatted() returns.
i32 put_text(char* out, const ke::FormatAttempt& attempt, const char* format, va_list args) {
    const size_t length = attempt.length();
    if (attempt.text() == nullptr)
        return put_formatted(out, length, format, args);
    memmove(out, attempt.text(), length);  // it may lie in the same block
    out[length] = '\0';
    return static_cast<i32>(length);
}

// Appends a text that did not fit at the first attempt. An argument may lie in the string of the
// block, so the old block is kept until the text has been formatted into a new one.
i32 append_long(char** block, u64* size, u64 used, size_t length, const char* format,
                va_list args) {
    const u64 total = used + length + 1;
    // A size without a block means that a growth has failed. Only a larger size is tried again.
    if (total <= *size && *block == nullptr)
        return WIQ_ERR_NO_MEMORY;
    char* old = *block;
    *size = total > *size ? total : *size;
    *block = static_cast<char*>(malloc(*size));
    if (*block == nullptr)
        return WIQ_ERR_NO_MEMORY;
    if (used != 0)
        memcpy(*block, old, used);
    const i32 result = put_formatted(*block + used, length, format, args);
    free(old);
    return result;
}

i32 append_formatted(char** block, u64* size, const char* format, va_list args, va_list again) {
    const u64 used = text_length(*block, *size);
    const u64 room = *block == nullptr || *size <= used ? 0 : *size - used - 1;
    ke::FormatAttempt attempt;
    if (!attempt.format(*block + (room == 0 ? 0 : used + 1), room, format, args))
        return WIQ_ERR_FAILED;
    if (attempt.text() == nullptr)
        return append_long(block, size, used, attempt.length(), format, again);
    // If this moves the block, the text is on the stack: a text in the block's free space needs no
    // growth.
    const u64 total = used + attempt.length() + 1;
    if (total > *size)
        grow_block(block, size, total);
    if (*block == nullptr)
        return WIQ_ERR_NO_MEMORY;
    return put_text(*block + used, attempt, format, again);
}

i32 make_string(char** out, const char* format, va_list args, va_list again) {
    ke::FormatAttempt attempt;
    if (!attempt.format(nullptr, 0, format, args))
        return WIQ_ERR_FAILED;
    *out = static_cast<char*>(malloc(attempt.length() + 1));
    if (*out == nullptr)
        return WIQ_ERR_NO_MEMORY;
    const i32 result = put_text(*out, attempt, format, again);
    if (result < 0) {
        free(*out);
        *out = nullptr;
    }
    return result;
}

i32 overwrite_block(char** block, u64* size, const char* format, va_list args, va_list again) {
    // Formats onto the stack only, since a format that is refused must leave the block as it was.
    ke::FormatAttempt attempt;
    if (!attempt.format(nullptr, 0, format, args))
        return WIQ_ERR_FAILED;
    const u64 need = attempt.length() + 1;
    if (need >= *size)
        grow_block(block, size, need);
    if (*block == nullptr)
        return WIQ_ERR_NO_MEMORY;
    return put_text(*block, attempt, format, again);
}

}  // namespace

i32 wiq_snprintf(char* buf, u64 size, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const i32 length = ke::os::format_length_plain(format, args);
    va_end(args);
    if (buf == nullptr || size == 0)
        return length;
    va_start(args, format);
    const i32 status = ke::os::format_text_cut(buf, size, format, args);
    va_end(args);
    return status < 0 ? status : length;
}

i32 wiq_vscprintf(const char* format, va_list args) {
    return ke::os::format_length(format, args);
}

i32 wiq_vsprintf(char* buf, u64 size, const char* format, va_list args) {
    const i32 length = ke::os::format_text(buf, size, format, args);
    return length < 0 ? WIQ_ERR_FAILED : length;
}

i32 wiq_asprintf(char** out, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const i32 result = wiq_vasprintf(out, format, args);
    va_end(args);
    return result;
}

i32 wiq_vasprintf(char** out, const char* format, va_list args) {
    if (out == nullptr || format == nullptr)
        return WIQ_ERR_INVALID_ARG;
    *out = nullptr;
    va_list again;
    va_copy(again, args);
    const i32 result = make_string(out, format, args, again);
    va_end(again);
    return result;
}

i32 wiq_rasprintf(char** block, u64* size, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const i32 result = wiq_vrasprintf(block, size, format, args);
    va_end(args);
    return result;
}

i32 wiq_vrasprintf(char** block, u64* size, const char* format, va_list args) {
    if (block == nullptr || size == nullptr || format == nullptr)
        return WIQ_ERR_INVALID_ARG;
    va_list again;
    va_copy(again, args);
    const i32 result = overwrite_block(block, size, format, args, again);
    va_end(again);
    return result;
}

i32 wiq_rapsprintf(char** block, u64* size, const char* format, ...) {
    if (block == nullptr || size == nullptr || format == nullptr)
        return WIQ_ERR_INVALID_ARG;
    va_list args;
    va_list again;
    va_start(args, format);
    va_copy(again, args);
    const i32 result = append_formatted(block, size, format, args, again);
    va_end(again);
    va_end(args);
    return result;
}

i32 wiq_rastrcat(char** block, u64* size, const char* str) {
    if (block == nullptr || size == nullptr || str == nullptr)
        return WIQ_ERR_INVALID_ARG;
    const u64 used = text_length(*block, *size);
    const u64 length = strlen(str);
    if (length > INT32_MAX)
        return WIQ_ERR_RANGE;
    const u64 total = used + length + 1;
    // If the string lies in the block, its new address follows from its offset after the block has
    // moved.
    const uintptr_t offset = reinterpret_cast<uintptr_t>(str) - reinterpret_cast<uintptr_t>(*block);
    const bool inside = *block != nullptr && offset < *size;
    if (total > *size)
        grow_block(block, size, total);
    if (*block == nullptr)
        return WIQ_ERR_NO_MEMORY;
    memmove(*block + used, inside ? *block + offset : str, length);
    (*block)[used + length] = '\0';
    return static_cast<i32>(length);
}
