// See json_writer.h.
#include "json_writer.h"

namespace tool {

void JsonWriter::break_line() {
    if (layout_.compact)
        return;
    sink_.put('\n');
    sink_.fill(' ', depth_ * static_cast<size_t>(layout_.indent));
}

// Writes what separates a key or a value from the previous token.
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

// Writes a key or a value in colour, for a person.
void JsonWriter::write_coloured(Token token, std::string_view text) {
    sink_.write(token == Token::key      ? "\033[1;34m"
                : token == Token::string ? "\033[32m"
                : token == Token::number ? "\033[36m"
                                         : "\033[35m");
    sink_.write(text);
    sink_.write("\033[0m");
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
    if (coloured_ && !first_)
        write_coloured(token, text);
    else
        sink_.write(text);
    if (token == Token::key) {
        sink_.write(layout_.compact ? ":" : ": ");
        after_key_ = true;
    }
}

}  // namespace tool
