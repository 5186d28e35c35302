// See scanner.h. The current token is always completely in the source's window. Between tokens the scanner
// keeps only the list of open brackets.
#include "scanner.h"

#include "input_limits.h"
#include "ke_utils.h"

namespace tool {

namespace {

// The bytes that can occur in a string without further checks: all except quotes, backslashes, control
// characters and bytes outside ASCII.
struct PlainBytes {
    constexpr PlainBytes() : plain() {
        for (int c = 0x20; c < 0x80; ++c)
            plain[c] = c != '"' && c != '\\';
    }
    bool plain[256];
};
constexpr PlainBytes kBytes;

bool is_plain(char c) {
    return kBytes.plain[static_cast<u8>(c)];
}

bool is_letter(int c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool is_digit(int c) {
    return c >= '0' && c <= '9';
}

constexpr size_t kMaxShownBytes = 40;

// Returns a piece of text as messages show it.
std::string quoted(std::string_view text) {
    std::string shown = "\"" + std::string(text.substr(0, kMaxShownBytes));
    while (text.size() > kMaxShownBytes && (static_cast<u8>(shown.back()) & 0xC0) == 0x80)
        shown.pop_back();
    if (text.size() > kMaxShownBytes && static_cast<u8>(shown.back()) >= 0xC0)
        shown.pop_back();
    return shown + (text.size() > kMaxShownBytes ? "...\"" : "\"");
}

}  // namespace

Scanner::Scanner(Source& source, bool several)
    : source_(source),
      p_(source.begin()),
      end_(source.end()),
      token_(source.begin()),
      several_(several) {}

Failure Scanner::failure(const std::string& message, int exit_status) {
    return source_.failure(token_, message, exit_status);
}

// Reads more text; returns false at its end.
bool Scanner::refill() {
    const u64 here = source_.offset_of(p_);
    const u64 token = source_.offset_of(token_);
    const bool more = source_.more(token_);
    p_ = source_.at_offset(here);
    token_ = source_.at_offset(token);
    end_ = source_.end();
    return more;
}

// Returns the next byte, or -1 at the end.
int Scanner::peek() {
    return p_ != end_ || refill() ? static_cast<u8>(*p_) : -1;
}

bool Scanner::skip_blanks() {
    for (;;) {
        while (p_ != end_ && (*p_ == ' ' || *p_ == '\n' || *p_ == '\t' || *p_ == '\r'))
            ++p_;
        if (p_ != end_)
            return true;
        token_ = p_;
        if (!refill())
            return false;
    }
}

void Scanner::fail(i32 status, std::string_view found) {
    throw source_.failure(p_, status, found);
}

// Reports that the text ends within a value, or is empty.
void Scanner::fail_at_end() {
    if (expected_ == Expected::document || expected_ == Expected::value ||
        expected_ == Expected::key)
        fail(WIQ_ERR_JSON_UNEXPECTED_TOKEN, "the text ends where a value is due");
    fail(WIQ_ERR_JSON_UNEXPECTED_END,
         open_.back() == '{' ? "a \"}\" is missing" : "a \"]\" is missing");
}

// Reports a character that cannot occur here.
void Scanner::fail_unexpected() {
    const std::string found = *p_ == '"' ? "a text" : quoted(std::string_view(p_, 1));
    switch (expected_) {
        case Expected::comma:
            fail(WIQ_ERR_JSON_UNEXPECTED_TOKEN,
                 static_cast<u8>(*p_) >= 0x80
                     ? std::string("a comma or the closing bracket is due")
                     : "found " + found + " where a comma or the closing bracket is due");
        case Expected::key:
        case Expected::first_key:
            fail(WIQ_ERR_JSON_UNEXPECTED_TOKEN, "a key in double quotes is due");
        default:
            fail(WIQ_ERR_JSON_UNEXPECTED_TOKEN, "found " + found + " where a value is due");
    }
}

Token Scanner::next() {
    const Token token = scan();
    text_ = std::string_view(token_, static_cast<size_t>(p_ - token_));
    start_ = source_.offset_of(token_);
    if (token == Token::key)
        expect_colon();
    return token;
}

Token Scanner::scan() {
    if (!skip_blanks()) {
        token_ = p_;
        if (expected_ == Expected::document && (seen_ || several_))
            return Token::end;
        fail_at_end();
    }
    token_ = p_;
    if (expected_ == Expected::comma) {
        if (*p_ == '}' && open_.back() == '{')
            return close('{', Token::close_object);
        if (*p_ == ']' && open_.back() == '[')
            return close('[', Token::close_array);
        if (*p_ != ',')
            fail_unexpected();
        ++p_;
        expected_ = open_.back() == '{' ? Expected::key : Expected::value;
        if (!skip_blanks())
            fail_at_end();
        token_ = p_;
    } else if (expected_ == Expected::document && seen_ && !several_) {
        fail(WIQ_ERR_JSON_TRAILING_DATA);
    }
    const char c = *p_;
    if (expected_ == Expected::key || expected_ == Expected::first_key) {
        if (c == '"')
            return scan_string(true);
        if (c == '}' && expected_ == Expected::first_key)
            return close('{', Token::close_object);
        fail_unexpected();
    }
    switch (c) {
        case '"':
            return scan_string(false);
        case '{':
            return open('{', Expected::first_key, Token::open_object);
        case '[':
            return open('[', Expected::first_value, Token::open_array);
        case ']':
            if (expected_ == Expected::first_value)
                return close('[', Token::close_array);
            fail_unexpected();
        case '}':
        case ',':
        case ':':
            fail_unexpected();
        default:
            if (c == '-' || is_digit(c))
                return scan_number();
            return scan_word();
    }
}

Token Scanner::open(char bracket, Expected expected, Token token) {
    if (limits().depth != 0 && open_.size() >= limits().depth)
        throw failure("deeper than the " + std::to_string(limits().depth) +
                      " levels that --max-depth allows");
    ++p_;
    open_.push_back(bracket);
    expected_ = expected;
    return token;
}

Token Scanner::close(char, Token token) {
    ++p_;
    open_.pop_back();
    finish_value();
    return token;
}

// Sets what may follow a value.
void Scanner::finish_value() {
    expected_ = open_.empty() ? Expected::document : Expected::comma;
    seen_ = true;
}

// Skips the colon and the blanks around it; the key's text stays in the window.
void Scanner::expect_colon() {
    const u64 key = start_;
    const size_t length = text_.size();
    for (int c = peek(); c == ' ' || c == '\n' || c == '\t' || c == '\r'; c = peek())
        ++p_;
    const int c = peek();
    if (c == -1)
        fail(WIQ_ERR_JSON_UNEXPECTED_TOKEN, "the text ends where a colon is due");
    if (c != ':')
        fail(WIQ_ERR_JSON_UNEXPECTED_TOKEN, "a colon is due after a key");
    ++p_;
    expected_ = Expected::value;
    text_ = std::string_view(source_.at_offset(key), length);
}

Token Scanner::scan_string(bool is_key) {
    ++p_;
    for (;;) {
        while (p_ != end_ && is_plain(*p_))
            ++p_;
        const int c = peek();
        if (c == -1)
            fail(WIQ_ERR_JSON_UNEXPECTED_END, "a closing quote is missing");
        if (c == '"')
            break;
        if (c == '\\')
            scan_escape();
        else if (c >= 0x80)
            scan_utf8();
        else if (c < 0x20)
            fail(WIQ_ERR_JSON_CONTROL_CHAR);
    }
    ++p_;
    if (is_key)
        return Token::key;
    finish_value();
    return Token::string;
}

void Scanner::scan_escape() {
    ++p_;
    const int c = peek();
    switch (c) {
        case '"':
        case '\\':
        case '/':
        case 'b':
        case 'f':
        case 'n':
        case 'r':
        case 't':
            ++p_;
            return;
        case 'u':
            scan_unicode_escape();
            return;
        case -1:
            fail(WIQ_ERR_JSON_UNEXPECTED_END, "a closing quote is missing");
        default:
            fail(WIQ_ERR_JSON_BAD_ESCAPE);
    }
}

// Scans the four hexadecimal digits after the "u", which is the next character.
u32 Scanner::scan_hex() {
    ++p_;
    u32 value = 0;
    for (int i = 0; i < 4; ++i) {
        const int c = peek();
        if (c == -1)
            fail(WIQ_ERR_JSON_UNEXPECTED_END, "a closing quote is missing");
        const int lower = c | 0x20;
        if (!is_digit(c) && (lower < 'a' || lower > 'f'))
            fail(WIQ_ERR_JSON_BAD_ESCAPE);
        value = value << 4 | static_cast<u32>(is_digit(c) ? c - '0' : lower - 'a' + 10);
        ++p_;
    }
    return value;
}

void Scanner::scan_unicode_escape() {
    const u32 unit = scan_hex();
    bool good = unit != 0 && (unit < 0xDC00 || unit > 0xDFFF);
    if (good && unit >= 0xD800 && unit <= 0xDBFF) {
        good = peek() == '\\';
        if (good) {
            ++p_;
            good = peek() == 'u';
        }
        if (good) {
            const u32 low = scan_hex();
            good = low >= 0xDC00 && low <= 0xDFFF;
        }
    }
    if (!good)
        fail(WIQ_ERR_JSON_BAD_UNICODE_ESCAPE);
}

void Scanner::scan_utf8() {
    const u32 length = wiq_utf8_char_sz(static_cast<u8>(*p_));
    if (length < 2)
        fail(WIQ_ERR_JSON_BAD_UTF8);
    while (end_ - p_ < static_cast<std::ptrdiff_t>(length)) {
        if (!refill())
            fail(WIQ_ERR_JSON_BAD_UTF8);
    }
    static constexpr u32 kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    u32 code_point = static_cast<u8>(*p_) & (0x7Fu >> length);
    bool good = true;
    for (u32 i = 1; i < length; ++i) {
        const u32 byte = static_cast<u8>(p_[i]);
        good = good && (byte & 0xC0) == 0x80;
        code_point = code_point << 6 | (byte & 0x3F);
    }
    if (!good || code_point < kLeast[length] || code_point > 0x10FFFF ||
        (code_point >= 0xD800 && code_point <= 0xDFFF))
        fail(WIQ_ERR_JSON_BAD_UTF8);
    p_ += length;
}

// Scans one or more digits.
void Scanner::scan_digits() {
    if (!is_digit(peek()))
        fail(WIQ_ERR_JSON_BAD_NUMBER);
    while (is_digit(peek()))
        ++p_;
}

Token Scanner::scan_number() {
    if (*p_ == '-')
        ++p_;
    if (peek() == '0') {
        ++p_;
        if (is_digit(peek()))
            fail(WIQ_ERR_JSON_BAD_NUMBER);
    } else {
        scan_digits();
    }
    if (peek() == '.') {
        ++p_;
        scan_digits();
    }
    if (peek() == 'e' || peek() == 'E') {
        ++p_;
        if (peek() == '+' || peek() == '-')
            ++p_;
        scan_digits();
    }
    finish_value();
    return Token::number;
}

Token Scanner::scan_word() {
    while (is_letter(peek()))
        ++p_;
    const std::string_view word(token_, static_cast<size_t>(p_ - token_));
    if (word == "true" || word == "false" || word == "null") {
        finish_value();
        return Token::word;
    }
    // The message points to the last letter of an unknown word, and to a byte that cannot start a word.
    if (p_ == token_)
        fail(WIQ_ERR_JSON_BAD_TOKEN);
    const std::string found = "found " + quoted(word);
    --p_;
    fail(WIQ_ERR_JSON_BAD_TOKEN, found);
}

}  // namespace tool
