// Where JSON text comes from: a string in memory, or an open stream (stream_reader.h). Both readers
// give the lexer one byte at a time, checked as UTF-8. A location in the text is a line, a column
// and the number of bytes consumed.
//
// next() returns one of these:
//   0 to 127                a byte
//   -128 to -1              the first byte of a valid sequence beyond ASCII, as a signed value;
//                           JSON text is ASCII, so it is an error wherever it is found; it is
//                           consumed and counted
//   WIQ_ERR_EOF             the end (-3004); all later calls return it, too
//   WIQ_ERR_JSON_BAD_UTF8   an invalid sequence (-1049), of which nothing is counted; all later
//                           calls return it, too
//
// A token that contains a byte beyond ASCII is the last: nothing is read after that byte.
#pragma once

#include <cstring>
#include <string_view>

#include "json/read/escape_scan.h"
#include "json/read/quick_number.h"
#include "ke_utils/core.h"
#include "text/ctype.h"
#include "text/utf8.h"

namespace ke::json {

static_assert(WIQ_ERR_EOF < INT8_MIN && WIQ_ERR_JSON_BAD_UTF8 < INT8_MIN,
              "next() returns no byte that looks like a status");

// Each number stays at INT32_MAX if the text is too long for it.
struct Location {
    i32 line;
    i32 column;
    i32 offset;
};

// Returns a count as an i32, INT32_MAX if it is larger.
constexpr i32 capped(i64 count) {
    return count < INT32_MAX ? static_cast<i32>(count) : INT32_MAX;
}

constexpr bool starts_character(u8 byte) {
    return utf8_length(byte) != 0;
}

// Returns whether the five characters at `p` are the rest of an escape such as "\\u00e9", after its
// backslash.
inline bool is_unicode_escape(const char* p) {
    // The value of a character that is no hexadecimal digit is negative, and makes `digits` so.
    const i32 digits = hex_digit_value(p[1]) | hex_digit_value(p[2]) | hex_digit_value(p[3]) |
                       hex_digit_value(p[4]);
    return p[0] == 'u' && digits >= 0;
}

// Reads the rest of a string, including its closing quote, from *next, if it ends before `end` and
// has only plain characters. Otherwise returns false and reads nothing.
inline bool take_plain(const char** next, const char* end, const char** text, size_t* length) {
    const char* quote = skip_plain_ascii(*next, end);
    if (quote == end || *quote != '"')
        return false;
    *text = *next;
    *length = static_cast<size_t>(quote - *next);
    *next = quote + 1;
    return true;
}

// Reads a NUL-terminated string. Lines and columns are not counted while reading; location() works
// them out from the text that was consumed. The length of the string is not determined either, so
// that reading one value from the beginning of a long text takes no longer than the value needs.
class StringReader {
  public:
    // Whether the text of a token is still valid after the next token is read.
    static constexpr bool kTextStays = true;

    explicit StringReader(const char* text)
        : start_(text), next_(text), token_(text), plain_end_(text) {}

    int next() {
        const u8 byte = static_cast<u8>(*next_);
        if (byte == 0 || byte >= 0x80)
            return next_special();
        ++next_;
        return byte;
    }
    // Takes back the byte that next() has just returned. Only values above 0 can be taken back.
    void unread(int c) {
        if (c > 0)
            --next_;
    }

    // Skips blanks and returns the first byte of a token, or whatever else next() returns.
    int first_of_token() {
        if (*next_ <= ' ')
            skip_blanks();
        token_ = next_;
        return next();
    }
    // Returns the token as far as it was read.
    std::string_view token_text() const { return {token_, static_cast<size_t>(next_ - token_)}; }
    bool failed() const { return false; }

    // Skips the next byte if it is `c`, which is a token of its own. Returns whether it was.
    bool take(char c) {
        if (*next_ != c)
            return false;
        ++next_;
        return true;
    }

