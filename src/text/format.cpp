// Formatted strings: the three primitives over the runtime's printf, and on them the forms that make a
// fresh string or re-use a caller's block. The growable string buffer is in containers/strbuf.cpp.
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "os/os.h"

namespace {

i32 length_of(const char* format, va_list args) {
    va_list copy;
    va_copy(copy, args);
    const i32 length = wiq_vscprintf(format, copy);
    va_end(copy);
    return length;
}

// Grows a block to `need` bytes. The caller's pair is overwritten even when this fails: the block is
// then NULL, the size what was asked for, and the old block still the caller's to release.
void grow_block(char** block, u64* size, u64 need) {
    *size = need;
    *block = static_cast<char*>(realloc(*block, need));
}

// Length of the string in a block; without a size, or after a growth that failed, there is none.
u64 text_length(const char* block, u64 size) {
    return size == 0 || block == nullptr ? 0 : strlen(block);
}

i32 append_formatted(char** block, u64* size, const char* format, va_list args) {
    const i32 length = length_of(format, args);
    if (length < 0)
        return WIQ_ERR_FAILED;
    const u64 room = static_cast<u64>(length) + 1;
    const u64 used = text_length(*block, *size);
    if (used + room > *size)
        grow_block(block, size, used + room);
    if (*block == nullptr)
        return WIQ_ERR_NO_MEMORY;
    return wiq_vsprintf(*block + used, room, format, args);
}

}  // namespace

extern "C" {

i32 wiq_snprintf(char* buf, u64 size, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const i32 length = ke::os::format_length_plain(format, args);
    va_end(args);
    if (buf == nullptr || size == 0)
        return length;
    va_start(args, format);
    ke::os::format_text_cut(buf, size, format, args);
    va_end(args);
    return length;
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
    const i32 length = length_of(format, args);
    if (length < 0)
        return WIQ_ERR_FAILED;
    const u64 room = static_cast<u64>(length) + 1;
    *out = static_cast<char*>(malloc(room));
    if (*out == nullptr)
        return WIQ_ERR_NO_MEMORY;
    wiq_vsprintf(*out, room, format, args);
    return length;
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
    const i32 length = length_of(format, args);
    if (length < 0)
        return WIQ_ERR_FAILED;
    const u64 room = static_cast<u64>(length) + 1;
    if (room >= *size)
        grow_block(block, size, room);
    if (*block == nullptr)
        return WIQ_ERR_NO_MEMORY;
    wiq_vsprintf(*block, room, format, args);
    return length;
}

i32 wiq_rapsprintf(char** block, u64* size, const char* format, ...) {
    if (block == nullptr || size == nullptr || format == nullptr)
        return WIQ_ERR_INVALID_ARG;
    va_list args;
    va_start(args, format);
    const i32 result = append_formatted(block, size, format, args);
    va_end(args);
    return result;
}

i32 wiq_rastrcat(char** block, u64* size, const char* str) {
    if (block == nullptr || size == nullptr || str == nullptr)
        return WIQ_ERR_INVALID_ARG;
    const u64 used = text_length(*block, *size);
    const u64 length = strlen(str);
    const u64 total = used + length + 1;
    if (total > *size)
        grow_block(block, size, total);
    if (*block == nullptr)
        return WIQ_ERR_NO_MEMORY;
    memcpy(*block + used, str, length + 1);
    return static_cast<i32>(length);
}

}  // extern "C"
