// Lays tokens out as they come. Only the blanks between them are its own.
#pragma once

#include "scanner.h"
#include "sink.h"

namespace tool {

// How JSON is to look; the options of every command that writes it.
struct Layout {
    bool compact = false;
    bool sort_keys = false;
    bool u128_as_object = false;
    int indent = 2;

    bool is_asked_for = false;  // one of the options was given
};

class JsonWriter {
  public:
    JsonWriter(Sink& sink, const Layout& layout)
        : sink_(sink), layout_(layout), coloured_(sink.coloured()) {}

    // One token of the document. Keys and values are written as they are.
    void add(Token token, std::string_view text);
    // The line feed behind a document.
    void end_document() { sink_.put('\n'); }

  private:
    void separate();
    void break_line();
    void write_coloured(Token token, std::string_view text);

    Sink& sink_;
    Layout layout_;
    bool coloured_;
    size_t depth_ = 0;
    bool first_ = true;  // nothing stands in the innermost container yet
    bool after_key_ = false;
};

}  // namespace tool
