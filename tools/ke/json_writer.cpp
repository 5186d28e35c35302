// See json_writer.h.
#include "json_writer.h"

namespace tool {

void JsonWriter::break_line() {
    if (layout_.compact)
        return;
    sink_.put('\n');
    sink_.fill(' ', depth_ * static_cast<size_t>(layout_.indent));
}

// What stands between the token before and a key or a value.
void JsonWriter::separate() {
    if (after_key_) {
        after_key_ = false;
        return;
    }
    if (depth_ == 0)
        return;
    if (!first_)
        sink_.put(',');
    break_line();
}

void JsonWriter::add(Token token, std::string_view text) {
    if (token == Token::close_object || token == Token::close_array) {
        --depth_;
        if (!first_)
            break_line();
        first_ = false;
        sink_.put(token == Token::close_object ? '}' : ']');
        return;
    }
    separate();
    first_ = token == Token::open_object || token == Token::open_array;
    if (first_)
        ++depth_;
    sink_.write(text);
    if (token == Token::key) {
        sink_.write(layout_.compact ? ":" : ": ");
        after_key_ = true;
    }
}

}  // namespace tool
