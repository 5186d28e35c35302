// The tokens of JSON text (RFC 8259) from either reader. The lexer first checks the syntax of a
// token and then makes its value: it decodes a string's escapes; an integer becomes a signed 64-bit
// number if it fits, otherwise a 128-bit number; a number with a fraction or an exponent becomes a
// double.
//
// A reader's next() returns an ASCII byte or a negative number: WIQ_ERR_EOF, WIQ_ERR_JSON_BAD_UTF8,
// or a byte beyond ASCII as a signed value (reader.h). The last two are errors:
//   - where a token should begin, in a word, and in a string outside an escape, the negative number
//     is itself the status;
//   - where an escape or a number needs another character, that escape or number is invalid;
//   - after a complete number, a byte beyond ASCII makes it invalid (status_before_non_ascii()).
//     Invalid UTF-8 is left for the next token.
#pragma once

#include <string_view>

#include "containers/small_buffer.h"
#include "json/read/stream_reader.h"
#include "text/ctype.h"
#include "text/numbers.h"
#include "text/uint128.h"

namespace ke::json {

enum Token : int {
    kTokenInvalid = -1,
    kTokenEnd = 0,
    // "{", "}", "[", "]", ":" and "," are represented by their character codes.
    kTokenString = 256,
    kTokenInteger = 257,
    kTokenReal = 258,
    kTokenTrue = 259,
    kTokenFalse = 260,
    kTokenNull = 261,
    kTokenBigInteger = 262,
};

// Decodes the escapes of a string, which must be well formed, from `first` to `last` into `out`.
// `out` may be `first`, because decoding never makes a text longer. Returns the end of the decoded
// text, or nullptr if an escape stands for zero or for a surrogate without its partner.
char* decode_string(const char* first, const char* last, char* out);

// Returns the status of a number from `first` to `last` that is directly followed by a byte beyond
// ASCII, which makes it invalid. It is the status of converting the number together with that byte:
// WIQ_ERR_TRAILING_CHARS for an integer that fits an i64, WIQ_ERR_BAD_FORMAT for any other number.
i32 status_before_non_ascii(const char* first, const char* last, bool is_real);

// Returns the value of a decimal integer with an optional "-", modulo 2^128.
wiq_uint128 wrap_u128(const char* first, const char* last);

// A token and its value. Only the fields that belong to the token's kind are set: `text`, `length`
// and `in_source` for a string, `integer`, `real` and `big` for the three kinds of numbers.
struct Lexeme {
    int token = kTokenInvalid;
    const char* text = nullptr;  // not terminated; valid until the next token is read
    size_t length = 0;
    // Whether the text is in the source itself, where it stays valid as long as the source does.
    bool in_source = false;
    i64 integer = 0;
    double real = 0;
    wiq_uint128 big = {};
};

template <class Reader>
class Lexer {
  public:
    template <class Source>
    explicit Lexer(Source source) : reader_(source) {}
    Lexer(const Lexer&) = delete;
    Lexer& operator=(const Lexer&) = delete;

    // Reads the next token. At the end of the text the token is kTokenEnd and the status 0. Returns
    // 0, or the status of the failure. After a failure the token is kTokenInvalid; only after
    // WIQ_ERR_NO_MEMORY it may be any.
    i32 scan() {
        const int c = reader_.first_of_token();
        switch (c) {
            case '{':
            case '}':
            case '[':
            case ']':
            case ':':
            case ',':
                // Such a token has no text, so the reader has not needed memory for it.
                current_.token = c;
                return 0;
            default:
                return scan_from(c);
        }
    }
    // Reads the next token only if it is this character and no blanks come before it. The current
    // token does not change. Returns whether it was read. Even if not, scan() may find it next: a
    // stream reader takes it only from the current stretch.
    bool take(char c) { return reader_.take(c); }
    int token() const { return current_.token; }
    const Lexeme& current() const { return current_; }

