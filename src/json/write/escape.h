// JSON string escaping into any sink. The exported escape functions and the serializer share it.
#pragma once

#include <cstring>

#include "json/read/escape_scan.h"
#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "text/utf8.h"

namespace ke::json {

// The longest escape: a backslash, "u" and four digits.
constexpr size_t kMaxEscape = 6;

// Writes the escape of a character that needs one. Returns its end.
char* write_escape(char* out, u8 c);

constexpr bool needs_escape(u8 c) {
    return c < 0x20 || c == '"' || c == '\\';
}

// Returns the end of the run of characters from `p` that are copied unchanged, including those
// beyond ASCII. *valid is false if the run ends at an invalid UTF-8 sequence.
inline const char* plain_run(const char* p, const char* end, bool* valid) {
    *valid = true;
    for (;;) {
        p = skip_plain_ascii(p, end);
        if (p == end || needs_escape(static_cast<u8>(*p)))
            return p;
        // Characters beyond ASCII usually come in groups.
        do {
            const u8* sequence = reinterpret_cast<const u8*>(p);
            const u32 length = utf8_length(*sequence);
            if (length > static_cast<size_t>(end - p) || !utf8_valid_sequence(sequence, length)) {
                *valid = false;
                return p;
            }
            p += length;
        } while (p != end && static_cast<i8>(*p) < 0);
    }
}

// Returns whether a text can be escaped: whether it contains no invalid UTF-8 sequence.
inline bool is_valid_text(const char* p, const char* end) {
    bool valid = true;
    while (valid && p != end) {
        p = plain_run(p, end, &valid);
        if (valid && p != end)
            ++p;
    }
    return valid;
}

// Appends an escaped text, without quotes. Returns 0; WIQ_ERR_BAD_FORMAT for invalid UTF-8, with
// the text before it appended; or the failure of the sink, which has a member function `i32
// write(const char*, size_t)`.
template <class Sink>
i32 escape_text(const char* text, const char* end, Sink& sink) {
    for (const char* p = text; p != end;) {
        bool valid = false;
        const char* run_end = plain_run(p, end, &valid);
        i32 status = run_end == p ? 0 : sink.write(p, static_cast<size_t>(run_end - p));
        if (status != 0)
            return status;
        if (!valid)
            return WIQ_ERR_BAD_FORMAT;
        p = run_end;
        if (p == end)
            break;
        char escape[kMaxEscape];
        const char* escape_end = write_escape(escape, static_cast<u8>(*p++));
        status = sink.write(escape, static_cast<size_t>(escape_end - escape));
        if (status != 0)
            return status;
    }
    return 0;
}

// Like wiq_json_escape_str_ext(), but returns WIQ_ERR_RANGE, with nothing changed, if the buffer's
// text would become longer than `max_length` bytes. The limit is at most INT32_MAX.
i32 escape_within(const char* text, wiq_strbuf* buf, u64 max_length);

}  // namespace ke::json
