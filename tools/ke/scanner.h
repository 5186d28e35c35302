// The tokens of a JSON text, one after the other, each as it is written: what shows or edits a document
// works on these, so that no number and no string is changed by being read. The grammar is that of
// RFC 8259, and what is refused is what the library's parser refuses, except that characters beyond ASCII
// may stand in strings as UTF-8.
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
    key,  // with its quotes; the colon is behind it
    string,
    number,
    word,       // true, false, null
    reference,  // an object that is nothing but {"$ref": "text"}; only FoldedTokens has it
};

constexpr bool is_scalar(Token token) {
    return token >= Token::string;
}

class Scanner {
  public:
    // `several` takes any number of documents one after the other.
    explicit Scanner(Source& source, bool several = false);

    // The next token; throws a Failure at a mistake. A document that ends early is one.
    Token next();

    // The token's text, valid until next(): of a bracket the bracket itself.
    std::string_view text() const { return text_; }
    // Where the token starts and where it ends, in bytes of the text (a byte order mark not counted).
    u64 start() const { return start_; }
    u64 stop() const { return start_ + text_.size(); }
    // Containers that are open around the next token.
    size_t depth() const { return open_.size(); }
    // A mistake that is found in this token.
    Failure failure(const std::string& message, int exit_status = kExitData);

  private:
    enum class Due : u8 { document, value, first_value, key, first_key, comma };

    Token scan();
    Token open(char bracket, Due due, Token token);
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
    Due due_ = Due::document;
    bool several_;
    bool seen_ = false;  // a document
};

}  // namespace tool
