// Finds out how a document is laid out, so that what is added looks like the rest.
#pragma once

#include <string>

#include "document.h"

namespace tool {

class Style {
  public:
    explicit Style(const Document& document);

    const Document& document() const { return document_; }
    // The colon between a key and its value, with the blanks around it, as the document has them.
    const std::string& colon() const { return colon_; }
    const std::string& unit() const { return unit_; }
    const std::string& line_feed() const { return line_feed_; }
    // Whether the members of new containers go on separate lines.
    bool in_lines() const { return in_lines_; }

    // Returns the blanks at the start of the line that contains an offset.
    std::string indentation(size_t offset) const;
    // Returns the comma and the blanks between children of this container, which must have some.
    std::string separator(NodeId container) const;
    // Returns the colon and the blanks of the container's last member.
    std::string colon_in(NodeId container) const;

  private:
    const Document& document_;
    std::string colon_ = ": ";
    std::string unit_ = "  ";
    std::string line_feed_ = "\n";
    bool in_lines_ = false;
};

}  // namespace tool
