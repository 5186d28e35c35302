// The containers that the parser has opened and not closed yet. A container is made when it closes,
// with its table after it in one block, because only then is the size of its table known. Until
// then its children wait in a list, in the order in which they came.
//
//   frames_            one for each open container: its type, its key, where its children begin
//   elems_, members_   the children of the outermost container, then those of the next one, ...
//
// For example, after `{"a": [1, 2` there are two frames, the object's and the array's. The nodes 1
// and 2 wait in elems_; members_ is empty, as "a" gets its member when the array closes.
//
// Some containers are made early, without a table, and from then on their children have them as
// parent:
//   - one with more children than a table in the node's block can hold;
//   - one whose key lies in memory that the next key overwrites;
//   - an object whose keys must be unique. Its members go into its own table at once.
//
// To record a block always means to enter it in the document's record (document.h), which frees an
// untouched document without visiting its nodes.
#pragma once

#include "containers/small_stack.h"
#include "json/model/blocks.h"
#include "json/model/make.h"
#include "json/model/object.h"

namespace ke::json {

class OpenContainers {
  public:
    OpenContainers() = default;
    OpenContainers(const OpenContainers&) = delete;
    OpenContainers& operator=(const OpenContainers&) = delete;
    // Releases everything that is open.
    ~OpenContainers();

    bool empty() const { return frames_.empty(); }
    bool in_object() { return frames_.top().type == kJsonObject; }

    // Returns where the memory of the next value comes from: nullptr for the root, which has a
    // block of its own.
    Chunks* chunks() { return frames_.empty() ? nullptr : &chunks_; }
    // The same when a container is known to be open.
    Chunks* chunks_of_children() { return &chunks_; }

    // Opens a container. If it is to be a member, `key` is its key, and `key_stays` tells whether
    // the key's text can still be read after the next key has been read. With `unique_keys`, the
    // members of an object go into its table at once, so that has_member() finds them. Returns 0 or
    // WIQ_ERR_NO_MEMORY.
    i32 open(u16 type, const Key* key, bool key_stays, bool unique_keys);

    // Gives a new node, made with chunks(), to the innermost container, which must be open. If that
    // is an object, `key` is the key with which the node was made; otherwise it is nullptr. Returns
    // 0 or WIQ_ERR_NO_MEMORY; in both cases the node no longer belongs to the caller.
    i32 add(wiq_json* node, const Key* key) {
        // The node's member has not been made yet. add_child() makes it, which may fail.
        if (key != nullptr && !has_member_in_block(node))
            return add_child(node, nullptr, key);
        node->refcount = 1;
        return key != nullptr ? add_member(frames_.top(), node, member_for(node, *key))
                              : add_elem(frames_.top(), node);
    }

    // Returns whether the innermost container, an object opened with `unique_keys`, has a member
    // with this key.
    bool has_member(const Key& key) {
        return find(as<ObjectNode>(frames_.top().node)->members, key) != nullptr;
    }

    // Closes the innermost container and gives it to the one around it, or to *root. An object
    // whose only member is "$ref" with a string becomes a reference. Returns 0 or
    // WIQ_ERR_NO_MEMORY.
    i32 close(wiq_json** root);

    // Gives the document's record to its root. Called when every container is closed. Without this
    // call, the destructor drops the record and frees none of the blocks in it.
    void give_document_to(wiq_json* root) { give_document(&chunks_, root); }

  private:
    struct Frame {
        wiq_json* node;  // nullptr until it is made
        // The container's own member. It is nullptr unless the container was made early and is to
        // be a member. Its child is not set before the container closes.
        Member* member;
        // The container's own key, if it is to be a member. The text stays readable while the
        // container is open: it is either in the source or in `member`.
        Key key;
        size_t first;  // where its children begin in elems_ or members_
        u16 type;
        bool is_member;
        bool members_in_table;  // its members are in the node's table already, not in members_
    };

