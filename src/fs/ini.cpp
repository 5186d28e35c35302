// The INI parser. It reads one line at a time and cuts names and values out of the buffer of the
// line. Each token comes with its location in the file.

#include <cstdlib>
#include <cstring>

#include "fs/file.h"
#include "fs/ini.h"
#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "os/os.h"
#include "text/ctype.h"

namespace {

enum TokenKind {
    kIniNone = 0,
    kIniWord = 1,
    kIniQuoted = 2,
    kIniEquals = 3,
    kIniComment = 4,
    kIniEol = 5,
    kIniOpenBracket = 6,
    kIniCloseBracket = 7,
    kIniUnterminated = 8,
    kIniBadCr = 9,
};

struct IniToken {
    TokenKind kind;
    u32 start;   // offset in the line
    u32 length;  // in bytes; that of kIniQuoted includes both quotes
};

// Tells which bytes end a word. This is a table, since it is consulted for every byte of a file.
struct WordEnds {
    constexpr WordEnds() : ends() {
        for (int c = 0; c < 256; ++c) {
            ends[c] = ke::is_space(static_cast<char>(c)) || c == '"' || c == '#' || c == ';' ||
                      c == '=' || c == '[' || c == ']';
        }
    }
    bool ends[256];
};
constexpr WordEnds kWordEnds;

bool ends_word(char c) {
    return kWordEnds.ends[static_cast<u8>(c)];
}

// Splits one line, with its line break, into tokens.
class LineScanner {
  public:
    LineScanner(const char* line, u32 length) : line_(line), length_(length) {}

    // Returns the next token; at the end of the line, always kIniEol.
    IniToken next() {
        while (position_ < length_ && (line_[position_] == ' ' || line_[position_] == '\t'))
            ++position_;
        const u32 start = position_;
        if (start >= length_)
            return {kIniEol, start, 0};
        const TokenKind kind = scan(line_[start]);
        return {kind, start, position_ - start};
    }

  private:
    TokenKind scan(char first) {
        switch (first) {
            case '#':
            case ';':
                skip_while([](char c) { return c != '\r' && c != '\n'; });
                return kIniComment;
            case '"':
                return scan_quoted();
            case '\n':
                ++position_;
                return kIniEol;
            case '\r':
                return scan_cr();
            case '=':
                ++position_;
                return kIniEquals;
            case '[':
                ++position_;
                return kIniOpenBracket;
            case ']':
                ++position_;
                return kIniCloseBracket;
            default:
                // A byte that only ends words (such as a form feed) begins a word here, so that
                // every token has at least one byte.
                ++position_;
                skip_while([](char c) { return !ends_word(c); });
                return kIniWord;
        }
    }

    TokenKind scan_quoted() {
        const void* close = memchr(line_ + position_ + 1, '"', length_ - position_ - 1);
        if (close == nullptr) {
            position_ = length_;
            return kIniUnterminated;
        }
        position_ = static_cast<u32>(static_cast<const char*>(close) - line_) + 1;
        return kIniQuoted;
    }

    TokenKind scan_cr() {
        ++position_;
        if (position_ == length_ || line_[position_] != '\n')
            return kIniBadCr;
        ++position_;
        return kIniEol;
    }

    template <class Test>
    void skip_while(const Test& test) {
        while (position_ < length_ && test(line_[position_]))
            ++position_;
    }

    const char* line_;
    u32 length_;
    u32 position_ = 0;
};

// Lines and offsets are reported in 32 bits. In a larger file they stop at the largest value.
u32 clamp_to_u32(u64 count) {
    return count < UINT32_MAX ? static_cast<u32>(count) : UINT32_MAX;
}

// Parses the lines of one stream and calls the callbacks.
class IniParser {
  public:
    IniParser(FILE* stream, WiqIniSectionFn on_section, WiqIniKeyFn on_key, WiqIniErrorFn on_error,
              void* user, size_t max_length)
        : stream_(stream),
          on_section_(on_section),
          on_key_(on_key),
          on_error_(on_error),
          user_(user),
          max_length_(max_length) {}
    IniParser(const IniParser&) = delete;
    IniParser& operator=(const IniParser&) = delete;
    ~IniParser() { free(line_); }

    i32 parse() {
        for (;;) {
            const i32 length = ke::getline_locked(&line_, &line_size_, stream_, max_length_);
            if (length < 0)
                return length == WIQ_ERR_EOF ? 0 : length;
            ++line_number_;
            const i32 status = parse_line(static_cast<u32>(length));
            if (status != 0)
                return status;
            line_offset_ += static_cast<u64>(length);
        }
    }

  private:
    i32 parse_line(u32 length) {
        LineScanner scanner(line_, length);
        const IniToken first = scanner.next();
        switch (first.kind) {
            case kIniWord:
                return parse_key(scanner, first);
            case kIniOpenBracket:
                return parse_section(scanner);
            case kIniComment:
            case kIniEol:
                return 0;
            default:
                return syntax_error(first);
        }
    }

