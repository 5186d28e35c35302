// See json_difference.h. Pairs of values that are still to be compared wait on a list.
#include "json_difference.h"

#include <algorithm>
#include <vector>

#include "json_string.h"

namespace tool {

namespace {

constexpr size_t kShownBytes = 60;

// A value as a message shows it.
std::string shown(const Document& document, NodeId node) {
    switch (document.kind(node)) {
        case Kind::object:
            return "an object";
        case Kind::array:
            return "an array";
        default:
            break;
    }
    std::string_view text = document.text_of(node);
    if (text.size() <= kShownBytes)
        return std::string(text);
    size_t cut = kShownBytes;
    while (cut > 0 && (static_cast<u8>(text[cut]) & 0xC0) == 0x80)
        --cut;
    return std::string(text.substr(0, cut)) + "...";
}

bool same_scalar(const Document& a, NodeId in_a, const Document& b, NodeId in_b) {
    const std::string_view text_a = a.text_of(in_a);
    const std::string_view text_b = b.text_of(in_b);
    if (text_a == text_b)
        return true;
    switch (a.kind(in_a)) {
        case Kind::number:
            return compare_numbers(text_a, text_b) == 0;
        case Kind::string:
            return decode_string(text_a) == decode_string(text_b);
        default:
            return false;
    }
}

constexpr NodeId kNone = 0xFFFFFFFF;

// Two values at the same place; kNone where one of the documents has none there.
struct Pair {
    NodeId a, b;
};

class Comparison {
  public:
    Comparison(const Document& a, const Document& b) : a_(a), b_(b) {}

    // Whether the values are equal; what is not is told by text().
    bool run(NodeId in_a, NodeId in_b) {
        todo_.push_back({in_a, in_b});
        while (!todo_.empty()) {
            const Pair pair = todo_.back();
            todo_.pop_back();
            if (!compare(pair))
                return false;
        }
        return true;
    }

    const std::string& text() const { return text_; }

  private:
    bool compare(const Pair& pair) {
        if (pair.b == kNone)
            return differ(a_, pair.a, "only the first document has it");
        if (pair.a == kNone)
            return differ(b_, pair.b, "only the second document has it");
        const Kind kind = a_.kind(pair.a);
        const size_t first = todo_.size();
        if (kind == b_.kind(pair.b) && kind == Kind::object)
            add_members(pair);
        else if (kind == b_.kind(pair.b) && kind == Kind::array)
            add_elements(pair);
        else if (kind != b_.kind(pair.b) || !same_scalar(a_, pair.a, b_, pair.b))
            return differ(a_, pair.a, shown(a_, pair.a) + " is not " + shown(b_, pair.b));
        // The list is worked off from its end.
        std::reverse(todo_.begin() + static_cast<std::ptrdiff_t>(first), todo_.end());
        return true;
    }

    void add_members(const Pair& pair) {
        const std::vector<Member> of_a = a_.members(pair.a);
        const std::vector<Member> of_b = b_.members(pair.b);
        size_t i = 0;
        size_t j = 0;
        while (i < of_a.size() || j < of_b.size()) {
            const int order = i == of_a.size()   ? 1
                              : j == of_b.size() ? -1
                                                 : of_a[i].key.compare(of_b[j].key);
            todo_.push_back({order > 0 ? kNone : of_a[i].node, order < 0 ? kNone : of_b[j].node});
            i += order > 0 ? 0 : 1;
            j += order < 0 ? 0 : 1;
        }
    }

    void add_elements(const Pair& pair) {
        NodeId a = a_.first_child(pair.a);
        NodeId b = b_.first_child(pair.b);
        while (a != a_.end_of(pair.a) || b != b_.end_of(pair.b)) {
            const bool in_a = a != a_.end_of(pair.a);
            const bool in_b = b != b_.end_of(pair.b);
            todo_.push_back({in_a ? a : kNone, in_b ? b : kNone});
            a = in_a ? a_.next(a) : a;
            b = in_b ? b_.next(b) : b;
        }
    }

    bool differ(const Document& document, NodeId node, const std::string& how) {
        const std::string pointer = document.pointer_of(node);
        text_ = (pointer.empty() ? "the whole document" : pointer) + ": " + how;
        return false;
    }

    const Document& a_;
    const Document& b_;
    std::vector<Pair> todo_;
    std::string text_;
};

}  // namespace

bool is_equal(const Document& a, NodeId in_a, const Document& b, NodeId in_b) {
    return Comparison(a, b).run(in_a, in_b);
}

std::string first_difference(const Document& a, const Document& b) {
    Comparison comparison(a, b);
    comparison.run(a.root(), b.root());
    return comparison.text();
}

}  // namespace tool
