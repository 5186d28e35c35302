// A whole document in memory: its text, and the position of each value in it. Code that moves, sorts or
// compares values works on a Document, which never changes the text. A value takes slightly more than 4 bytes
// in addition to the text; a container takes 8 bytes more.
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

// A member that is being sorted, with the first bytes of its decoded key. They decide most comparisons
// without looking at the text.
struct SortKey {
    u32 high, low;
    NodeId node;
};

class Document {
  public:
    // Reads the text, which must outlive the document; `name` is the document's name in messages.
    Document(std::string name, std::string_view text);

    const std::string& name() const { return name_; }
    std::string_view text() const { return text_; }
    NodeId root() const { return 0; }

    // Returns the text of a value, including its brackets or quotes.
    std::string_view text_of(NodeId node) const;
    Kind kind(NodeId node) const;
    size_t start(NodeId node) const;
    size_t length(NodeId node) const { return text_of(node).size(); }
    size_t stop(NodeId node) const { return start(node) + length(node); }
    // Returns a member's key with its quotes; an element has an empty key.
    std::string_view key(NodeId node) const;
    // Returns where a member starts, which is where its key starts; for an element, where its value starts.
    size_t member_start(NodeId node) const;
    // Returns whether this is an object whose only member is "$ref" with a string. The library reads it as a
    // reference.
    bool is_reference(NodeId node) const;

    // The children of a container, in the order of the text. next() returns the child after the given one, or
    // end_of() the container.
    bool has_children(NodeId node) const { return count(node) > 1; }
    NodeId first_child(NodeId node) const { return node + 1; }
    NodeId next(NodeId child) const { return child + count(child); }
    NodeId end_of(NodeId node) const { return node + count(node); }
    // Members with equal keys are all counted.
    u64 child_count(NodeId node) const;
    // Returns the effective members (of those with equal keys, the last), sorted by the bytes of the decoded
    // keys.
    std::vector<NodeId> members(NodeId object) const;
    // Returns the effective members in the order of the text, or the elements of an array.
    std::vector<NodeId> children(NodeId node) const;
    // Appends all members to a list, sorted by the bytes of the decoded keys; members with equal keys keep
    // the order of the text. `scratch` is working space that a caller can reuse for many objects.
    void append_sorted(NodeId object, std::vector<SortKey>& scratch,
                       std::vector<NodeId>& list) const;
    // Given members that are the last of their keys, returns them together with all other members with the
    // same keys.
    std::vector<NodeId> with_duplicates(NodeId object, std::vector<NodeId> chosen) const;
    // Compares the decoded keys of two members. Returns a value below 0, 0, or a value above 0.
    int compare_keys(NodeId member, const Document& other, NodeId member_of_other) const;

    // Return the member with a key (of several, the last), or the element at an index.
    std::optional<NodeId> member(NodeId object, std::string_view wanted) const;
    std::optional<NodeId> element(NodeId array, u64 index) const;
    // Follows a pointer; throws a Failure that shows where it leaves the document.
    NodeId find(const Pointer& pointer) const;
    // As above, but returns 0 if the value was found; otherwise the status, with *step set to the step that
    // failed.
    i32 find(const Pointer& pointer, NodeId* node, size_t* step) const;

    // Returns the pointer that names a value.
    std::string pointer_of(NodeId node) const;

    // Returns a Failure that reports a mistake at the position of a value.
    Failure failure(NodeId node, const std::string& message, int exit_status = kExitData) const;

  private:
    static constexpr size_t kChunk = size_t{1} << 14;
    static constexpr size_t kBlock = 64;
    static constexpr u32 kHasKey = 0x80000000;
    static constexpr u32 kFar = 0x7FFFFFFF;         // the distance is in far_
    static constexpr u32 kLongLength = 0xFFFFFFFF;  // the length is in long_values_

    // A run of consecutive values. Whatever is not stored here is read from the text, which is known to be
    // valid.
    struct Chunk {
        u64 base;                         // where the first of them starts
        size_t containers_before;         // in all chunks before this one
        u64 containers[kChunk / kBlock];  // one bit per value
        u16 before[kChunk / kBlock];      // containers of this chunk before each block
        u32 starts[kChunk];               // relative to `base`; with kHasKey
    };
    struct Container {
        u32 count;  // values in it, including itself
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

// Writes a value with everything in it. If the layout says so, members are sorted by the bytes of their keys.
void write_value(JsonWriter& writer, const Document& document, NodeId top, const Layout& layout);

}  // namespace tool
