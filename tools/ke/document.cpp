// See document.h.
#include "document.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "json_string.h"
#include "ke_utils/core.h"

namespace tool {

namespace {

bool is_blank(char c) {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

// Returns the text that a key token represents; `decoded` holds it if the key is written with escapes.
std::string_view name_of(std::string_view key, std::string& decoded) {
    if (key.find('\\') == std::string_view::npos)
        return key.substr(1, key.size() - 2);
    decoded = decode_string(key);
    return decoded;
}

SortKey sort_key(std::string_view name, NodeId node) {
    const auto byte = [name](size_t at) {
        return at < name.size() ? u32{static_cast<u8>(name[at])} : 0;
    };
    const auto word = [byte](size_t at) {
        return byte(at) << 24 | byte(at + 1) << 16 | byte(at + 2) << 8 | byte(at + 3);
    };
    return {word(0), word(4), node};
}

// Returns whether a number or a word ends before this character.
bool ends_scalar(char c) {
    return c == ',' || c == ']' || c == '}' || is_blank(c);
}

}  // namespace

Document::Document(std::string name, std::string_view text) : name_(std::move(name)), text_(text) {
    read();
}

void Document::read() {
    Source source(name_, text_);
    Scanner scanner(source);
    std::vector<NodeId> open;
    bool has_key = false;
    size_t key_start = 0;
    for (Token token = scanner.next(); token != Token::end; token = scanner.next()) {
        const size_t start = static_cast<size_t>(scanner.start());
        switch (token) {
            case Token::key:
                has_key = true;
                key_start = start;
                continue;
            case Token::close_object:
            case Token::close_array:
                close(open.back(), start + 1);
                open.pop_back();
                continue;
            default:
                break;
        }
        const NodeId node = add(has_key ? key_start : start, has_key, !is_scalar(token));
        has_key = false;
        if (!is_scalar(token))
            open.push_back(node);
    }
}

NodeId Document::add(size_t start, bool has_key, bool is_container) {
    if (size_ == kLongLength)
        throw Failure{name_ + ": holds more than 4294967294 values, too many for this command"};
    const size_t at = size_ % kChunk;
    if (at == 0) {
        chunks_.push_back(std::make_unique<Chunk>());
        chunks_.back()->base = start;
        chunks_.back()->containers_before = containers_.size();
    }
    Chunk& chunk = *chunks_.back();
    if (at % kBlock == 0)
        chunk.before[at / kBlock] = static_cast<u16>(containers_.size() - chunk.containers_before);
    const u64 distance = start - chunk.base;
    if (distance >= kFar)
        far_[size_] = distance;
    chunk.starts[at] = static_cast<u32>(std::min<u64>(distance, kFar)) | (has_key ? kHasKey : 0);
    if (is_container) {
        chunk.containers[at / kBlock] |= u64{1} << at % kBlock;
        containers_.push_back({1, 0});
    }
    return size_++;
}

void Document::close(NodeId container, size_t stop) {
    const size_t length = stop - start(container);
    containers_[rank(container)] = {size_ - container,
                                    static_cast<u32>(std::min<size_t>(length, kLongLength))};
    if (length >= kLongLength)
        long_values_[container] = length;
}

bool Document::has_key(NodeId node) const {
    return (chunks_[node / kChunk]->starts[node % kChunk] & kHasKey) != 0;
}

bool Document::is_container(NodeId node) const {
    const size_t at = node % kChunk;
    return (chunks_[node / kChunk]->containers[at / kBlock] >> at % kBlock & 1) != 0;
}

// Returns the number of containers before this one.
size_t Document::rank(NodeId container) const {
    const Chunk& chunk = *chunks_[container / kChunk];
    const size_t at = container % kChunk;
    const u64 before_in_block = chunk.containers[at / kBlock] & ((u64{1} << at % kBlock) - 1);
    return chunk.containers_before + chunk.before[at / kBlock] +
           static_cast<size_t>(std::popcount(before_in_block));
}

u32 Document::count(NodeId node) const {
    return is_container(node) ? containers_[rank(node)].count : 1;
}

size_t Document::member_start(NodeId node) const {
    const Chunk& chunk = *chunks_[node / kChunk];
    const u32 distance = chunk.starts[node % kChunk] & ~kHasKey;
    return static_cast<size_t>(chunk.base + (distance == kFar ? far_.at(node) : distance));
}

size_t Document::start(NodeId node) const {
    const size_t from = member_start(node);
    if (!has_key(node))
        return from;
    // The text is valid, so only blanks and one colon follow the key.
    size_t at = string_stop(from);
    while (is_blank(text_[at]) || text_[at] == ':')
        ++at;
    return at;
}

// Returns the position after the closing quote of the string that starts here.
size_t Document::string_stop(size_t quote) const {
    size_t at = quote + 1;
    while (text_[at] != '"')
        at += text_[at] == '\\' ? 2 : 1;
    return at + 1;
}

std::string_view Document::text_of(NodeId node) const {
    const size_t from = start(node);
    return text_.substr(from, length_from(node, from));
}

size_t Document::length_from(NodeId node, size_t from) const {
    if (is_container(node)) {
        const u32 length = containers_[rank(node)].length;
        return length == kLongLength ? long_values_.at(node) : length;
    }
    if (text_[from] == '"')
        return string_stop(from) - from;
    size_t stop = from;
    while (stop < text_.size() && !ends_scalar(text_[stop]))
        ++stop;
    return stop - from;
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
    if (!has_key(node))
        return {};
    const size_t from = member_start(node);
    return text_.substr(from, string_stop(from) - from);
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

int Document::compare_keys(NodeId member, const Document& other, NodeId member_of_other) const {
    std::string decoded;
    std::string decoded_of_other;
    return name_of(key(member), decoded)
        .compare(name_of(other.key(member_of_other), decoded_of_other));
}

void Document::append_sorted(NodeId object, std::vector<SortKey>& scratch,
                             std::vector<NodeId>& list) const {
    const auto count = static_cast<size_t>(child_count(object));
    scratch.clear();
    scratch.reserve(count);
    std::string decoded;
    for (NodeId child = first_child(object); child != end_of(object); child = next(child))
        scratch.push_back(sort_key(name_of(key(child), decoded), child));
    std::sort(scratch.begin(), scratch.end(), [this](const SortKey& a, const SortKey& b) {
        if (a.high != b.high)
            return a.high < b.high;
        if (a.low != b.low)
            return a.low < b.low;
        // No key contains a zero byte. So if a key ends within these first bytes, and those of the other key
        // are equal, the keys are equal.
        const int order = (a.low & 0xFF) == 0 ? 0 : compare_keys(a.node, *this, b.node);
        return order != 0 ? order < 0 : a.node < b.node;
    });
    // Reserve exactly what one large object needs, but grow by half when many objects are open at once.
    if (list.capacity() - list.size() < count)
        list.reserve(std::max(list.size() + count, list.capacity() * 3 / 2));
    for (const SortKey& member : scratch)
        list.push_back(member.node);
}

std::vector<NodeId> Document::members(NodeId object) const {
    std::vector<SortKey> scratch;
    std::vector<NodeId> all;
    append_sorted(object, scratch, all);
    size_t kept = 0;
    for (size_t i = 0; i < all.size(); ++i) {
        if (i + 1 == all.size() || compare_keys(all[i], *this, all[i + 1]) != 0)
            all[kept++] = all[i];
    }
    all.resize(kept);
    return all;
}

std::vector<NodeId> Document::with_duplicates(NodeId object, std::vector<NodeId> chosen) const {
    if (chosen.empty())
        return chosen;
    std::sort(chosen.begin(), chosen.end());
    std::vector<SortKey> scratch;
    std::vector<NodeId> all;
    append_sorted(object, scratch, all);
    std::vector<NodeId> found;
    bool is_chosen = false;
    for (size_t i = all.size(); i-- > 0;) {
        if (i + 1 == all.size() || compare_keys(all[i], *this, all[i + 1]) != 0)
            is_chosen = std::binary_search(chosen.begin(), chosen.end(), all[i]);
        if (is_chosen)
            found.push_back(all[i]);
    }
    return found;
}

u64 Document::child_count(NodeId node) const {
    u64 count = 0;
    for (NodeId child = first_child(node); child != end_of(node); child = next(child))
        ++count;
    return count;
}

std::vector<NodeId> Document::children(NodeId node) const {
    std::vector<NodeId> all;
    if (kind(node) == Kind::object) {
        all = members(node);
        std::sort(all.begin(), all.end());
    } else {
        all.reserve(static_cast<size_t>(child_count(node)));
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
        if (kind(*node) == Kind::object && (pointer.enters_references || !is_reference(*node))) {
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

// Writes a value. The containers that are being written are kept in a list, so depth is not limited by the
// stack.
class ValueWriter {
  public:
    ValueWriter(JsonWriter& writer, const Document& document, bool sorted)
        : writer_(writer), document_(document), sorted_(sorted) {}

    void run(NodeId top) {
        open(top);
        while (!levels_.empty()) {
            Level& level = levels_.back();
            const bool in_order = level.first_sorted != kNotSorted;
            if (in_order ? level.next_sorted == children_.size()
                         : level.next == document_.end_of(level.node)) {
                close();
                continue;
            }
            const NodeId child = in_order ? children_[level.next_sorted++] : level.next;
            level.next = in_order ? level.next : document_.next(child);
            if (!document_.key(child).empty())
                writer_.add(Token::key, document_.key(child));
            open(child);
        }
    }

  private:
    static constexpr size_t kNotSorted = static_cast<size_t>(-1);

    struct Level {
        NodeId node;
        NodeId next;          // used where the children are written in the order of the text
        size_t first_sorted;  // otherwise the children are in children_, from here to its end
        size_t next_sorted;
    };

    void open(NodeId node) {
        const std::string_view text = document_.text_of(node);
        const bool object = text[0] == '{';
        if (!object && text[0] != '[') {
            const bool word = text[0] == 't' || text[0] == 'f' || text[0] == 'n';
            return writer_.add(text[0] == '"' ? Token::string
                               : word         ? Token::word
                                              : Token::number,
                               text);
        }
        writer_.add(object ? Token::open_object : Token::open_array, object ? "{" : "[");
        levels_.push_back({node, document_.first_child(node), kNotSorted, kNotSorted});
        if (object && sorted_)
            sort_children();
    }

    void close() {
        const Level level = levels_.back();
        const bool object = document_.kind(level.node) == Kind::object;
        writer_.add(object ? Token::close_object : Token::close_array, object ? "}" : "]");
        if (level.first_sorted != kNotSorted)
            children_.resize(level.first_sorted);
        levels_.pop_back();
    }

    void sort_children() {
        Level& level = levels_.back();
        level.first_sorted = level.next_sorted = children_.size();
        document_.append_sorted(level.node, scratch_, children_);
    }

    JsonWriter& writer_;
    const Document& document_;
    bool sorted_;
    std::vector<Level> levels_;
    std::vector<NodeId> children_;  // of the open objects; those of the innermost one come last
    std::vector<SortKey> scratch_;
};

}  // namespace

void write_value(JsonWriter& writer, const Document& document, NodeId top, const Layout& layout) {
    ValueWriter(writer, document, layout.sort_keys).run(top);
}

}  // namespace tool
