// A whole document in memory: its text, and for each value where it stands. What moves, sorts or compares
// values works on this; a value's text is never changed by it. A value takes a little more than 4 bytes
// beside the text, a container 8 bytes more.
#pragma once

#include <deque>
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

// A member that is being sorted: the first bytes of what its key stands for, which settle most comparisons
// without a look at the text.
struct SortKey {
    u32 high, low;
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
    std::string_view text_of(NodeId node) const;
    Kind kind(NodeId node) const;
    size_t start(NodeId node) const;
    size_t length(NodeId node) const { return text_of(node).size(); }
    size_t stop(NodeId node) const { return start(node) + length(node); }
    // A member's key with its quotes; empty for an element.
    std::string_view key(NodeId node) const;
    // Where the member starts, with its key; an element's own start.
    size_t member_start(NodeId node) const;
    // An object whose only member is "$ref" with a string: the library reads it as a reference.
    bool is_reference(NodeId node) const;

    // The children of a container, in the order of the text. `next` is the one behind a child.
    bool has_children(NodeId node) const { return count(node) > 1; }
    NodeId first_child(NodeId node) const { return node + 1; }
    NodeId next(NodeId child) const { return child + count(child); }
    NodeId end_of(NodeId node) const { return node + count(node); }
    // Of equal keys each counts.
    u64 child_count(NodeId node) const;
    // The members that count, of equal keys the last, in the order of the bytes that the keys stand for.
    std::vector<NodeId> members(NodeId object) const;
    // The same in the order of the text; the elements of an array.
    std::vector<NodeId> children(NodeId node) const;
    // Adds all members to a list in that order, equal keys in the order of the text. `scratch` is a list to
    // work in, which one caller can use for many objects.
    void append_sorted(NodeId object, std::vector<SortKey>& scratch,
                       std::vector<NodeId>& list) const;
    // These members and all others with their keys, each of which is the last of its key.
    std::vector<NodeId> with_namesakes(NodeId object, std::vector<NodeId> chosen) const;
    // Compares what the keys of two members stand for: below 0, 0, above 0.
    int compare_keys(NodeId member, const Document& other, NodeId member_of_other) const;

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
    static constexpr size_t kChunk = size_t{1} << 14;
    static constexpr size_t kBlock = 64;
    static constexpr u32 kHasKey = 0x80000000;
    static constexpr u32 kFar = 0x7FFFFFFF;         // the distance is in far_
    static constexpr u32 kLongLength = 0xFFFFFFFF;  // the length is in long_values_

    // A run of values. What is not here is read from the text, which is known to be good.
    struct Chunk {
        u64 base;                         // where the first of them starts
        size_t containers_before;         // in all chunks in front of this one
        u64 containers[kChunk / kBlock];  // a bit for each value
        u16 before[kChunk / kBlock];      // containers of this chunk in front of each block
        u32 starts[kChunk];               // from `base`, with its key; kHasKey
    };
    struct Container {
        u32 count;  // values in it, itself included
        u32 length;
    };

    bool has_key(NodeId node) const;
    bool is_container(NodeId node) const;
    size_t rank(NodeId container) const;
    u32 count(NodeId node) const;
    size_t string_stop(size_t quote) const;
    size_t length_from(NodeId node, size_t from) const;
    NodeId add(size_t start, bool has_key, bool is_container);
    void close(NodeId container, size_t stop);
    void read();

    std::string name_;
    std::string_view text_;
    std::vector<std::unique_ptr<Chunk>> chunks_;
    std::deque<Container> containers_;  // in the order of the text
    NodeId size_ = 0;
    std::map<NodeId, u64> far_;
    std::map<NodeId, size_t> long_values_;
};

// Writes a value and all that is in it; members sorted by their keys' bytes if the layout says so.
void write_value(JsonWriter& writer, const Document& document, NodeId top, const Layout& layout);

}  // namespace tool
