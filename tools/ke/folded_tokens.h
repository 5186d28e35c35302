// The tokens of a text, with each object that the library reads as a reference folded into one token.
#pragma once

#include <deque>
#include <string>

#include "scanner.h"

namespace tool {

class FoldedTokens {
  public:
    explicit FoldedTokens(Scanner& scanner) : scanner_(scanner) {}

    Token next();
    std::string_view text() const { return text_; }  // valid until next()

  private:
    struct Held {
        Token token;
        std::string text;
    };
    void hold(Token token) { held_.push_back({token, std::string(scanner_.text())}); }
    void look_ahead();

    Scanner& scanner_;
    std::deque<Held> held_;
    std::string current_;
    std::string_view text_;
};

}  // namespace tool