    // Reads the rest of a string, including its closing quote, in one piece. Returns false, with
    // nothing read, unless the string ends before plain_end_ and has only plain characters
    // (escape_scan.h); any other string must be read in another way.
    bool take_plain_string(const char** text, size_t* length) {
        if (next_ >= plain_end_)
            look_ahead();
        return take_plain(&next_, plain_end_, text, length);
    }

    // Reads a number in one piece, after its first digit or sign was read. Returns kNone, with
    // nothing more read, for any number that the fast path does not accept.
    QuickNumber take_number() {
        if (plain_end_ - token_ < kMinLongNumber)
            look_ahead();
        const QuickNumber number = read_number(token_, plain_end_);
        if (number.kind != QuickNumber::kNone)
            next_ = number.end;
        return number;
    }

    // Skips decimal digits.
    void skip_digits() {
        while (is_digit(*next_))
            ++next_;
    }

    // Skips the "u" and the four digits of an escape if they all come before plain_end_. Otherwise
    // returns false, with nothing read.
    bool skip_unicode_escape() {
        if (plain_end_ - next_ <= 4 || !is_unicode_escape(next_))
            return false;
        next_ += 5;
        return true;
    }

    // Skips plain characters before plain_end_. More of them may follow.
    void skip_plain() {
        if (next_ >= plain_end_)
            look_ahead();
        next_ = skip_plain_ascii(next_, plain_end_);
    }

    Location location() const {
        i64 lines = 1;
        const char* line = start_;
        while (const void* feed = memchr(line, '\n', static_cast<size_t>(next_ - line))) {
            line = static_cast<const char*>(feed) + 1;
            ++lines;
        }
        i64 columns = 0;
        for (const char* p = line; p != next_; ++p)
            columns += starts_character(static_cast<u8>(*p)) ? 1 : 0;
        return {capped(lines), capped(columns), offset()};
    }
    i32 offset() const { return capped(next_ - start_); }

  private:
    void skip_blanks() {
        for (;;) {
            if (*next_ > ' ')
                return;
            if (*next_ == ' ')
                skip_spaces();
            else if (*next_ == '\n' || *next_ == '\r' || *next_ == '\t')
                ++next_;
            else
                return;
        }
    }

    // Indentation makes long runs of spaces.
    void skip_spaces() {
        if (plain_end_ - next_ < kMinLongRun)
            look_ahead();
        next_ = skip_spaces_before(next_, plain_end_);
    }

    int next_special() {
        if (*next_ == '\0')
            return WIQ_ERR_EOF;
        // The check stops at the first byte that is not a continuation, so at the NUL at the
        // latest.
        const auto* sequence = reinterpret_cast<const u8*>(next_);
        if (!utf8_valid_sequence(sequence, utf8_length(*sequence)))
            return WIQ_ERR_JSON_BAD_UTF8;
        return static_cast<i8>(*next_++);
    }

    // Finds text without a NUL from next_ on, each time twice as much as before, up to
    // kMaxLookAhead. So apart from the first piece and the last few bytes, at most about twice as
    // much is examined as is consumed, and what was examined is still in the nearest cache when it
    // is read.
    //
    // The text may end earlier: memchr() reads as if byte by byte, and nothing after the NUL.
    void look_ahead() {
        const void* nul = memchr(next_, '\0', ahead_);
        plain_end_ = nul != nullptr ? static_cast<const char*>(nul) : next_ + ahead_;
        if (ahead_ < kMaxLookAhead)
            ahead_ *= 2;
    }

    static constexpr size_t kMaxLookAhead = 16384;
    static constexpr ptrdiff_t kMinLongRun = 16;
    static constexpr ptrdiff_t kMinLongNumber = 32;

    const char* start_;
    const char* next_;
    const char* token_;
    const char* plain_end_;  // no NUL lies between next_ and here; may be before next_
    size_t ahead_ = 128;
};

}  // namespace ke::json
