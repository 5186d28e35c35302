// Reads the tokens of a JSON text one after the other, each as it is written. Code that shows or edits
// documents works on tokens, so reading never changes a number or a string. The grammar is that of RFC 8259.
// The scanner rejects what the library's parser rejects, except that strings may contain non-ASCII characters
// as UTF-8.
#pragma once

#include <string_view>
#include <vector>

#include "source.h"

namespace tool {

enum class Token : u8 {
    end,
    open_object,
    close_object,
    open_array,
    close_array,
    key,  // with its quotes; next() also consumes the colon after it
    string,
    number,
    word,       // true, false, null
    reference,  // an object that is just {"$ref": "text"}; only FoldedTokens returns it
};

constexpr bool is_scalar(Token token) {
    return token >= Token::string;
}

class Scanner {
  public:
    // If `several` is set, the text may hold any number of documents, one after the other.
    explicit Scanner(Source& source, bool several = false);

    // Returns the next token; throws a Failure at a mistake, for example if a document ends early.
    Token next();

    // The token's text, valid until next(); for a bracket, the bracket itself.
    std::string_view text() const { return text_; }
    // Where the token starts and ends, in bytes of the text, not counting a byte order mark.
    u64 start() const { return start_; }
    u64 stop() const { return start_ + text_.size(); }
    // The number of containers that are open before the next token.
    size_t depth() const { return open_.size(); }
    // Returns a Failure that reports a mistake at this token.
    Failure failure(const std::string& message, int exit_status = kExitData);

  private:
    enum class Expected : u8 { document, value, first_value, key, first_key, comma };

    Token scan();
    Token open(char bracket, Expected expected, Token token);
    Token close(char bracket, Token token);
    Token scan_string(bool is_key);
    Token scan_number();
    Token scan_word();
    void scan_escape();
    void scan_utf8();
    void scan_unicode_escape();
    u32 scan_hex();
    void scan_digits();
    bool refill();
    int peek();
    bool skip_blanks();
    Token take(Token token);
    void finish_value();
    void expect_colon();
    [[noreturn]] void fail(i32 status, std::string_view found = {});
    [[noreturn]] void fail_at_end();
    [[noreturn]] void fail_unexpected();

    Source& source_;
    std::vector<char> open_;
    std::string_view text_;
    u64 start_ = 0;
    const char* p_;
    const char* end_;
    const char* token_;  // where the current token starts in the window
    Expected expected_ = Expected::document;
    bool several_;
    bool seen_ = false;  // a document has been read
};

}  // namespace tool
