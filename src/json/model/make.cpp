// The constructors of nodes: the exported ones, and those that the library itself uses. Reference
// nodes of callers are made in reference.cpp.

#include "json/model/make.h"

#include <cstdlib>
#include <cstring>

#include "json/model/blocks.h"
#include "json/model/err.h"
#include "json/model/table.h"

namespace ke::json {
namespace {

// The largest node that shares its block with its member. A member may keep the whole block after
// the node is gone.
constexpr size_t kMaxSizeWithMember = 1024;

// Returns a container of type `type` with room for a table of `inline_slots` slots or buckets
// directly after its node. Neither the table nor the fields after the header are set. Returns
// nullptr when out of memory.
template <class Node>
Node* new_container(u16 type, u64 inline_slots, u8 flags, const Key* key, Chunks* chunks) {
    auto* node = static_cast<Node*>(
        allocate_node(type, sizeof(Node) + inline_slots * sizeof(void*), key, chunks));
    if (node != nullptr) {
        node->flags = flags;
        node->has_inline_room = inline_slots != 0;
    }
    return node;
}

}  // namespace

wiq_json* allocate_node(u16 type, size_t size, const Key* key, Chunks* chunks) {
    constexpr size_t kUnit = 8;
    size_t offset = 0;
    if (key != nullptr && key->length <= kMaxKeyLengthWithNode && size <= kMaxSizeWithMember)
        offset = member_span(key->length);
    char* block = nullptr;
    size_t home = offset / kUnit;
    if (chunks == nullptr) {
        block = static_cast<char*>(malloc(offset + size));
    } else if (offset + size <= Chunks::kMaxBlockSize && (key == nullptr || offset != 0)) {
        block = chunks->take((offset + size + kUnit - 1) / kUnit * kUnit, offset);
        home = block != nullptr ? chunks->distance(block + offset) : 0;
    } else {
        // The node is too large, or its key too long: the node gets a chunk of its own, and its
        // member a block of its own.
        offset = 0;
        block = chunks->take_alone(size);
        home = Chunks::kDistanceAlone;
    }
    if (block == nullptr)
        return nullptr;
    auto* node = reinterpret_cast<wiq_json*>(block + offset);
    init_node(node, type, home, chunks != nullptr);
    if (offset != 0)
        init_member(block, *key);
    return node;
}

wiq_json* new_text_node(u16 type, const char* text, size_t length, const Key* key, Chunks* chunks) {
    const size_t text_size = text != nullptr ? length + 1 : 0;
    auto* node =
        static_cast<TextNode*>(allocate_node(type, sizeof(TextNode) + text_size, key, chunks));
    if (node == nullptr)
        return nullptr;
    node->text = nullptr;
    node->length = length;
    if (text != nullptr) {
        node->text = reinterpret_cast<char*>(node + 1);
        copy_short(node->text, text, length);
        node->text[length] = '\0';
    }
    return node;
}

wiq_json* new_string(const char* text, const Key* key) {
    wiq_json* node = new_text_node(kJsonString, text, strlen(text), key);
    return node != nullptr ? node : new_text_node(kJsonString, nullptr, 0, key);
}

ArrayNode* new_array(i32 capacity, u8 flags, const Key* key, Chunks* chunks) {
    const bool inline_table = capacity > 0 && static_cast<u64>(capacity) <= kMaxInlineSlots;
    auto* array = new_container<ArrayNode>(
        kJsonArray, inline_table ? static_cast<u64>(capacity) : 0, flags, key, chunks);
    if (array == nullptr)
        return nullptr;
    array->elems = {};
    if (inline_table) {
        array->elems = {{reinterpret_cast<wiq_json**>(array + 1)}, 0, capacity};
    } else if (capacity > 0 && reserve_slots(array, capacity) != 0) {
        free_node(array);
        return nullptr;
    }
    return array;
}

ObjectNode* new_object(i32 capacity, u8 flags, const Key* key, Chunks* chunks) {
    const u64 buckets = initial_buckets(static_cast<u64>(capacity));
    // An object without a table behaves as if it had one bucket, so one bucket needs no table.
    return new_object_with(buckets == 1 ? 0 : buckets, flags, key, chunks);
}

ObjectNode* new_object_with(u64 buckets, u8 flags, const Key* key, Chunks* chunks) {
    const u64 inline_buckets = buckets <= kMaxInlineSlots ? buckets : 0;
    auto* obj = new_container<ObjectNode>(kJsonObject, inline_buckets, flags, key, chunks);
    if (obj == nullptr)
        return nullptr;
    obj->members = {};
    if (inline_buckets != 0) {
        obj->members.buckets = reinterpret_cast<Member**>(obj + 1);
        obj->members.mask = static_cast<u32>(buckets - 1);
        memset(obj->members.buckets, 0, buckets * sizeof(Member*));
    } else if (buckets != 0 && make_table(obj, buckets) != 0) {
        free_node(obj);
        return nullptr;
    }
    return obj;
}

Member* new_member(const Key& key) {
    void* block = key.length <= kMaxKeyLength ? malloc(sizeof(Member) + key.length + 1) : nullptr;
    return block != nullptr ? init_member(block, key) : nullptr;
}

namespace {

// What the constructors share: do nothing after an earlier failure, make a node with its value,
// report the status.
template <class Node, class Value>
wiq_json_t* make(u16 type, const Value& value, u32* err) {
    if (has_failed(err))
        return nullptr;
    wiq_json* node = new_node_of<Node>(type, value);
    report(err, node != nullptr ? 0 : WIQ_ERR_NO_MEMORY);
    return node;
}

wiq_json_t* make_bare(u16 type, u32* err) {
    if (has_failed(err))
        return nullptr;
    wiq_json* node = new_node<wiq_json>(type);
    report(err, node != nullptr ? 0 : WIQ_ERR_NO_MEMORY);
    return node;
}

wiq_json_t* make_array(i32 capacity, u8 flags, u32* err) {
    if (has_failed(err))
        return nullptr;
    if (capacity < 0) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    wiq_json* array = new_array(capacity, flags);
    report(err, array != nullptr ? 0 : WIQ_ERR_NO_MEMORY);
    return array;
}

wiq_json_t* make_object(i32 capacity, u8 flags, u32* err) {
    if (has_failed(err))
        return nullptr;
    if (capacity < 0) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    wiq_json* obj = new_object(capacity, flags);
    report(err, obj != nullptr ? 0 : WIQ_ERR_NO_MEMORY);
    return obj;
}

}  // namespace

}  // namespace ke::json

