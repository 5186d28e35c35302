// See json_style.h.
#include "json_style.h"

namespace tool {

namespace {

std::string between(const Document& document, size_t from, size_t to) {
    return std::string(document.text().substr(from, to - from));
}

std::string colon_of(const Document& document, NodeId member) {
    const size_t key_stop = document.member_start(member) + document.key(member).size();
    return between(document, key_stop, document.start(member));
}

}  // namespace

Style::Style(const Document& document) : document_(document) {
    const std::string_view text = document.text();
    const NodeId root = document.root();
    const size_t feed = text.find('\n');
    if (feed != std::string_view::npos && feed > 0 && text[feed - 1] == '\r')
        line_feed_ = "\r\n";
    const NodeId first = document.first_child(root);
    if (!document.has_children(root))
        return;
    const std::string blanks =
        between(document, document.start(root) + 1, document.member_start(first));
    const size_t last_feed = blanks.rfind('\n');
    in_lines_ = last_feed != std::string::npos;
    if (in_lines_ && last_feed + 1 < blanks.size())
        unit_ = blanks.substr(last_feed + 1);
    // Take the spacing from the first key of the text, at whatever depth.
    for (NodeId node = first; node != document.end_of(root); ++node) {
        if (!document.key(node).empty()) {
            colon_ = colon_of(document, node);
            break;
        }
    }
}

std::string Style::indentation(size_t offset) const {
    const std::string_view text = document_.text();
    const size_t start = offset == 0 ? 0 : text.rfind('\n', offset - 1) + 1;  // npos + 1 is 0
    const size_t stop = text.find_first_not_of(" \t", start);
    return std::string(text.substr(start, std::min(stop, offset) - start));
}

std::string Style::separator(NodeId container) const {
    NodeId before = container;
    NodeId last = document_.first_child(container);
    for (NodeId child = document_.next(last); child != document_.end_of(container);
         child = document_.next(child)) {
        before = last;
        last = child;
    }
    if (before != container)
        return between(document_, document_.stop(before), document_.member_start(last));
    const std::string blanks =
        between(document_, document_.start(container) + 1, document_.member_start(last));
    if (blanks.find('\n') != std::string::npos)
        return "," + blanks;
    return colon_.back() == ':' ? "," : ", ";
}

std::string Style::colon_in(NodeId container) const {
    if (!document_.has_children(container) || document_.kind(container) != Kind::object)
        return colon_;
    NodeId last = document_.first_child(container);
    while (document_.next(last) != document_.end_of(container))
        last = document_.next(last);
    return colon_of(document_, last);
}

}  // namespace tool