    // Returns the text of the current string in memory that stays valid when the next tokens are
    // read, until the next call of hold_text(). Returns nullptr when out of memory.
    const char* hold_text() {
        if (current_.in_source)
            return current_.text;
        char* held = held_.room(current_.length);
        if (held != nullptr)
            memcpy(held, current_.text, current_.length);
        return held;
    }

    Location location() const { return reader_.location(); }
    i32 offset() const { return reader_.offset(); }

  private:
    // Reads a token that is not a single character. `c` is what the reader returned for its first
    // byte, so it may also be the end or a failure. Not inline, so that scan() saves no registers
    // for it when the token is a single character. The functions below set the token only when they
    // succeed, except as scan() says.
    [[gnu::noinline]] i32 scan_from(int c) {
        current_.token = kTokenInvalid;
        const i32 status = scan_longer(c);
        return reader_.failed() ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : status;
    }

    i32 scan_longer(int c) {
        if (c == '"')
            return scan_string();
        // The end of the text, which is a token; or a failure, or a byte beyond ASCII.
        if (c < 0) {
            current_.token = c == WIQ_ERR_EOF ? kTokenEnd : kTokenInvalid;
            return c == WIQ_ERR_EOF ? 0 : c;
        }
        if (c == '-' || is_digit(static_cast<char>(c)))
            return scan_number(c);
        return is_alpha(static_cast<char>(c)) ? scan_word()
                                              : static_cast<i32>(WIQ_ERR_JSON_BAD_TOKEN);
    }

    // Scans one of the words true, false and null. The word ends before the first byte that is no
    // letter, so "nullx" is one invalid token.
    i32 scan_word() {
        int c = reader_.next();
        while (c >= 0 && is_alpha(static_cast<char>(c)))
            c = reader_.next();
        if (c < 0 && c != WIQ_ERR_EOF)
            return c;
        const std::string_view word = token_text(c);
        if (word == "true")
            current_.token = kTokenTrue;
        else if (word == "false")
            current_.token = kTokenFalse;
        else if (word == "null")
            current_.token = kTokenNull;
        return current_.token == kTokenInvalid ? static_cast<i32>(WIQ_ERR_JSON_BAD_TOKEN) : 0;
    }

    // Returns the token's text after the byte `c` that follows it has been read, and takes that
    // byte back if possible. A byte beyond ASCII cannot be taken back and remains the last one of
    // the text. (A NUL from a stream cannot be taken back either, but is not part of the text.)
    std::string_view token_text(int c) {
        reader_.unread(c);
        return reader_.token_text();
    }

    // For what next() returns, which may be negative.
    static bool is_digit_int(int c) { return c >= '0' && c <= '9'; }

    // Skips digits and returns what next() returns after them.
    int skip_digits() {
        reader_.skip_digits();
        int c = reader_.next();
        while (is_digit_int(c))
            c = reader_.next();
        return c;
    }

    i32 scan_number(int c) {
        const QuickNumber number = reader_.take_number();
        switch (number.kind) {
            case QuickNumber::kInteger:
                current_.token = kTokenInteger;
                current_.integer = number.integer;
                return 0;
            case QuickNumber::kReal:
                current_.token = kTokenReal;
                current_.real = number.real;
                return 0;
            case QuickNumber::kRealText:
                return convert_number(reader_.token_text(), true);
            default:
                return scan_any_number(c);
        }
    }

    // Reads a number that the fast path left; only its first byte `c` has been read. Checks the
    // syntax byte by byte and then converts the number.
    i32 scan_any_number(int c) {
        bool is_real = false;
        if (c == '-')
            c = reader_.next();
        if (!is_digit_int(c))
            return WIQ_ERR_JSON_BAD_NUMBER;
        if (c == '0') {
            c = reader_.next();
            if (is_digit_int(c))
                return WIQ_ERR_JSON_BAD_NUMBER;
        } else {
            c = skip_digits();
        }
        if (c == '.') {
            is_real = true;
            if (!is_digit_int(reader_.next()))
                return WIQ_ERR_JSON_BAD_NUMBER;
            c = skip_digits();
        }
        if (c == 'e' || c == 'E') {
            is_real = true;
            c = reader_.next();
            if (c == '+' || c == '-')
                c = reader_.next();
            if (!is_digit_int(c))
                return WIQ_ERR_JSON_BAD_NUMBER;
            c = skip_digits();
        }
        const std::string_view text = token_text(c);
        if (reader_.failed())
            return WIQ_ERR_NO_MEMORY;
        return convert_number(text, is_real);
    }