    wiq_json** elems_of(const Frame& array) { return elems_.data() + array.first; }
    Member** members_of(const Frame& obj) { return members_.data() + obj.first; }
    size_t count_of(const Frame& frame) const {
        return (frame.type == kJsonArray ? elems_.size() : members_.size()) - frame.first;
    }
    void forget_children(const Frame& frame) {
        if (frame.type == kJsonArray)
            elems_.truncate(frame.first);
        else
            members_.truncate(frame.first);
    }

    // Gives a node to the innermost container. If that is an object, `key` is the node's key, and
    // `member` its member; `member` may be nullptr if the member shares the node's block or has not
    // been made yet. Of a key whose member has been made, only the length is read. Returns 0 or
    // WIQ_ERR_NO_MEMORY; in both cases node and member no longer belong to the caller.
    i32 add_child(wiq_json* node, Member* member, const Key* key);
    // These take a node whose count is set and whose member, if it is to have one, has been made.
    // If the container now has more children than a table in its node's block can hold, its node is
    // made.
    i32 add_elem(Frame& array, wiq_json* node);
    i32 add_member(Frame& obj, wiq_json* node, Member* member);

    // Returns where the memory of the innermost open container itself comes from: nullptr if it is
    // the root.
    Chunks* chunks_of_top() { return frames_.size() == 1 ? nullptr : &chunks_; }

    // Frees a member that could not be added, and its child. Returns WIQ_ERR_NO_MEMORY.
    static i32 discard_child(wiq_json* node, Member* member);

    static i32 make_empty(Frame* frame, Chunks* chunks);
    i32 make_and_adopt(Frame* frame);

    bool record_table_of(const Frame& frame);
    i32 finish_array(Frame* frame);
    i32 finish_object(Frame* frame);
    i32 finish_slowly(Frame* frame, u64 buckets);
    const TextNode* reference_in(const Frame& frame);
    i32 replace_by_reference(const TextNode* uri, wiq_json** root);

    i32 add_to_outer(wiq_json* node, Member* member, const Frame& frame, wiq_json** root);
    void discard_frame(const Frame& frame);
    static bool member_has_own_block(const Frame& frame);

    Chunks chunks_;
    SmallStack<Frame, 32> frames_;
    SmallStack<wiq_json*, 2048> elems_;
    SmallStack<Member*, 1024> members_;
};

inline i32 OpenContainers::add_child(wiq_json* node, Member* member, const Key* key) {
    Frame& frame = frames_.top();
    node->refcount = 1;
    if (key == nullptr)
        return add_elem(frame, node);
    if (member == nullptr)
        member = member_for(node, *key, &chunks_);
    if (member == nullptr) {
        wiq_json_delete_impl(node);
        return WIQ_ERR_NO_MEMORY;
    }
    return add_member(frame, node, member);
}

inline i32 OpenContainers::add_elem(Frame& array, wiq_json* node) {
    if (!elems_.push(node)) {
        wiq_json_delete_impl(node);
        return WIQ_ERR_NO_MEMORY;
    }
    const size_t count = elems_.size() - array.first;
    if (array.node == nullptr)
        return count > kMaxInlineSlots ? make_and_adopt(&array) : 0;
    link_to_parent(as<ArrayNode>(array.node), static_cast<i32>(count - 1), node);
    return 0;
}

inline i32 OpenContainers::add_member(Frame& obj, wiq_json* node, Member* member) {
    // discard_child() needs this if the member cannot be kept.
    member->child = node;
    if (obj.members_in_table) {
        // This also links the node to its parent.
        return attach_member(as<ObjectNode>(obj.node), member, node) == 0
                   ? 0
                   : discard_child(node, member);
    }
    if (!members_.push(member))
        return discard_child(node, member);
    if (obj.node != nullptr)
        link_to_parent(as<ObjectNode>(obj.node), member, node);
    else if (members_.size() - obj.first > kMaxInlineMembers)
        return make_and_adopt(&obj);
    return 0;
}

}  // namespace ke::json
