// Lays out tokens as they arrive. It adds only the blanks and separators between them.
#pragma once

#include "scanner.h"
#include "sink.h"

namespace tool {

// The layout of JSON output; the options of every command that writes JSON.
struct Layout {
    bool compact = false;
    bool sort_keys = false;
    bool u128_as_object = false;
    int indent = 2;

    bool is_asked_for = false;  // whether one of the options was given
};

class JsonWriter {
  public:
    JsonWriter(Sink& sink, const Layout& layout)
        : sink_(sink), layout_(layout), coloured_(sink.coloured()) {}

    // Adds one token of the document. Keys and values are written unchanged.
    void add(Token token, std::string_view text);
    // Writes the line feed after a document.
    void end_document() { sink_.put('\n'); }

  private:
    void separate();
    void break_line();
    void write_coloured(Token token, std::string_view text);

    Sink& sink_;
    Layout layout_;
    bool coloured_;
    size_t depth_ = 0;
    bool first_ = true;  // the innermost container has no children yet
    bool after_key_ = false;
};

}  // namespace tool
