// Deep copy without recursion. A stack of the source's open containers leads back up in the source;
// in the copy, the parent links do.

#include "containers/small_stack.h"
#include "json/model/blocks.h"
#include "json/model/chain_index.h"
#include "json/model/err.h"
#include "json/model/make.h"

namespace ke::json {
namespace {

// A container of the source whose children are being copied, and the next one.
struct Frame {
    const wiq_json* container;
    const Member* member;  // of an object: the next one to be copied
    i32 index;             // of an array: the next element's
};

Frame frame_of(const wiq_json* container) {
    Frame frame{container, nullptr, 0};
    if (container->type == kJsonObject)
        frame.member = first_member(as<ObjectNode>(container));
    return frame;
}

// Returns a copy of one node. A container's copy has no children yet, but a table with room for all
// of them. Returns nullptr when out of memory, and for a node of an unknown type; *status then says
// which of the two, and otherwise means nothing.
wiq_json* copy_node(const wiq_json* node, const Key* key, Chunks* chunks, i32* status) {
    *status = WIQ_ERR_NO_MEMORY;
    switch (node->type) {
        case kJsonNull:
        case kJsonTrue:
        case kJsonFalse:
            return new_node<wiq_json>(node->type, key, chunks);
        case kJsonObject:
            return new_object(size_of(as<ObjectNode>(node)), 0, key, chunks);
        case kJsonArray:
            return new_array(size_of(as<ArrayNode>(node)), 0, key, chunks);
        case kJsonI64:
            return new_node_of<I64Node>(kJsonI64, as<I64Node>(node)->value, key, chunks);
        case kJsonU64:
            return new_node_of<U64Node>(kJsonU64, as<U64Node>(node)->value, key, chunks);
        case kJsonU128:
            return new_node_of<U128Node>(kJsonU128, as<U128Node>(node)->value, key, chunks);
        case kJsonDouble:
            return new_node_of<DoubleNode>(kJsonDouble, as<DoubleNode>(node)->value, key, chunks);
        case kJsonString:
        case kJsonRef: {
            const auto* text = as<TextNode>(node);
            return new_text_node(node->type, text->text, text->length, key, chunks);
        }
        default:
            *status = WIQ_ERR_BAD_JSON_TYPE;
            return nullptr;
    }
}

// A container that was met while the children of another one were copied, and its copy. Its
// children are copied next. nullptr if no container was met.
struct NextContainer {
    const wiq_json* container;
    wiq_json* copy;
};

// Copies elements up to and including the first container. Returns 0, WIQ_ERR_NO_MEMORY or
// WIQ_ERR_BAD_JSON_TYPE. The copy's table has room for all of them.
i32 copy_elems(Frame* frame, ArrayNode* parent, Chunks* chunks, NextContainer* next) {
    const auto* array = as<ArrayNode>(frame->container);
    i32 status = 0;
    for (i32& i = frame->index; i < size_of(array);) {
        const wiq_json* child = elems_of(array)[i];
        wiq_json* copy = copy_node(child, nullptr, chunks, &status);
        if (copy == nullptr)
            return status;
        copy->refcount = 1;
        parent->elems.data[i] = copy;
        link_to_parent(parent, i, copy);
        // Counted at once, so that a failure leaves a tree that can be released.
        parent->elems.size = ++i;
        if (is_container(child)) {
            *next = {child, copy};
            return 0;
        }
    }
    return 0;
}

// As above, for members. The copy's table has room for all of them, and no two of the source's
// members have the same key, so that append_member() need not search or grow.
i32 copy_members(Frame* frame, ObjectNode* parent, Chunks* chunks, NextContainer* next) {
    i32 status = 0;
    while (const Member* member = frame->member) {
        frame->member = next_member(as<ObjectNode>(frame->container), member);
        const Key key(member);
        wiq_json* copy = copy_node(member->child, &key, chunks, &status);
        if (copy == nullptr)
            return status;
        copy->refcount = 1;
        Member* placed = member_for(copy, key, chunks);
        if (placed == nullptr) {
            wiq_json_delete_impl(copy);
            return WIQ_ERR_NO_MEMORY;
        }
        append_member(&parent->members, placed);
        link_to_parent(parent, placed, copy);
        if (is_container(copy)) {
            *next = {member->child, copy};
            return 0;
        }
    }
    return 0;
}

// Copies everything below the source's root into the root's copy. Tables are recorded when their
// containers are complete, except for the root's.
i32 copy_children(const wiq_json* root, wiq_json* root_copy) {
    SmallStack<Frame, 32> frames;
    Chunks chunks;
    Frame frame = frame_of(root);
    wiq_json* parent = root_copy;
    for (;;) {
        NextContainer next = {nullptr, nullptr};
        const i32 status = parent->type == kJsonArray
                               ? copy_elems(&frame, as<ArrayNode>(parent), &chunks, &next)
                               : copy_members(&frame, as<ObjectNode>(parent), &chunks, &next);
        if (status != 0)
            return status;
        if (next.copy != nullptr) {
            if (!frames.push(frame))
                return WIQ_ERR_NO_MEMORY;
            frame = frame_of(next.container);
            parent = next.copy;
        } else if (frames.empty()) {
            give_document(&chunks, root_copy);
            return 0;
        } else if (!record_table(&chunks, parent)) {
            return WIQ_ERR_NO_MEMORY;
        } else {
            frame = frames.pop();
            parent = parent->parent;
        }
    }
}

}  // namespace
}  // namespace ke::json

using namespace ke::json;

wiq_json_t* wiq_json_copy(const wiq_json_t* node, u32* err) {
    if (has_failed(err))
        return nullptr;
    if (node == nullptr) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    i32 status = 0;
    wiq_json_t* copy = copy_node(node, nullptr, nullptr, &status);
    if (copy != nullptr)
        status = is_container(node) ? copy_children(node, copy) : 0;
    if (report(err, status) != 0) {
        wiq_json_delete_impl(copy);
        return nullptr;
    }
    return copy;
}
