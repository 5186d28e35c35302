// The string buffer: a growable byte string that is always terminated. Everything that produces
// text writes into it.

#include <cstdlib>
#include <cstring>

#include "containers/strbuf.h"
#include "ke_utils/text.h"
#include "text/ctype.h"
#include "text/format.h"
#include "text/trim.h"

namespace {

constexpr u64 kDefaultCapacity = 64;

// Resizes the block to exactly `capacity` bytes, which must be more than len. Returns 0, or
// WIQ_ERR_NO_MEMORY with nothing changed.
i32 set_capacity(wiq_strbuf* buf, u64 capacity) {
    char* block = static_cast<char*>(realloc(buf->data, capacity));
    if (block == nullptr)
        return WIQ_ERR_NO_MEMORY;
    buf->data = block;
    buf->capacity = capacity;
    block[buf->len] = '\0';
    return 0;
}

void truncate(wiq_strbuf* buf, u64 len) {
    buf->len = len;
    if (buf->data != nullptr)
        buf->data[len] = '\0';
}

// Appends bytes for which the block has space. They may be part of the block.
void append(wiq_strbuf* buf, const char* bytes, u64 count) {
    memmove(buf->data + buf->len, bytes, count);
    buf->len += count;
    buf->data[buf->len] = '\0';
}

// Returns the size to which a block grows when it must have `needed` bytes: at least twice its
// size, unless that wraps.
u64 grown_capacity(const wiq_strbuf* buf, u64 needed) {
    const u64 doubled = buf->capacity <= UINT64_MAX / 2 ? 2 * buf->capacity : needed;
    return doubled > needed ? doubled : needed;
}

// Appends a text that did not fit at the first attempt. An argument may lie in the buffer, so the
// old block is kept until the text has been formatted into a new one.
i32 append_long(wiq_strbuf* buf, size_t length, const char* format, va_list args) {
    const u64 needed = buf->len + length + 1;
    const u64 capacity = needed <= buf->capacity ? buf->capacity : grown_capacity(buf, needed);
    // NOLINTNEXTLINE(clang-analyzer-optin.portability.UnixAPI): at least 1 byte, for the NUL.
    char* block = static_cast<char*>(malloc(capacity));
    if (block == nullptr)
        return WIQ_ERR_NO_MEMORY;
    if (buf->len != 0)
        memcpy(block, buf->data, buf->len);
    char* text = block + buf->len;
    text[0] = '\0';
    text[length] = '\0';
    const i32 written = wiq_vsprintf(text, length + 1, format, args);
    // The length counts even if formatting failed. What the runtime has not written is NULs then,
    // not what happened to be in the new block.
    if (written < 0) {
        const size_t done = strlen(text);
        memset(text + done, 0, length - done);
    }
    free(buf->data);
    buf->data = block;
    buf->len += length;
    buf->capacity = capacity;
    block[buf->len] = '\0';
    return written;
}

i32 append_formatted(wiq_strbuf* buf, const char* format, va_list args, va_list again) {
    const u64 room = buf->capacity > buf->len ? buf->capacity - buf->len - 1 : 0;
    ke::FormatAttempt attempt;
    if (!attempt.format(buf->data + (room == 0 ? 0 : buf->len + 1), room, format, args))
        return WIQ_ERR_FAILED;
    const size_t length = attempt.length();
    if (attempt.text() == nullptr)
        return append_long(buf, length, format, again);
    // If this moves the block, the text is on the stack: a text in the block's free space needs no
    // growth.
    const i32 status = ke::strbuf_reserve(buf, length + 1);
    if (status != 0)
        return status;
    append(buf, attempt.text(), length);
    return static_cast<i32>(length);
}

// Moves the `count` bytes at `offset` in the block, if they lie after the text, to just after it.
// There, neither shrinking the block to `len` + 2 * (`count` + 1) bytes nor writing their digits
// destroys them before they are read. Returns their new offset, which is at most len + 1.
u64 keep_for_digits(wiq_strbuf* buf, u64 offset, u64 count) {
    if (offset <= buf->len)
        return offset;
    const u64 left = buf->capacity - offset;
    memmove(buf->data + buf->len + 1, buf->data + offset, count < left ? count : left);
    return buf->len + 1;
}

}  // namespace

i32 ke::strbuf_grow(wiq_strbuf* buf, u64 needed) {
    return set_capacity(buf, grown_capacity(buf, needed));
}

i32 wiq_strbuf_init(wiq_strbuf* buf, u64 capacity) {
    if (buf == nullptr)
        return WIQ_ERR_INVALID_ARG;
    *buf = {};
    return set_capacity(buf, capacity == 0 ? kDefaultCapacity : capacity);
}

void wiq_strbuf_finalize(wiq_strbuf* buf) {
    if (buf == nullptr || buf->data == nullptr)
        return;
    free(buf->data);
    *buf = {};
}

char* wiq_strbuf_release(wiq_strbuf* buf) {
    if (buf == nullptr || set_capacity(buf, buf->len + 1) != 0)
        return nullptr;
    char* text = buf->data;
    *buf = {};
    return text;
}

i32 wiq_strbuf_reset(wiq_strbuf* buf) {
    return wiq_strbuf_reset_pos(buf, 0);
}

i32 wiq_strbuf_reset_pos(wiq_strbuf* buf, u64 position) {
    if (buf == nullptr || position > buf->len)
        return WIQ_ERR_INVALID_ARG;
    truncate(buf, position);
    return 0;
}

