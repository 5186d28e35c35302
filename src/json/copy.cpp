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
        const wiq_map_entry* member;  // the next one
        i32 index;                    // of the next element
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
        return source.member != nullptr ? child_of(source.member) : nullptr;
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

// A copy of one node, containers without their children, with room for them.
wiq_json* copy_node(const wiq_json* node, u32* err) {
    switch (node->type) {
        case kJsonNull:
            return wiq_json_null_new(err);
        case kJsonObject:
            return wiq_json_obj_new(size_of(as<ObjectNode>(node)), err);
        case kJsonArray:
            return wiq_json_array_new(size_of(as<ArrayNode>(node)), err);
        case kJsonI64:
            return wiq_json_i64_new(as<I64Node>(node)->value, err);
        case kJsonU64:
            return wiq_json_u64_new(as<U64Node>(node)->value, err);
        case kJsonU128:
            return wiq_json_u128_new(&as<U128Node>(node)->value, err);
        case kJsonDouble:
            return wiq_json_double_new(as<DoubleNode>(node)->value, err);
        case kJsonTrue:
        case kJsonFalse:
            return wiq_json_bool_new(node->type == kJsonTrue, err);
        case kJsonString:
        case kJsonRef: {
            const char* text = as<TextNode>(node)->text;
            wiq_json* copy =
                new_text_node(node->type, text, text != nullptr ? std::strlen(text) : 0);
            report(err, copy != nullptr ? 0 : WIQ_ERR_NO_MEMORY);
            return copy;
        }
        default:
            report(err, WIQ_ERR_BAD_JSON_TYPE);
            return nullptr;
    }
}

// Attaches the copy of a source's next child in the place that the child has there.
i32 attach_copy(wiq_json* parent, const OpenSource& source, wiq_json* copy) {
    if (parent->type == kJsonArray) {
        return attach_elem(as<ArrayNode>(parent), copy);
    }
    const char* key = key_of(source.member);
    return attach_new_member(as<ObjectNode>(parent), key, std::strlen(key), source.member->hash,
                             copy);
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
        u32 err = 0;
        wiq_json* copy = copy_node(child, &err);
        if (copy == nullptr) {
            return static_cast<i32>(err);
        }
        if (attach_copy(parent, source, copy) != 0) {
            wiq_json_delete_impl(copy);
            return WIQ_ERR_NO_MEMORY;
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
    u32 copy_err = 0;
    wiq_json_t* copy = copy_node(node, &copy_err);
    i32 status = static_cast<i32>(copy_err);
    if (copy != nullptr && is_container(node)) {
        status = copy_children(node, copy);
    }
    if (report(err, status) != 0) {
        wiq_json_delete_impl(copy);
        return nullptr;
    }
    return copy;
}