    // Converts a number whose syntax was checked. If it is followed by a byte beyond ASCII, that
    // byte is the last of `text`.
    i32 convert_number(std::string_view text, bool is_real) {
        const char* first = text.data();
        const char* last = first + text.size();
        if (static_cast<i8>(last[-1]) < 0)
            return status_before_non_ascii(first, last - 1, is_real);
        // A valid number always converts. One beyond the range of double gives an infinity or zero.
        if (is_real) {
            parse_double(first, last, &current_.real);
            current_.token = kTokenReal;
        } else if (parse_i64(first, last, &current_.integer)) {
            current_.token = kTokenInteger;
        } else {
            current_.big = wrap_u128(first, last);
            current_.token = kTokenBigInteger;
        }
        return 0;
    }

    // Checks the syntax up to the closing quote, and then decodes the escapes if there were any.
    i32 scan_string() {
        if (reader_.take_plain_string(&current_.text, &current_.length)) {
            current_.token = kTokenString;
            current_.in_source = Reader::kTextStays;
            return 0;
        }
        bool escaped = false;
        for (;;) {
            reader_.skip_plain();
            const int c = reader_.next();
            if (c == '"')
                break;
            if (c < 0)
                return c == WIQ_ERR_EOF ? static_cast<i32>(WIQ_ERR_JSON_UNEXPECTED_END) : c;
            if (c < 0x20)
                return WIQ_ERR_JSON_CONTROL_CHAR;
            if (c == '\\') {
                escaped = true;
                if (!scan_escape())
                    return WIQ_ERR_JSON_BAD_ESCAPE;
            }
        }
        const std::string_view text = reader_.token_text();
        if (reader_.failed())
            return WIQ_ERR_NO_MEMORY;
        return string_value(text.data() + 1, text.data() + text.size() - 1, escaped);
    }

    // Checks the escape after a backslash. Only decode_string() finds out whether a "\u" escape
    // stands for a valid character.
    bool scan_escape() {
        if (reader_.skip_unicode_escape())
            return true;
        const int c = reader_.next();
        if (c != 'u')
            return c > 0 && strchr("\"\\/bfnrt", c) != nullptr;
        for (int digits = 0; digits < 4; ++digits) {
            const int digit = reader_.next();
            if (digit < 0 || !is_hex_digit(static_cast<char>(digit)))
                return false;
        }
        return true;
    }

    // Makes the value of a string whose syntax was checked, from the text between its quotes.
    i32 string_value(const char* first, const char* last, bool escaped) {
        current_.text = first;
        current_.length = static_cast<size_t>(last - first);
        current_.in_source = Reader::kTextStays && !escaped;
        if (escaped) {
            char* decoded = decoded_.room(current_.length);
            if (decoded == nullptr)
                return WIQ_ERR_NO_MEMORY;
            const char* end = decode_string(first, last, decoded);
            if (end == nullptr)
                return WIQ_ERR_JSON_BAD_UNICODE_ESCAPE;
            current_.text = decoded;
            current_.length = static_cast<size_t>(end - decoded);
        }
        current_.token = kTokenString;
        return 0;
    }

    Reader reader_;
    Lexeme current_;
    SmallBuffer<2048> decoded_;  // the current string if its escapes were decoded
    SmallBuffer<256> held_;      // the copy that hold_text() makes
};

}  // namespace ke::json
