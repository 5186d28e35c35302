// Where JSON text comes from: a string in memory or an open stream. Both readers give the lexer one byte at
// a time, checked as UTF-8, and count as they go; a place is a line, a column and the bytes consumed.
//
// The text's own bytes are ASCII; any other byte comes as its signed value, -128 to -1, and so is a failure
// wherever it stands. A column counts characters: a byte that only continues one does not count.
//
// What next() gives: 0 to 127, a byte; -128 to -1, a byte of a valid sequence beyond ASCII; -3004 at the
// end; -1049 for an invalid sequence. The last two stay.
#pragma once

#include <cstdio>
#include <cstring>
#include <string_view>

#include "containers/strbuf_core.h"
#include "ke_utils/core.h"
#include "os/os.h"
#include "text/utf8.h"

namespace ke::json {

struct Place {
    i32 line;
    i32 column;
    i32 position;
};

constexpr bool starts_character(u8 byte) {
    return utf8_length(byte) != 0;
}

// A NUL-terminated string. Nothing is counted on the way: the place is worked out from what was consumed.
class StringReader {
  public:
    explicit StringReader(const char* text)
        : start_(text), next_(text), end_(text + strlen(text)), token_(text) {}

    int next() {
        if (next_ != end_ && static_cast<i8>(*next_) >= 0 && tail_ == 0)
            return *next_++;
        return next_special();
    }
    // Takes back the byte that next() gave; only values above 0 can be.
    void unread(int c) {
        if (c > 0)
            --next_;
    }

    // The text of a token: from the byte that next() gave last, to the last one before token_end().
    void begin_token() { token_ = next_ - 1; }
    void forget() {}
    const char* token_begin() const { return token_; }
    const char* token_end() const { return next_; }
    bool failed() const { return false; }

    // Everything that is left, for scanning in bulk, as far as it was not found to be bad.
    static constexpr bool kContiguous = true;
    const char* rest() const { return next_; }
    const char* rest_end() const { return tail_ == 0 ? end_ : next_; }
    void skip_to(const char* p) { next_ = p; }

    Place place() const {
        Place place = {1, 0, static_cast<i32>(next_ - start_)};
        const char* line = start_;
        while (const void* feed = memchr(line, '\n', static_cast<size_t>(next_ - line))) {
            line = static_cast<const char*>(feed) + 1;
            ++place.line;
        }
        for (const char* p = line; p != next_; ++p)
            place.column += starts_character(static_cast<u8>(*p)) ? 1 : 0;
        return place;
    }
    i32 position() const { return static_cast<i32>(next_ - start_); }

  private:
    int next_special() {
        if (tail_ != 0) {
            --tail_;
            return static_cast<i8>(*next_++);
        }
        if (next_ == end_)
            return WIQ_ERR_EOF;
        const auto* sequence = reinterpret_cast<const u8*>(next_);
        const u32 length = utf8_length(*sequence);
        if (length > static_cast<size_t>(end_ - next_) || !utf8_valid_sequence(sequence, length))
            return WIQ_ERR_JSON_BAD_UTF8;
        tail_ = length - 1;
        return static_cast<i8>(*next_++);
    }

    const char* start_;
    const char* next_;
    const char* end_;
    const char* token_;
    u32 tail_ = 0;  // bytes left of a sequence beyond ASCII
};

// An open stream, read byte by byte and never further than the byte behind a token; locked while the
// reader lives. The text of a token is kept in a buffer.
class StreamReader {
  public:
    explicit StreamReader(FILE* stream) : stream_(stream) { os::lock_stream(stream_); }
    StreamReader(const StreamReader&) = delete;
    StreamReader& operator=(const StreamReader&) = delete;
    ~StreamReader() {
        os::unlock_stream(stream_);
        wiq_strbuf_finalize(&kept_);
    }

    int next() {
        const int c = fetch();
        if (c >= -128)
            count(static_cast<u8>(c));
        return c;
    }
    void unread(int c) {
        if (c <= 0)
            return;
        --place_.position;
        if (c == '\n') {
            --place_.line;
            place_.column = previous_column_;
        } else {
            --place_.column;
        }
        if (kept_.len != 0)
            --kept_.len;
        pushed_back_ = c;
    }

    // Every byte is kept until it is forgotten; the one before a token is.
    void forget() { kept_.len = 0; }
    void begin_token() {}
    const char* token_begin() const { return kept_.data; }
    const char* token_end() const { return kept_.data + kept_.len; }
    // Without memory for the token's text.
    bool failed() const { return failed_; }

    static constexpr bool kContiguous = false;

    Place place() const { return place_; }
    i32 position() const { return place_.position; }

  private:
    int fetch() {
        if (state_ != 0)
            return state_;
        if (pushed_back_ != 0) {
            const int c = pushed_back_;
            pushed_back_ = 0;
            return c;
        }
        if (tail_ != tail_end_)
            return static_cast<i8>(sequence_[tail_++]);
        const int c = os::getc_locked(stream_);
        if (c == EOF)
            return state_ = WIQ_ERR_EOF;
        return c < 0x80 ? c : fetch_sequence(static_cast<u8>(c));
    }

    int fetch_sequence(u8 lead) {
        const u32 length = utf8_length(lead);
        sequence_[0] = lead;
        for (u32 i = 1; i < length; ++i) {
            const int c = os::getc_locked(stream_);
            if (c == EOF)
                return state_ = WIQ_ERR_JSON_BAD_UTF8;
            sequence_[i] = static_cast<u8>(c);
        }
        if (!utf8_valid_sequence(sequence_, length))
            return state_ = WIQ_ERR_JSON_BAD_UTF8;
        tail_ = 1;
        tail_end_ = length;
        return static_cast<i8>(lead);
    }

    void count(u8 byte) {
        ++place_.position;
        if (byte == '\n') {
            ++place_.line;
            previous_column_ = place_.column;
            place_.column = 0;
        } else if (starts_character(byte)) {
            ++place_.column;
        }
        keep(static_cast<char>(byte));
    }

    void keep(char byte) {
        if (kept_.len + 2 > kept_.capacity && strbuf_grow(&kept_, kept_.len + 2) != 0) {
            failed_ = true;
            return;
        }
        kept_.data[kept_.len++] = byte;
    }

    FILE* stream_;
    wiq_strbuf kept_ = {};
    Place place_ = {1, 0, 0};
    i32 previous_column_ = 0;
    int pushed_back_ = 0;
    int state_ = 0;
    u32 tail_ = 0;
    u32 tail_end_ = 0;
    u8 sequence_[4] = {};
    bool failed_ = false;
};

}  // namespace ke::json
