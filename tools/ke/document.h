// A whole document in memory: its text (up to 1 TiB), and for each value where it stands. What moves, sorts or compares
// values works on this; a value's text is never changed by it. A value takes 16 bytes beside the text.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "json_pointer.h"
#include "json_writer.h"
#include "source.h"

namespace tool {

using NodeId = u32;

enum class Kind { object, array, string, number, boolean, null };

struct Member {
    std::string key;
    NodeId node;
};

class Document {
  public:
    // Reads the text, which must outlive the document; `name` is what messages speak of.
    Document(std::string name, std::string_view text);

    const std::string& name() const { return name_; }
    std::string_view text() const { return text_; }
    NodeId root() const { return 0; }

    // The text of a value, brackets and quotes included.
    std::string_view text_of(NodeId node) const { return text_.substr(start(node), length(node)); }
    Kind kind(NodeId node) const;
    size_t start(NodeId node) const { return at(node).start; }
    size_t length(NodeId node) const;
    size_t stop(NodeId node) const { return start(node) + length(node); }
    // A member's key with its quotes; empty for an element.
    std::string_view key(NodeId node) const;
    // Where the member starts, with its key; an element's own start.
    size_t member_start(NodeId node) const { return start(node) - key_distance(node); }
    // An object whose only member is "$ref" with a string: the library reads it as a reference.
    bool is_reference(NodeId node) const;

    // The children of a container, in the order of the text. `next` is the one behind a child.
    bool has_children(NodeId node) const { return at(node).count > 1; }
    NodeId first_child(NodeId node) const { return node + 1; }
    NodeId next(NodeId child) const { return child + at(child).count; }
    NodeId end_of(NodeId node) const { return node + at(node).count; }
    // The members that count, of equal keys the last: by decoded key, in the order of the keys' bytes.
    std::vector<Member> members(NodeId object) const;
    // The same in the order of the text; the elements of an array.
    std::vector<NodeId> children(NodeId node) const;

    // The member of a key, of equal ones the last; the element of an index.
    std::optional<NodeId> member(NodeId object, std::string_view wanted) const;
    std::optional<NodeId> element(NodeId array, u64 index) const;
    // Follows a pointer; throws a Failure that shows where it leaves the document.
    NodeId find(const Pointer& pointer) const;
    // The same, telling how far it got: the status, 0 if it was found.
    i32 find(const Pointer& pointer, NodeId* node, size_t* step) const;

    // The pointer that names a value.
    std::string pointer_of(NodeId node) const;

    // A mistake in what stands at a value.
    Failure failure(NodeId node, const std::string& message, int exit_status = kExitData) const;

  private:
    struct Node {
        u64 start : 40;
        u64 key_distance : 24;  // bytes from the key to the value; kLong: see long_keys_
        u32 length;             // kLongLength: see long_values_
        u32 count;              // values in it, itself included
    };
    static constexpr size_t kChunk = size_t{1} << 14;
    static constexpr u64 kLongKey = (1u << 24) - 1;
    static constexpr u32 kLongLength = 0xFFFFFFFF;

    const Node& at(NodeId node) const { return chunks_[node / kChunk][node % kChunk]; }
    Node& at(NodeId node) { return chunks_[node / kChunk][node % kChunk]; }
    size_t key_distance(NodeId node) const;
    NodeId add(size_t start, size_t key_start);
    void set_length(NodeId node, size_t length);
    void read();

    std::string name_;
    std::string_view text_;
    std::vector<std::unique_ptr<Node[]>> chunks_;
    NodeId size_ = 0;
    std::map<NodeId, size_t> long_keys_;
    std::map<NodeId, size_t> long_values_;
};

// Writes a value and all that is in it; members sorted by their keys' bytes if the layout says so.
void write_value(JsonWriter& writer, const Document& document, NodeId top, const Layout& layout);

}  // namespace tool
