// See json_diff.h. If two arrays start or end with the same elements, these stay; what lies between is
// changed element by element. Pairs of values that have yet to be compared wait in a list.
#include "json_diff.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "json_equal.h"
#include "json_string.h"

namespace tool {

namespace {

struct Pair {
    NodeId a, b;
    std::string pointer;
};

class Difference {
  public:
    Difference(const Document& a, const Document& b) : a_(a), b_(b) {}

    std::string text() {
        todo_.push_back({a_.root(), b_.root(), ""});
        while (!todo_.empty()) {
            const Pair pair = std::move(todo_.back());
            todo_.pop_back();
            compare(pair);
        }
        return "[" + text_ + "]";
    }

  private:
    void operation(const char* name, const std::string& pointer, std::string_view value) {
        text_ += text_.empty() ? "" : ",";
        text_ += "{\"op\":\"" + std::string(name) + "\",\"path\":" + encode_string(pointer);
        if (!value.empty())
            text_ += ",\"value\":" + std::string(value);
        text_ += "}";
    }

    void compare(const Pair& pair) {
        const Kind kind = a_.kind(pair.a);
        const bool same_kind = kind == b_.kind(pair.b);
        if (same_kind && kind == Kind::object)
            compare_members(pair);
        else if (same_kind && kind == Kind::array)
            compare_elements(pair);
        else if (!is_equal(a_, pair.a, b_, pair.b))
            operation("replace", pair.pointer, b_.text_of(pair.b));
    }

    void compare_members(const Pair& pair) {
        for (const MemberPair& member : members_of_both(a_, pair.a, b_, pair.b)) {
            const std::string_view key = member.a == kNone ? b_.key(member.b) : a_.key(member.a);
            const std::string pointer = pair.pointer + escaped_step(decode_string(key));
            if (member.b == kNone)
                operation("remove", pointer, "");
            else if (member.a == kNone)
                operation("add", pointer, b_.text_of(member.b));
            else
                add(member.a, member.b, pointer);
        }
    }

    // A waiting pair needs memory for its own pointer, so values whose texts are the same are not added. Long
    // texts are not compared here, because then each level of a deep document would read everything below it.
    void add(NodeId a, NodeId b, const std::string& pointer) {
        static constexpr size_t kMaxComparedText = 4096;
        const std::string_view text = a_.text_of(a);
        if (text.size() > kMaxComparedText || text != b_.text_of(b))
            todo_.push_back({a, b, pointer});
    }

    void compare_elements(const Pair& pair) {
        if (a_.child_count(pair.a) != b_.child_count(pair.b))
            return compare_shifted(pair);
        NodeId a = a_.first_child(pair.a);
        NodeId b = b_.first_child(pair.b);
        for (u64 i = 0; a != a_.end_of(pair.a); ++i) {
            add(a, b, pair.pointer + "/" + std::to_string(i));
            a = a_.next(a);
            b = b_.next(b);
        }
    }

    // Compares arrays of different lengths.
    void compare_shifted(const Pair& pair) {
        const std::vector<NodeId> of_a = a_.children(pair.a);
        const std::vector<NodeId> of_b = b_.children(pair.b);
        const size_t shorter = std::min(of_a.size(), of_b.size());
        size_t front = 0;
        while (front < shorter && is_equal(a_, of_a[front], b_, of_b[front]))
            ++front;
        size_t back = 0;
        while (back < shorter - front &&
               is_equal(a_, of_a[of_a.size() - 1 - back], b_, of_b[of_b.size() - 1 - back]))
            ++back;
        const auto pointer_of = [&](size_t i) { return pair.pointer + "/" + std::to_string(i); };
        for (size_t i = front; i < shorter - back; ++i)
            add(of_a[i], of_b[i], pointer_of(i));
        for (size_t i = of_a.size() - back; i > shorter - back; --i)
            operation("remove", pointer_of(i - 1), "");
        for (size_t i = shorter - back; i + back < of_b.size(); ++i)
            operation("add", pointer_of(i), b_.text_of(of_b[i]));
    }

    const Document& a_;
    const Document& b_;
    std::vector<Pair> todo_;
    std::string text_;
};

}  // namespace

std::string difference_patch(const Document& a, const Document& b) {
    return Difference(a, b).text();
}

}  // namespace tool
