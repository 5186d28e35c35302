// How a document is laid out, so that what is added looks like what is there.
#pragma once

#include <string>

#include "document.h"

namespace tool {

class Style {
  public:
    explicit Style(const Document& document);

    const Document& document() const { return document_; }
    // Blanks and colon between a key and its value, as the document has them.
    const std::string& colon() const { return colon_; }
    const std::string& unit() const { return unit_; }
    const std::string& line_feed() const { return line_feed_; }
    // Whether the members of new containers go on lines of their own.
    bool in_lines() const { return in_lines_; }

    // The blanks at the start of the line that an offset is in.
    std::string indentation(size_t offset) const;
    // Comma and blanks between a container's children, who are there.
    std::string separator(NodeId container) const;
    // Colon and blanks as the container's last member has them.
    std::string colon_in(NodeId container) const;

  private:
    const Document& document_;
    std::string colon_ = ": ";
    std::string unit_ = "  ";
    std::string line_feed_ = "\n";
    bool in_lines_ = false;
};

}  // namespace tool
