// Collects the children of open containers, and makes each container when it closes.
// open_containers.h explains why it is not made earlier, and when it is.
//
// Whenever something can fail, each child has exactly one owner: elems_, members_ or the table of
// its container. So ~OpenContainers() can release whatever a failure leaves. While the document is
// being made, nobody else knows its nodes, so children are moved without changing their counts,
// which are 1.
//
// A recorded block may be freed here in two cases only: after a failure, because the record is then
// dropped without freeing the blocks in it; and after the document was touched, because a touched
// document never frees the blocks in its record.

#include "json/read/open_containers.h"

#include "json/model/table.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

namespace ke::json {

namespace {

// Returns the string of an object's only member if that member makes the object a reference,
// otherwise nullptr.
const TextNode* uri_of(const Member* member) {
    const bool is_reference = member->child->type == kJsonString &&
                              std::string_view(member->key(), member->key_length()) == "$ref";
    return is_reference ? as<TextNode>(member->child) : nullptr;
}

// Releases a node while its document is still being made; nullptr is ignored. Freeing the node need
// not touch the document: nobody else knows the node yet, and an untouched document frees its
// chunks whole, whichever of their blocks are still in use. If the chunk is freed with the node,
// free_chunk() touches the document. (Releasing the children of a container may touch it, too. That
// costs time when the document is released, but it is correct.)
void discard(wiq_json* node) {
    wiq_json_finalize(node);
    if (node != nullptr)
        drop_node(node);
}

}  // namespace

i32 OpenContainers::discard_child(wiq_json* node, Member* member) {
    // The member first: free_member() reads the header of the child.
    free_member(member);
    wiq_json_delete_impl(node);
    return WIQ_ERR_NO_MEMORY;
}

OpenContainers::~OpenContainers() {
    for (; !frames_.empty(); frames_.pop()) {
        const Frame& frame = frames_.top();
        // The container's own member is in neither members_ nor a table yet, so nothing else frees
        // it. free_member() cannot: it asks the child, and this member has none yet.
        if (member_has_own_block(frame))
            free(frame.member);
        discard_frame(frame);
    }
}

// Returns whether the container was made early and has a member in a block of its own.
bool OpenContainers::member_has_own_block(const Frame& frame) {
    return frame.member != nullptr && !has_member_in_block(frame.node);
}

// Releases a container's children and the container, if it is made. The container's own member is
// kept for the caller if it has a block of its own.
//
// replace_by_reference() calls this without a failure, so the document must be touched if a
// recorded member is freed. The member "$ref" is recorded only if its node is large, because its
// key is short. A large node has a chunk of its own, and freeing that chunk touches the document.
void OpenContainers::discard_frame(const Frame& frame) {
    for (size_t i = count_of(frame); i-- != 0;) {
        if (frame.type == kJsonArray) {
            discard(elems_of(frame)[i]);
        } else {
            Member* member = members_of(frame)[i];
            // The member first: free_member() reads the header of the child.
            wiq_json* child = member->child;
            free_member(member);
            discard(child);
        }
    }
    forget_children(frame);
    discard(frame.node);
}

i32 OpenContainers::open(u16 type, const Key* key, bool key_stays, bool unique_keys) {
    Frame frame = {nullptr, nullptr,        key != nullptr ? *key : Key(nullptr, 0, 0), 0,
                   type,    key != nullptr, unique_keys && type == kJsonObject};
    // `first` is still 0, so this is the number of all children that wait in the list of this kind.
    frame.first = count_of(frame);
    const bool early = frame.members_in_table || (key != nullptr && !key_stays);
    if (early && make_empty(&frame, chunks()) != 0)
        return WIQ_ERR_NO_MEMORY;
    if (frames_.push(frame))
        return 0;
    if (member_has_own_block(frame))
        free(frame.member);
    wiq_json_delete_impl(frame.node);
    return WIQ_ERR_NO_MEMORY;
}

// Makes a container without a table, and its member with a copy of the key. From then on the
// frame's key points to this copy. Returns 0, or WIQ_ERR_NO_MEMORY with `node` and `key` unchanged.
i32 OpenContainers::make_empty(Frame* frame, Chunks* chunks) {
    const Key* key = frame->is_member ? &frame->key : nullptr;
    wiq_json* node = frame->type == kJsonObject
                         ? static_cast<wiq_json*>(new_object(0, 0, key, chunks))
                         : new_array(0, 0, key, chunks);
    if (node == nullptr)
        return WIQ_ERR_NO_MEMORY;
    if (key != nullptr) {
        frame->member = member_for(node, *key, chunks);
        if (frame->member == nullptr) {
            free_node(node);
            return WIQ_ERR_NO_MEMORY;
        }
        frame->key = Key(frame->member);
    }
    frame->node = node;
    return 0;
}

// As above, for the innermost container, which already has children. They stay in elems_ or
// members_, but the new node becomes their parent.
i32 OpenContainers::make_and_adopt(Frame* frame) {
    if (make_empty(frame, chunks_of_top()) != 0)
        return WIQ_ERR_NO_MEMORY;
    const size_t count = count_of(*frame);
    for (size_t i = 0; i < count; ++i) {
        if (frame->type == kJsonArray) {
            link_to_parent(as<ArrayNode>(frame->node), static_cast<i32>(i), elems_of(*frame)[i]);
        } else {
            Member* member = members_of(*frame)[i];
            link_to_parent(as<ObjectNode>(frame->node), member, member->child);
        }
    }
    return 0;
}

i32 OpenContainers::close(wiq_json** root) {
    Frame& frame = frames_.top();
    if (frame.type == kJsonObject) {
        const TextNode* uri = reference_in(frame);
        if (uri != nullptr)
            return replace_by_reference(uri, root);
    }
    const i32 status = frame.type == kJsonArray ? finish_array(&frame) : finish_object(&frame);
    if (status != 0)
        return status;
    // If a key came twice, an object that had several members may have only one now. Its table was
    // then made by finish_slowly() and is not recorded, so it may be freed with the object. (An
    // object with unique keys was looked at above, before its table was recorded.)
    const TextNode* uri = frame.members_in_table ? reference_in(frame) : nullptr;
    if (uri != nullptr)
        return replace_by_reference(uri, root);
    // Nothing below pushes a frame, so this one stays valid.
    const Frame& closed = frames_.pop();
    forget_children(closed);
    return add_to_outer(closed.node, closed.member, closed, root);
}

// Gives a node to the container around a frame that was popped, or to *root. It pushes no frame, so
// `frame` may be the reference that pop() returned.
i32 OpenContainers::add_to_outer(wiq_json* node, Member* member, const Frame& frame,
                                 wiq_json** root) {
    if (!frames_.empty())
        return add_child(node, member, frame.is_member ? &frame.key : nullptr);
    *root = node;
    return 0;
}

// Records the table of the innermost container, unless it is the root's, which is freed with the
// root. Returns false when out of memory. It must be called while either the table is empty or no
// child of the frame waits in elems_ or members_, so that a failure leaves every child with one
// owner. For a container without a table it does nothing.
bool OpenContainers::record_table_of(const Frame& frame) {
    return frames_.size() == 1 || record_table(&chunks_, frame.node);
}

i32 OpenContainers::finish_array(Frame* frame) {
    const size_t count = count_of(*frame);
    if (count > INT32_MAX)
        return WIQ_ERR_NO_MEMORY;
    const i32 size = static_cast<i32>(count);
    wiq_json** const children = elems_of(*frame);
    if (frame->node == nullptr) {
        ArrayNode* array =
            new_array(size, 0, frame->is_member ? &frame->key : nullptr, chunks_of_top());
        if (array == nullptr)
            return WIQ_ERR_NO_MEMORY;
        frame->node = array;
        // Not made early, so there are at most kMaxInlineSlots children: the table is inline, and
        // need not be recorded.
        for (i32 i = 0; i < size; ++i)
            link_to_parent(array, i, children[i]);
    }
    if (size == 0)
        return 0;
    Elements& elems = as<ArrayNode>(frame->node)->elems;
    if (elems.data == nullptr) {
        elems.data = static_cast<wiq_json**>(malloc(count * sizeof(wiq_json*)));
        if (elems.data == nullptr)
            return WIQ_ERR_NO_MEMORY;
        elems.capacity = size;
        if (!record_table_of(*frame))
            return WIQ_ERR_NO_MEMORY;
    }
    memcpy(elems.data, children, count * sizeof(wiq_json*));
    elems.size = size;
    return 0;
}

i32 OpenContainers::finish_object(Frame* frame) {
    const size_t count = count_of(*frame);
    // The members of such an object are in the table already, and know their parent.
    if (frame->members_in_table)
        return record_table_of(*frame) ? 0 : static_cast<i32>(WIQ_ERR_NO_MEMORY);
    if (count > load_limit(kMaxBuckets))
        return WIQ_ERR_NO_MEMORY;
    const u64 buckets = count == 0 ? 0 : grown_buckets(count);
    const bool early = frame->node != nullptr;
    if (early) {
        if (buckets != 0 && make_table(as<ObjectNode>(frame->node), buckets) != 0)
            return WIQ_ERR_NO_MEMORY;
        if (!record_table_of(*frame))
            return WIQ_ERR_NO_MEMORY;
    } else {
        // Not made early, so there are at most kMaxInlineMembers members: the table is inline, and
        // need not be recorded.
        frame->node =
            new_object_with(buckets, 0, frame->is_member ? &frame->key : nullptr, chunks_of_top());
        if (frame->node == nullptr)
            return WIQ_ERR_NO_MEMORY;
    }
    auto* obj = as<ObjectNode>(frame->node);
    Member** const members = members_of(*frame);
    const TableStatus status =
        count == 0 ? TableStatus::kBuilt : build_table(&obj->members, members, count);
    if (status != TableStatus::kBuilt)
        return finish_slowly(frame, status == TableStatus::kLongChain ? buckets : 0);
    // The table has no index: build_table() makes none, and fails if a chain needs one. The
    // children of a container that was made early have it as parent already.
    for (size_t i = 0; i < count && !early; ++i)
        link_to_parent(obj, members[i], members[i]->child);
    return 0;
}

// Fills the table of an object that build_table() could not build. If the reason is a long chain,
// `buckets` is the number of buckets that the table needs, and the function first tries to build a
// table with an index. If the reason is a duplicate key, `buckets` is 0. Then, or if the first try
// fails, the function adds the members one by one, so that later members replace earlier ones with
// the same key. attach_member() also links each child to its parent. If an insertion fails, the
// members that are not in the table yet stay in members_.
i32 OpenContainers::finish_slowly(Frame* frame, u64 buckets) {
    // From here on the record must never free the blocks in it: the table and the members that are
    // replaced may be among them, and are freed here. Nor does it know of the index, which is freed
    // with the object.
    //
    // The touch is not lost, because a record exists: a document has one unless all its blocks are
    // in its first chunk. That chunk is too small for two members, and if a large block made it
    // larger, it holds only this block.
    static_assert(sizeof(Chunk) + 2 * (member_span(0) + sizeof(wiq_json)) > Chunks::kMinChunkSize);
    chunks_.touch_document();
    drop_table(frame->node);
    auto* obj = as<ObjectNode>(frame->node);
    Member** const members = members_of(*frame);
    const size_t count = count_of(*frame);
    frame->members_in_table = true;
    size_t done = 0;
    if (buckets != 0 && make_table(obj, buckets) == 0) {
        // An object with so many members was made early: it is its children's parent already.
        if (build_indexed_table(&obj->members, members, count))
            done = count;
        else
            drop_table(frame->node);
    }
    while (done < count && attach_member(obj, members[done], members[done]->child) == 0)
        ++done;
    memmove(members, members + done, (count - done) * sizeof(Member*));
    members_.truncate(members_.size() - done);
    return done == count ? 0 : static_cast<i32>(WIQ_ERR_NO_MEMORY);
}

// Returns the string of an object's only member if that makes the object a reference, otherwise
// nullptr.
const TextNode* OpenContainers::reference_in(const Frame& frame) {
    if (frame.members_in_table) {
        const auto* obj = as<ObjectNode>(frame.node);
        return size_of(obj) == 1 ? uri_of(first_member(obj)) : nullptr;
    }
    return count_of(frame) == 1 ? uri_of(members_of(frame)[0]) : nullptr;
}

// Closes the innermost object, whose only member holds `uri`, and gives a reference in its place to
// the container around it, or to *root. The reference gets the object's key, if there is one.
i32 OpenContainers::replace_by_reference(const TextNode* uri, wiq_json** root) {
    const Frame& frame = frames_.top();
    wiq_json* reference = new_text_node(kJsonRef, uri->text, uri->length,
                                        frame.is_member ? &frame.key : nullptr, chunks_of_top());
    if (reference == nullptr)
        return WIQ_ERR_NO_MEMORY;
    // The container's own member has its own block only if the key is too long to share one. Then
    // the reference has no member in its block either.
    Member* member = member_has_own_block(frame) ? frame.member : nullptr;
    if (member == nullptr && frame.is_member && !has_member_in_block(reference)) {
        member = member_for(reference, frame.key, &chunks_);
        if (member == nullptr) {
            free_node(reference);
            return WIQ_ERR_NO_MEMORY;
        }
    }
    // This may free `uri`, and the text of the frame's key. The reference has copied `uri`; it or
    // `member` has copied the key, and add_child() reads only the key's length from here on.
    discard_frame(frame);
    return add_to_outer(reference, member, frames_.pop(), root);
}

}  // namespace ke::json
