// See document.h.
#include "document.h"

#include <algorithm>
#include <utility>

#include "json_string.h"
#include "ke_utils/core.h"

namespace tool {

Document::Document(std::string name, std::string_view text) : name_(std::move(name)), text_(text) {
    read();
}

void Document::read() {
    Source source(name_, text_);
    Scanner scanner(source);
    std::vector<NodeId> open;
    size_t key_start = text_.size();
    for (Token token = scanner.next(); token != Token::end; token = scanner.next()) {
        const size_t start = static_cast<size_t>(scanner.start());
        switch (token) {
            case Token::key:
                key_start = start;
                continue;
            case Token::close_object:
            case Token::close_array:
                at(open.back()).count = size_ - open.back();
                set_length(open.back(), start + 1 - at(open.back()).start);
                open.pop_back();
                continue;
            default:
                break;
        }
        const NodeId node = add(start, std::min(key_start, start));
        key_start = text_.size();
        if (is_scalar(token))
            set_length(node, scanner.text().size());
        else
            open.push_back(node);
    }
}

NodeId Document::add(size_t start, size_t key_start) {
    if (size_ == kLongLength)
        throw Failure{name_ + ": holds more than 4294967294 values, too many for this command"};
    if (size_ % kChunk == 0)
        chunks_.push_back(std::make_unique<Node[]>(kChunk));
    const size_t distance = start - key_start;
    Node& node = at(size_);
    node.start = start & ((u64{1} << 40) - 1);
    node.key_distance = std::min<u64>(distance, kLongKey) & kLongKey;
    node.count = 1;
    if (distance >= kLongKey)
        long_keys_[size_] = distance;
    return size_++;
}

void Document::set_length(NodeId node, size_t length) {
    at(node).length = static_cast<u32>(std::min<size_t>(length, kLongLength));
    if (length >= kLongLength)
        long_values_[node] = length;
}

size_t Document::length(NodeId node) const {
    const u32 length = at(node).length;
    return length == kLongLength ? long_values_.at(node) : length;
}

size_t Document::key_distance(NodeId node) const {
    const u64 distance = at(node).key_distance;
    return distance == kLongKey ? long_keys_.at(node) : static_cast<size_t>(distance);
}

Kind Document::kind(NodeId node) const {
    switch (text_[start(node)]) {
        case '{':
            return Kind::object;
        case '[':
            return Kind::array;
        case '"':
            return Kind::string;
        case 't':
        case 'f':
            return Kind::boolean;
        case 'n':
            return Kind::null;
        default:
            return Kind::number;
    }
}

std::string_view Document::key(NodeId node) const {
    const size_t distance = key_distance(node);
    if (distance == 0)
        return {};
    // The key ends at the last quote before the colon; behind that quote are blanks and the colon only.
    const std::string_view text = text_.substr(start(node) - distance, distance);
    return text.substr(0, text.rfind('"') + 1);
}

bool Document::is_reference(NodeId node) const {
    if (kind(node) != Kind::object || !has_children(node))
        return false;
    NodeId last = node;
    for (NodeId child = first_child(node); child != end_of(node); child = next(child)) {
        if (!stands_for(key(child), "$ref"))
            return false;
        last = child;
    }
    return kind(last) == Kind::string;
}

std::vector<Member> Document::members(NodeId object) const {
    std::vector<Member> all;
    for (NodeId child = first_child(object); child != end_of(object); child = next(child))
        all.push_back({decode_string(key(child)), child});
    std::stable_sort(all.begin(), all.end(),
                     [](const Member& a, const Member& b) { return a.key < b.key; });
    size_t kept = 0;
    for (size_t i = 0; i < all.size(); ++i) {
        if (i + 1 != all.size() && all[i + 1].key == all[i].key)
            continue;
        if (kept != i)
            all[kept] = std::move(all[i]);
        ++kept;
    }
    all.resize(kept);
    return all;
}

std::vector<NodeId> Document::children(NodeId node) const {
    std::vector<NodeId> all;
    if (kind(node) == Kind::object) {
        for (const Member& member : members(node))
            all.push_back(member.node);
        std::sort(all.begin(), all.end());
    } else {
        for (NodeId child = first_child(node); child != end_of(node); child = next(child))
            all.push_back(child);
    }
    return all;
}

std::optional<NodeId> Document::member(NodeId object, std::string_view wanted) const {
    std::optional<NodeId> found;
    for (NodeId child = first_child(object); child != end_of(object); child = next(child)) {
        if (stands_for(key(child), wanted))
            found = child;
    }
    return found;
}

std::optional<NodeId> Document::element(NodeId array, u64 index) const {
    for (NodeId child = first_child(array); child != end_of(array); child = next(child)) {
        if (index-- == 0)
            return child;
    }
    return std::nullopt;
}

i32 Document::find(const Pointer& pointer, NodeId* node, size_t* step) const {
    *node = root();
    for (*step = 0; *step < pointer.steps.size(); ++*step) {
        const Step& wanted = pointer.steps[*step];
        std::optional<NodeId> found;
        if (kind(*node) == Kind::object && !is_reference(*node)) {
            found = member(*node, wanted.name);
            if (!found)
                return WIQ_ERR_KEY_NOT_FOUND;
        } else if (kind(*node) == Kind::array && (wanted.is_index || wanted.is_append)) {
            if (wanted.is_index)
                found = element(*node, wanted.index);
            if (!found)
                return WIQ_ERR_INDEX_OUT_OF_RANGE;
        } else {
            return WIQ_ERR_WRONG_TYPE;
        }
        *node = *found;
    }
    return 0;
}

NodeId Document::find(const Pointer& pointer) const {
    NodeId node = 0;
    size_t step = 0;
    const i32 status = find(pointer, &node, &step);
    if (status != 0)
        throw pointer_failure(pointer, step, status);
    return node;
}

std::string Document::pointer_of(NodeId node) const {
    std::string pointer;
    for (NodeId around = root(); around != node;) {
        u64 index = 0;
        NodeId child = first_child(around);
        for (; next(child) <= node; child = next(child))
            ++index;
        pointer += kind(around) == Kind::object ? escaped_step(decode_string(key(child)))
                                                : "/" + std::to_string(index);
        around = child;
    }
    return pointer;
}

Failure Document::failure(NodeId node, const std::string& message, int exit_status) const {
    return failure_at(name_, {text_}, start(node), message, exit_status);
}

namespace {

// The containers that are being written, so that no document is too deep.
struct Level {
    std::vector<NodeId> children;  // in the order of writing, only where that is not the text's
    size_t done = 0;
    NodeId node;
    NodeId next;
};

Level enter(const Document& document, NodeId node, const Layout& layout) {
    Level level{{}, 0, node, document.first_child(node)};
    if (!layout.sort_keys || document.kind(node) != Kind::object)
        return level;
    std::vector<std::pair<std::string, NodeId>> members;
    for (NodeId child = level.next; child != document.end_of(node); child = document.next(child))
        members.emplace_back(decode_string(document.key(child)), child);
    std::stable_sort(members.begin(), members.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& member : members)
        level.children.push_back(member.second);
    return level;
}

void add_scalar(JsonWriter& writer, const Document& document, NodeId node) {
    const Kind kind = document.kind(node);
    writer.add(kind == Kind::string   ? Token::string
               : kind == Kind::number ? Token::number
                                      : Token::word,
               document.text_of(node));
}

}  // namespace

void write_value(JsonWriter& writer, const Document& document, NodeId top, const Layout& layout) {
    std::vector<Level> levels;
    const auto open = [&](NodeId node) {
        const Kind kind = document.kind(node);
        if (kind == Kind::object || kind == Kind::array) {
            writer.add(kind == Kind::object ? Token::open_object : Token::open_array,
                       kind == Kind::object ? "{" : "[");
            levels.push_back(enter(document, node, layout));
        } else {
            add_scalar(writer, document, node);
        }
    };
    open(top);
    while (!levels.empty()) {
        Level& level = levels.back();
        const bool sorted = !level.children.empty();
        if (sorted ? level.done == level.children.size()
                   : level.next == document.end_of(level.node)) {
            const bool object = document.kind(level.node) == Kind::object;
            writer.add(object ? Token::close_object : Token::close_array, object ? "}" : "]");
            levels.pop_back();
            continue;
        }
        const NodeId child = sorted ? level.children[level.done] : level.next;
        ++level.done;
        level.next = document.next(child);
        if (!document.key(child).empty())
            writer.add(Token::key, document.key(child));
        open(child);
    }
}

}  // namespace tool
