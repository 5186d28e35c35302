// Deep copy, without recursion: the way back up is a list of the source's open containers, the place in
// the copy follows its parent links.

#include <cstring>

#include "containers/small_stack.h"
#include "json/node.h"

namespace ke::json {
namespace {

// A container of the source whose children are being copied, and how far.
struct OpenSource {
    const wiq_json* container;
    union {
        const Member* member;  // the next one
        i32 index;             // of the next element
    };
};

OpenSource open(const wiq_json* container) {
    OpenSource source{container, {}};
    if (container->type == kJsonObject) {
        source.member = first_member(as<ObjectNode>(container));
    } else {
        source.index = 0;
    }
    return source;
}

// The child to be copied next; nullptr at the end.
const wiq_json* next_child(const OpenSource& source) {
    if (source.container->type == kJsonObject) {
        return source.member != nullptr ? source.member->child : nullptr;
    }
    const auto* array = as<ArrayNode>(source.container);
    return source.index < size_of(array) ? elems_of(array)[source.index] : nullptr;
}

void advance(OpenSource* source) {
    if (source->container->type == kJsonObject) {
        source->member = next_member(as<ObjectNode>(source->container), source->member);
    } else {
        ++source->index;
    }
}

// A copy of one node, containers without their children, with room for them. nullptr without memory, or,
// with its own status, for what is no node.
wiq_json* copy_node(const wiq_json* node, const Key* key, i32* status) {
    *status = WIQ_ERR_NO_MEMORY;
    switch (node->type) {
        case kJsonNull:
        case kJsonTrue:
        case kJsonFalse:
            return new_node<wiq_json>(node->type, key);
        case kJsonObject:
            return new_object(size_of(as<ObjectNode>(node)), 0, key);
        case kJsonArray:
            return new_array(size_of(as<ArrayNode>(node)), 0, key);
        case kJsonI64:
            return new_node_of<I64Node>(kJsonI64, as<I64Node>(node)->value, key);
        case kJsonU64:
            return new_node_of<U64Node>(kJsonU64, as<U64Node>(node)->value, key);
        case kJsonU128:
            return new_node_of<U128Node>(kJsonU128, as<U128Node>(node)->value, key);
        case kJsonDouble:
            return new_node_of<DoubleNode>(kJsonDouble, as<DoubleNode>(node)->value, key);
        case kJsonString:
        case kJsonRef: {
            const char* text = as<TextNode>(node)->text;
            return new_text_node(node->type, text, text != nullptr ? std::strlen(text) : 0, key);
        }
        default:
            *status = WIQ_ERR_BAD_JSON_TYPE;
            return nullptr;
    }
}

// Copies the next child of a source into the same place in the source's copy: 0 with the copy, or why not.
i32 copy_child(const OpenSource& source, const wiq_json* child, wiq_json* parent, wiq_json** copy) {
    i32 status = 0;
    if (parent->type == kJsonArray) {
        *copy = copy_node(child, nullptr, &status);
        if (*copy != nullptr) {
            status = attach_new_elem(as<ArrayNode>(parent), *copy);
        }
    } else {
        const Key key(source.member);
        *copy = copy_node(child, &key, &status);
        if (*copy != nullptr) {
            status = attach_new_member(as<ObjectNode>(parent), key, *copy);
        }
    }
    if (status != 0 && *copy != nullptr) {
        wiq_json_delete_impl(*copy);
    }
    return status;
}

// Copies all that is below the source's root into the root's copy.
i32 copy_children(const wiq_json* root, wiq_json* root_copy) {
    SmallStack<OpenSource, 32> outer;
    OpenSource source = open(root);
    wiq_json* parent = root_copy;
    for (;;) {
        const wiq_json* child = next_child(source);
        if (child == nullptr) {
            if (outer.empty()) {
                return 0;
            }
            source = outer.top();
            outer.pop();
            parent = parent->parent;
            continue;
        }
        wiq_json* copy = nullptr;
        const i32 status = copy_child(source, child, parent, &copy);
        if (status != 0) {
            return status;
        }
        advance(&source);
        if (is_container(child)) {
            if (!outer.push(source)) {
                return WIQ_ERR_NO_MEMORY;
            }
            source = open(child);
            parent = copy;
        }
    }
}

}  // namespace
}  // namespace ke::json

using namespace ke::json;

wiq_json_t* wiq_json_copy(const wiq_json_t* node, u32* err) {
    if (has_failed(err)) {
        return nullptr;
    }
    if (node == nullptr) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    i32 status = 0;
    wiq_json_t* copy = copy_node(node, nullptr, &status);
    if (copy != nullptr) {
        status = is_container(node) ? copy_children(node, copy) : 0;
    }
    if (report(err, status) != 0) {
        wiq_json_delete_impl(copy);
        return nullptr;
    }
    return copy;
}
