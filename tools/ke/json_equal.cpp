// See json_equal.h. Pairs of values that have yet to be compared wait in a list.
#include "json_equal.h"

#include <algorithm>
#include <vector>

#include "json_string.h"

namespace tool {

namespace {

constexpr size_t kMaxShownBytes = 60;

// Returns a value as messages show it.
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
    if (text.size() <= kMaxShownBytes)
        return std::string(text);
    size_t cut = kMaxShownBytes;
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

// Two values at the same place; kNone if one of the documents has no value there.
struct Pair {
    NodeId a, b;
};

// Work left to do: successive siblings of both documents, up to an end.
struct Run {
    NodeId a, end_of_a;
    NodeId b, end_of_b;
};

class Comparison {
  public:
    Comparison(const Document& a, const Document& b) : a_(a), b_(b) {}

    // Returns whether the values are equal; text() then describes the first difference.
    bool run(NodeId in_a, NodeId in_b) {
        add({in_a, in_b});
        while (!todo_.empty()) {
            Run& run = todo_.back();
            const Pair pair = {run.a == run.end_of_a ? kNone : run.a,
                               run.b == run.end_of_b ? kNone : run.b};
            if (pair.a != kNone)
                run.a = a_.next(pair.a);
            if (pair.b != kNone)
                run.b = b_.next(pair.b);
            if (pair.a == kNone && pair.b == kNone)
                todo_.pop_back();
            else if (!compare(pair))
                return false;
        }
        return true;
    }

    // Returns the first difference found, or "" if the documents are equal.
    std::string text() const {
        if (where_ == nullptr)
            return "";
        const std::string pointer = where_->pointer_of(node_);
        return (pointer.empty() ? "the whole document" : pointer) + ": " + how_;
    }

  private:
    bool compare(const Pair& pair) {
        if (pair.b == kNone)
            return differ(a_, pair.a, "only the first document has it");
        if (pair.a == kNone)
            return differ(b_, pair.b, "only the second document has it");
        const Kind kind = a_.kind(pair.a);
        if (kind == b_.kind(pair.b) && kind == Kind::object)
            add_members(pair);
        else if (kind == b_.kind(pair.b) && kind == Kind::array)
            todo_.push_back({a_.first_child(pair.a), a_.end_of(pair.a), b_.first_child(pair.b),
                             b_.end_of(pair.b)});
        else if (kind != b_.kind(pair.b) || !same_scalar(a_, pair.a, b_, pair.b))
            return differ(a_, pair.a, shown(a_, pair.a) + " is not " + shown(b_, pair.b));
        return true;
    }

    void add(const Pair& pair) {
        todo_.push_back({pair.a, pair.a == kNone ? kNone : a_.next(pair.a), pair.b,
                         pair.b == kNone ? kNone : b_.next(pair.b)});
    }

    void add_members(const Pair& pair) {
        const std::vector<MemberPair> members = members_of_both(a_, pair.a, b_, pair.b);
        // Reserve exactly what one large object needs, but grow by half when many objects are nested.
        if (todo_.capacity() - todo_.size() < members.size())
            todo_.reserve(std::max(todo_.size() + members.size(), todo_.capacity() * 3 / 2));
        // The list is processed from its end, so the first member is added last.
        for (size_t i = members.size(); i-- > 0;)
            add({members[i].a, members[i].b});
    }

    // Making the pointer means counting all siblings before a value, so it is made only when text() is
    // called.
    bool differ(const Document& document, NodeId node, const std::string& how) {
        where_ = &document;
        node_ = node;
        how_ = how;
        return false;
    }

    const Document& a_;
    const Document& b_;
    std::vector<Run> todo_;
    const Document* where_ = nullptr;
    NodeId node_ = 0;
    std::string how_;
};

}  // namespace

std::vector<MemberPair> members_of_both(const Document& a, NodeId in_a, const Document& b,
                                        NodeId in_b) {
    const std::vector<NodeId> of_a = a.members(in_a);
    const std::vector<NodeId> of_b = b.members(in_b);
    std::vector<MemberPair> pairs;
    pairs.reserve(std::max(of_a.size(), of_b.size()));
    size_t i = 0;
    size_t j = 0;
    while (i < of_a.size() || j < of_b.size()) {
        const int order = i == of_a.size()   ? 1
                          : j == of_b.size() ? -1
                                             : a.compare_keys(of_a[i], b, of_b[j]);
        pairs.push_back({order > 0 ? kNone : of_a[i], order < 0 ? kNone : of_b[j]});
        i += order > 0 ? 0 : 1;
        j += order < 0 ? 0 : 1;
    }
    return pairs;
}

bool is_equal(const Document& a, NodeId in_a, const Document& b, NodeId in_b) {
    return Comparison(a, b).run(in_a, in_b);
}

std::string first_difference(const Document& a, const Document& b) {
    Comparison comparison(a, b);
    comparison.run(a.root(), b.root());
    return comparison.text();
}

}  // namespace tool
