// See folded_tokens.h.
#include "folded_tokens.h"

#include "json_string.h"

namespace tool {

Token FoldedTokens::next() {
    if (held_.empty()) {
        const Token token = scanner_.next();
        if (token != Token::open_object) {
            text_ = scanner_.text();
            return token;
        }
        look_ahead();
    }
    const Token token = held_.front().token;
    current_ = std::move(held_.front().text);
    held_.pop_front();
    text_ = current_;
    return token;
}

// Called after "{". Reads as many tokens as it takes to see whether the object is a reference. If there are
// several "$ref" members, the last counts, as with all keys.
void FoldedTokens::look_ahead() {
    size_t base = 0;  // where the innermost candidate starts in the list
    hold(Token::open_object);
    for (;;) {
        Token token = scanner_.next();
        hold(token);
        if (token == Token::close_object && held_[held_.size() - 2].token == Token::string) {
            const std::string target = held_[held_.size() - 2].text;
            held_.resize(base);
            held_.push_back({Token::reference, "{\"$ref\":" + target + "}"});
            return;
        }
        if (token != Token::key || !stands_for(scanner_.text(), "$ref"))
            return;
        token = scanner_.next();
        // A nested object may itself be a reference, so the innermost object becomes the candidate.
        if (token == Token::open_object)
            base = held_.size();
        hold(token);
        if (!is_scalar(token) && token != Token::open_object)
            return;
    }
}

}  // namespace tool