    // Parses what follows the first word of a line: "=" and a value.
    i32 parse_key(LineScanner& scanner, const IniToken& key) {
        // A key outside of a section is a mistake of the whole line, so no token is marked.
        if (!in_section_)
            return syntax_error({kIniNone, 0, 0});
        IniToken token = scanner.next();
        if (token.kind != kIniEquals)
            return syntax_error(token);
        IniToken value = scanner.next();
        if (is_empty_quoted(value) || (value.kind != kIniWord && value.kind != kIniQuoted))
            return syntax_error(value);
        token = scanner.next();
        // An unquoted value extends to the end of the last of the words that follow it directly.
        for (; value.kind == kIniWord && token.kind == kIniWord; token = scanner.next())
            value.length = token.start + token.length - value.start;
        if (!ends_statement(token))
            return syntax_error(token);
        // At least the "=" lies between the key and the value, so to cut the one does not change
        // the other.
        const WiqIniLocation key_location = locate(key);
        const WiqIniLocation value_location = locate(without_quotes(value));
        const char* key_text = cut(key);
        const char* value_text = cut(without_quotes(value));
        if (on_key_ == nullptr)
            return 0;
        return on_key_(key_text, &key_location, value_text, &value_location, user_);
    }

    // Parses what follows the "[" of a section header.
    i32 parse_section(LineScanner& scanner) {
        const IniToken name = scanner.next();
        if (name.kind != kIniWord)
            return syntax_error(name);
        in_section_ = true;
        IniToken token = scanner.next();
        IniToken argument = {kIniNone, 0, 0};
        if (is_empty_quoted(token))
            return syntax_error(token);
        if (token.kind == kIniWord || token.kind == kIniQuoted) {
            argument = token;
            token = scanner.next();
        }
        if (token.kind != kIniCloseBracket)
            return syntax_error(token);
        token = scanner.next();
        if (!ends_statement(token))
            return syntax_error(token);
        return report_section(name, argument);
    }

    i32 report_section(const IniToken& name, const IniToken& argument) {
        const WiqIniLocation name_location = locate(name);
        WiqIniLocation argument_location = {0, 0, 0, 0};
        // A word can directly follow the name only if it begins with a byte that ends words (such
        // as a form feed). The NUL of the name replaces this byte, so the argument is then empty,
        // although its location is that of the whole word. The opening quote of a quoted argument
        // may be replaced without harm.
        const char* name_text = cut(name);
        const char* argument_text = nullptr;
        if (argument.kind != kIniNone) {
            argument_location = locate(without_quotes(argument));
            argument_text = cut(without_quotes(argument));
        }
        if (on_section_ == nullptr)
            return 0;
        return on_section_(name_text, &name_location, argument_text, &argument_location, user_);
    }

    i32 syntax_error(const IniToken& token) {
        const WiqIniLocation location = locate(token);
        if (on_error_ != nullptr)
            on_error_(&location, user_);
        return WIQ_ERR_INI_SYNTAX;
    }

    static bool is_empty_quoted(const IniToken& token) {
        return token.kind == kIniQuoted && token.length == 2;
    }
    // Nothing after such a token is scanned. So whatever follows a CR at the end of a comment is
    // ignored.
    static bool ends_statement(const IniToken& token) {
        return token.kind == kIniComment || token.kind == kIniEol;
    }
    // Returns a quoted text without its quotes, and any other token unchanged.
    static IniToken without_quotes(const IniToken& token) {
        return token.kind == kIniQuoted ? IniToken{token.kind, token.start + 1, token.length - 2}
                                        : token;
    }

    WiqIniLocation locate(const IniToken& token) const {
        return {clamp_to_u32(line_number_), token.start + 1, token.length,
                clamp_to_u32(line_offset_ + token.start)};
    }

    // Ends the text of a token with a NUL and returns it. That overwrites the byte after the token,
    // so all tokens of the line must be known by now. After the last token of a line without a line
    // break, this byte is the NUL with which getline_locked() ends the line.
    const char* cut(const IniToken& token) {
        line_[token.start + token.length] = '\0';
        return line_ + token.start;
    }

    FILE* stream_;
    WiqIniSectionFn on_section_;
    WiqIniKeyFn on_key_;
    WiqIniErrorFn on_error_;
    void* user_;
    size_t max_length_;
    char* line_ = nullptr;
    size_t line_size_ = 0;
    u64 line_number_ = 0;
    u64 line_offset_ = 0;
    bool in_section_ = false;
};

}  // namespace

i32 ke::ini_parse(FILE* stream, WiqIniSectionFn on_section, WiqIniKeyFn on_key,
                  WiqIniErrorFn on_error, void* user, size_t max_length) {
    if (stream == nullptr)
        return WIQ_ERR_INVALID_ARG;
    // Locked once for the file, not for each line.
    ke::os::lock_stream(stream);
    const i32 status = IniParser(stream, on_section, on_key, on_error, user, max_length).parse();
    ke::os::unlock_stream(stream);
    return status;
}

i32 wiq_ini_parse(FILE* stream, WiqIniSectionFn on_section, WiqIniKeyFn on_key,
                  WiqIniErrorFn on_error, void* user) {
    return ke::ini_parse(stream, on_section, on_key, on_error, user, ke::kMaxLineLength);
}
