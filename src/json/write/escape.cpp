// The exported escape functions. Only characters that JSON does not allow in a string are escaped:
// the quote, the backslash and the characters below 0x20. Everything else is copied, also "/" and
// UTF-8.

#include "json/write/escape.h"

#include "containers/strbuf.h"
#include "json/model/text_limits.h"
#include "ke_utils/json.h"
#include "text/ctype.h"

namespace ke::json {

char* write_escape(char* out, u8 c) {
    *out++ = '\\';
    switch (c) {
        case '"':
        case '\\':
            *out++ = static_cast<char>(c);
            return out;
        case 0x08:
            *out++ = 'b';
            return out;
        case 0x0C:
            *out++ = 'f';
            return out;
        case 0x0A:
            *out++ = 'n';
            return out;
        case 0x0D:
            *out++ = 'r';
            return out;
        case 0x09:
            *out++ = 't';
            return out;
        default:
            *out++ = 'u';
            *out++ = '0';
            *out++ = '0';
            *out++ = kDigits[c >> 4];
            *out++ = kDigits[c & 0xF];
            return out;
    }
}

namespace {

// A sink that only counts the bytes.
struct CountingSink {
    u64 count;
    i32 write(const char*, size_t n) {
        count += n;
        return 0;
    }
};

// Returns whether `used` bytes and the escaped form of a valid text are together more than
// `max_length`. The text is only examined if it is so long that this is possible.
bool is_too_long(const char* text, size_t length, u64 used, u64 max_length) {
    if (used > max_length)
        return true;
    if (length <= (max_length - used) / kMaxEscape)
        return false;
    CountingSink sink = {0};
    return escape_text(text, text + length, sink) == 0 && sink.count > max_length - used;
}

}  // namespace

i32 escape_within(const char* text, wiq_strbuf* buf, u64 max_length) {
    if (text == nullptr || buf == nullptr)
        return WIQ_ERR_INVALID_ARG;
    const size_t length = strlen(text);
    if (is_too_long(text, length, buf->len, max_length))
        return WIQ_ERR_RANGE;
    // The text may lie in the buffer, and moves with it. If appending runs out of memory, that is
    // not reported.
    const BufferArg arg(buf, text);
    for (size_t at = 0; at != length;) {
        const char* run = arg.now(buf) + at;
        bool valid = false;
        const char* run_end = plain_run(run, arg.now(buf) + length, &valid);
        at += static_cast<size_t>(run_end - run);
        wiq_strbuf_write(buf, run, static_cast<size_t>(run_end - run));
        if (!valid)
            return WIQ_ERR_BAD_FORMAT;
        if (at == length)
            break;
        char escape[kMaxEscape];
        const char* escape_end = write_escape(escape, static_cast<u8>(arg.now(buf)[at++]));
        wiq_strbuf_write(buf, escape, static_cast<size_t>(escape_end - escape));
    }
    // is_too_long() has checked that the length fits.
    return static_cast<i32>(buf->len);
}

}  // namespace ke::json

i32 wiq_json_escape_str_ext(const char* text, wiq_strbuf* buf) {
    return ke::json::escape_within(text, buf, ke::json::kMaxTextLength);
}

char* wiq_json_escape_str(const char* text) {
    wiq_strbuf buf;
    if (wiq_strbuf_init(&buf, 0) != 0)
        return nullptr;
    char* escaped = wiq_json_escape_str_ext(text, &buf) < 0 ? nullptr : wiq_strbuf_release(&buf);
    wiq_strbuf_finalize(&buf);
    return escaped;
}