i32 wiq_strbuf_erase(wiq_strbuf* buf, u64 count) {
    truncate(buf, count < buf->len ? buf->len - count : 0);
    return 0;
}

i32 wiq_strbuf_pop(wiq_strbuf* buf) {
    return wiq_strbuf_erase(buf, 1);
}

char wiq_strbuf_getc(const wiq_strbuf* buf, i32 index) {
    if (buf == nullptr)
        return '\0';
    // The arithmetic is that of 32-bit integers, which wrap if the text is longer.
    const i32 len = static_cast<i32>(buf->len);
    if (index >= len)
        return '\0';
    if (index < 0)
        index = static_cast<i32>(static_cast<u32>(index) + static_cast<u32>(len));
    return index < 0 ? '\0' : buf->data[index];
}

i32 wiq_strbuf_putc(wiq_strbuf* buf, char c) {
    if (buf == nullptr)
        return WIQ_ERR_INVALID_ARG;
    if (c == '\0')
        return 0;
    const i32 status = ke::strbuf_reserve(buf, 2);
    if (status != 0)
        return status;
    char* end = buf->data + buf->len++;
    end[0] = c;
    end[1] = '\0';
    return 0;
}

i32 wiq_strbuf_write(wiq_strbuf* buf, const char* bytes, u64 count) {
    if (buf == nullptr || bytes == nullptr)
        return WIQ_ERR_INVALID_ARG;
    if (count == 0)
        return 0;
    const ke::BufferArg arg(buf, bytes);
    const i32 status = count == UINT64_MAX ? static_cast<i32>(WIQ_ERR_NO_MEMORY)
                                           : ke::strbuf_reserve(buf, count + 1);
    if (status != 0)
        return status;
    bytes = arg.now(buf);
    const u64 length = wiq_strnlen(bytes, count);
    append(buf, bytes, length);
    return static_cast<i32>(length);
}

i32 wiq_strbuf_rwrite(wiq_strbuf* buf, const char* bytes, u64 count) {
    wiq_strbuf_reset(buf);
    return wiq_strbuf_write(buf, bytes, count);
}

i32 wiq_strbuf_vprintf(wiq_strbuf* buf, const char* format, va_list args) {
    if (buf == nullptr || format == nullptr)
        return WIQ_ERR_INVALID_ARG;
    va_list again;
    va_copy(again, args);
    const i32 result = append_formatted(buf, format, args, again);
    va_end(again);
    return result;
}

i32 wiq_strbuf_printf(wiq_strbuf* buf, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const i32 result = wiq_strbuf_vprintf(buf, format, args);
    va_end(args);
    return result;
}

i32 wiq_strbuf_rvprintf(wiq_strbuf* buf, const char* format, va_list args) {
    wiq_strbuf_reset(buf);
    return wiq_strbuf_vprintf(buf, format, args);
}

i32 wiq_strbuf_rprintf(wiq_strbuf* buf, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const i32 result = wiq_strbuf_rvprintf(buf, format, args);
    va_end(args);
    return result;
}

i32 wiq_strbuf_printhex(wiq_strbuf* buf, const void* bytes, u64 count) {
    if (buf == nullptr)
        return WIQ_ERR_INVALID_ARG;
    if (count > (UINT64_MAX - buf->len) / 2 - 1)
        return WIQ_ERR_NO_MEMORY;
    const ke::BufferArg arg(buf, bytes);
    const u64 offset = arg.inside() ? keep_for_digits(buf, arg.offset(), count) : 0;
    // As documented, the block is resized before `bytes` is tested for NULL, even if it was larger.
    const i32 status = set_capacity(buf, buf->len + 2 * (count + 1));
    if (status != 0)
        return status;
    if (bytes == nullptr)
        return WIQ_ERR_INVALID_ARG;
    // Written from the end. Bytes that lie in the block begin at most one byte after the text, so
    // the digits of a byte overwrite only bytes whose digits have been written.
    const char* source = arg.inside() ? buf->data + offset : static_cast<const char*>(bytes);
    char* out = buf->data + buf->len;
    for (u64 i = count; i-- != 0;) {
        const u8 byte = static_cast<u8>(source[i]);
        out[2 * i] = ke::kDigits[byte >> 4];
        out[2 * i + 1] = ke::kDigits[byte & 0xF];
    }
    buf->len += 2 * count;
    buf->data[buf->len] = '\0';
    return 0;
}

i32 wiq_strbuf_extra_capacity(wiq_strbuf* buf, u64 extra) {
    if (buf == nullptr)
        return WIQ_ERR_INVALID_ARG;
    if (extra >= UINT64_MAX - buf->len)
        return WIQ_ERR_NO_MEMORY;
    return set_capacity(buf, buf->len + extra + 1);
}

i32 wiq_strbuf_struct_str(wiq_strbuf* buf, const void* bytes, u64 width, bool trim) {
    if (buf == nullptr || (bytes == nullptr && width != 0))
        return WIQ_ERR_INVALID_ARG;
    truncate(buf, 0);
    const ke::BufferArg arg(buf, bytes);
    const i32 status = width == UINT64_MAX ? static_cast<i32>(WIQ_ERR_NO_MEMORY)
                                           : ke::strbuf_reserve(buf, width + 1);
    if (status != 0)
        return status;
    std::string_view field(arg.now(buf), wiq_strnlen(arg.now(buf), width));
    if (trim)
        field = ke::trimmed(field);
    if (!field.empty())
        append(buf, field.data(), field.size());
    return 0;
}