using namespace ke::json;

wiq_json_t* wiq_json_null_new(u32* err) {
    return make_bare(kJsonNull, err);
}

wiq_json_t* wiq_json_bool_new(bool value, u32* err) {
    return make_bare(value ? kJsonTrue : kJsonFalse, err);
}

wiq_json_t* wiq_json_i64_new(i64 value, u32* err) {
    return make<I64Node>(kJsonI64, value, err);
}

wiq_json_t* wiq_json_u64_new(u64 value, u32* err) {
    return make<U64Node>(kJsonU64, value, err);
}

wiq_json_t* wiq_json_u128_new(const wiq_uint128* value, u32* err) {
    if (!has_failed(err) && value == nullptr) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    return value != nullptr ? make<U128Node>(kJsonU128, *value, err) : nullptr;
}

wiq_json_t* wiq_json_double_new(double value, u32* err) {
    return make<DoubleNode>(kJsonDouble, value, err);
}

wiq_json_t* wiq_json_str_new(const char* text, u32* err) {
    if (has_failed(err))
        return nullptr;
    if (text == nullptr) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    wiq_json* node = new_string(text);
    report(err, node != nullptr ? 0 : WIQ_ERR_NO_MEMORY);
    return node;
}

wiq_json_t* wiq_json_obj_new(i32 capacity, u32* err) {
    return make_object(capacity, 0, err);
}

wiq_json_t* wiq_json_obj_weak_new(i32 capacity, u32* err) {
    return make_object(capacity, kJsonWeak, err);
}

wiq_json_t* wiq_json_array_new(i32 capacity, u32* err) {
    return make_array(capacity, 0, err);
}

wiq_json_t* wiq_json_array_weak_new(i32 capacity, u32* err) {
    return make_array(capacity, kJsonWeak, err);
}
