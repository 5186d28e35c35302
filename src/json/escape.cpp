// The exported escape functions. Only what JSON demands is escaped: quote, backslash and the characters
// below 0x20; everything else, "/" and raw UTF-8 too, is copied.

#include "json/escape.h"

#include "ke_utils/json.h"

namespace ke::json {

char* write_escape(char* out, u8 c) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
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

}  // namespace ke::json

namespace {

// Appends to a caller's buffer; that an append failed for lack of memory is not reported.
struct LenientSink {
    wiq_strbuf* buf;
    i32 write(const char* bytes, size_t count) const {
        wiq_strbuf_write(buf, bytes, count);
        return 0;
    }
};

}  // namespace

i32 wiq_json_escape_str_ext(const char* text, wiq_strbuf* buf) {
    if (text == nullptr || buf == nullptr)
        return WIQ_ERR_INVALID_ARG;
    LenientSink sink = {buf};
    const i32 status = ke::json::escape_text(text, text + strlen(text), sink);
    return status != 0 ? status : static_cast<i32>(buf->len);
}

char* wiq_json_escape_str(const char* text) {
    wiq_strbuf buf;
    if (wiq_strbuf_init(&buf, 0) != 0)
        return nullptr;
    char* escaped = wiq_json_escape_str_ext(text, &buf) < 0 ? nullptr : wiq_strbuf_release(&buf);
    wiq_strbuf_finalize(&buf);
    return escaped;
}
