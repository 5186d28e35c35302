// Taking a node out of its parent, and putting another node in its place. In both cases the node
// has no parent afterwards and belongs to the caller, even if its count is 0.

#include "json/model/array.h"
#include "json/model/blocks.h"
#include "json/model/err.h"
#include "json/model/object.h"
#include "json/model/refcount.h"

using namespace ke::json;

namespace {

i32 orphan_elem(ArrayNode* array, const wiq_json_t* node) {
    const i32 index = slot_of(array, node);
    if (index == size_of(array) - 1) {
        pop_elem(array);
        return 0;
    }
    // The other elements keep their indices: if the element is not the last one, a null takes its
    // place.
    u32 err = 0;
    wiq_json_t* placeholder = wiq_json_null_new(&err);
    if (placeholder != nullptr)
        swap_elem(array, index, index, placeholder);
    return static_cast<i32>(err);
}

}  // namespace

i32 wiq_json_make_orphan(wiq_json_t* node) {
    if (node == nullptr)
        return WIQ_ERR_INVALID_ARG;
    if (node->parent == nullptr)
        return 0;
    if (wiq_json_is_array(node->parent))
        return orphan_elem(as<ArrayNode>(node->parent), node);
    auto* parent = as<ObjectNode>(node->parent);
    detach_member(parent, member_of_key(node->position.key));
    hand_over_child(parent, node);
    return 0;
}

i32 wiq_json_make_orphan_ex(wiq_json_t* node, u32* err) {
    if (has_failed(err))
        return static_cast<i32>(*err);
    return report(err, wiq_json_make_orphan(node));
}

i32 wiq_json_swap_child(wiq_json_t* node, wiq_json_t* replacement) {
    if (node == nullptr || replacement == nullptr)
        return WIQ_ERR_INVALID_ARG;
    wiq_json_t* parent = node->parent;
    if (parent == nullptr)
        return 0;
    u32 err = 0;
    if (wiq_json_is_array(parent)) {
        wiq_json_array_swap(parent, slot_of(as<ArrayNode>(parent), node), replacement, &err);
        return static_cast<i32>(err);
    }
    // The added reference keeps the node alive when the object gives up its own. It is taken back
    // without a release.
    count_up(node);
    const i32 status = wiq_json_obj_put_ext(parent, node->position.key, replacement, nullptr);
    count_down(node);
    return status;
}
