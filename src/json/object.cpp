// Objects: how members are attached, replaced and removed, and the walk over them. The getters are in
// object_get.cpp.
//
// The members are a wiq_map in every respect that shows (bucket count, growth, order), but an entry and
// its key's text are one block, and a key is hashed once for all that an insertion does.

#include "json/node.h"

#include <cstdlib>
#include <cstring>

#include "containers/murmur3.h"

namespace ke::json {
namespace {

wiq_map_entry* find_entry(const ObjectNode* obj, const char* key, size_t key_length) {
    return map_find(&obj->map, hash_str(key, key_length), key);
}

void adopt(ObjectNode* obj, wiq_map_entry* entry, wiq_json* child) {
    count_up(child);
    entry->value = child;
    if (!is_weak(obj)) {
        child->parent = obj;
        child->position.key = key_of(entry);
    }
}

wiq_json_t* new_object(i32 capacity, u8 flags, u32* err) {
    if (has_failed(err)) {
        return nullptr;
    }
    if (capacity < 0) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    auto* obj = static_cast<ObjectNode*>(std::malloc(sizeof(ObjectNode)));
    if (obj == nullptr || wiq_map_init(&obj->map, static_cast<u64>(capacity), wiq_hash_str,
                                       wiq_cmp_str, nullptr, nullptr) != 0) {
        std::free(obj);
        report(err, WIQ_ERR_NO_MEMORY);
        return nullptr;
    }
    begin_node(obj, kJsonObject, flags);
    report(err, 0);
    return obj;
}

i32 put_child(wiq_json_t* obj, const char* key, wiq_json_t* child) {
    ObjectNode* object = to_object(obj);
    if (object == nullptr || key == nullptr || child == nullptr ||
        (!is_weak(obj) && (child->parent != nullptr || closes_ring(obj, child)))) {
        return WIQ_ERR_INVALID_ARG;
    }
    return attach_member(object, key, std::strlen(key), child);
}

// An entry with a copy of the key; its hash is the caller's to set.
wiq_map_entry* allocate_entry(const char* key, size_t key_length) {
    auto* entry = static_cast<wiq_map_entry*>(std::malloc(sizeof(wiq_map_entry) + key_length + 1));
    if (entry != nullptr) {
        char* text = reinterpret_cast<char*>(entry + 1);
        std::memcpy(text, key, key_length);
        text[key_length] = '\0';
        entry->key = text;
    }
    return entry;
}

// Attaches an entry whose key the object does not have; frees it on failure.
i32 link_entry(ObjectNode* obj, wiq_map_entry* entry, wiq_json* child) {
    map_link(&obj->map, entry);
    if (map_grow_if_full(&obj->map) != 0) {
        map_unlink(&obj->map, entry);
        std::free(entry);
        return WIQ_ERR_NO_MEMORY;
    }
    adopt(obj, entry, child);
    return 0;
}

// The entry and its key stay: nobody can tell them from the new ones.
void replace_child(ObjectNode* obj, wiq_map_entry* entry, wiq_json* child) {
    wiq_json* old = child_of(entry);
    adopt(obj, entry, child);
    release_child(obj, old);
}

}  // namespace

i32 attach_new_member(ObjectNode* obj, const char* key, size_t key_length, u32 hash,
                      wiq_json* child) {
    wiq_map_entry* entry = allocate_entry(key, key_length);
    if (entry == nullptr) {
        return WIQ_ERR_NO_MEMORY;
    }
    entry->hash = hash;
    return link_entry(obj, entry, child);
}

wiq_map_entry* new_entry(const char* key, size_t key_length) {
    wiq_map_entry* entry = allocate_entry(key, key_length);
    if (entry != nullptr) {
        entry->hash = hash_str(key_of(entry), key_length);
    }
    return entry;
}

i32 attach_entry(ObjectNode* obj, wiq_map_entry* entry, wiq_json* child) {
    wiq_map_entry* there = map_find(&obj->map, entry->hash, entry->key);
    if (there == nullptr) {
        return link_entry(obj, entry, child);
    }
    replace_child(obj, there, child);
    std::free(entry);
    return 0;
}

i32 attach_member(ObjectNode* obj, const char* key, size_t key_length, wiq_json* child) {
    const u32 hash = hash_str(key, key_length);
    wiq_map_entry* entry = map_find(&obj->map, hash, key);
    if (entry == nullptr) {
        return attach_new_member(obj, key, key_length, hash, child);
    }
    replace_child(obj, entry, child);
    return 0;
}

wiq_json* find_member(const ObjectNode* obj, const char* key) {
    const wiq_map_entry* entry = find_entry(obj, key, std::strlen(key));
    return entry != nullptr ? child_of(entry) : nullptr;
}

wiq_json* take_member(ObjectNode* obj, wiq_map_entry* entry) {
    wiq_json* child = child_of(entry);
    map_unlink(&obj->map, entry);
    std::free(entry);
    return child;
}

bool closes_ring(const wiq_json* container, const wiq_json* child) {
    if (container == child) {
        return true;
    }
    // Only what has children can be an ancestor, so that trees built from the root down, or from the
    // leaves up, never pay for this walk.
    const bool may_be_ancestor =
        is_container(child) && (child->type == kJsonObject ? size_of(as<ObjectNode>(child))
                                                           : size_of(as<ArrayNode>(child))) > 0;
    if (!may_be_ancestor) {
        return false;
    }
    while (container->parent != nullptr) {
        container = container->parent;
    }
    return container == child;
}

wiq_json* keep_if_attached(wiq_json* node, i32 status) {
    if (status == 0) {
        return node;
    }
    wiq_json_unref(node);
    return nullptr;
}

}  // namespace ke::json

using namespace ke::json;

wiq_json_t* wiq_json_obj_new(i32 capacity, u32* err) {
    return new_object(capacity, 0, err);
}

wiq_json_t* wiq_json_obj_weak_new(i32 capacity, u32* err) {
    return new_object(capacity, kJsonWeak, err);
}

i32 wiq_json_obj_put_ext(wiq_json_t* obj, const char* key, wiq_json_t* child, u32* err) {
    if (has_failed(err)) {
        return static_cast<i32>(*err);
    }
    return report(err, put_child(obj, key, child));
}

namespace {

// The end of every typed builder. A node that could not be made has left its status in `err`.
wiq_json_t* put_new(wiq_json_t* obj, const char* key, wiq_json_t* node, u32* err) {
    if (node == nullptr) {
        return nullptr;
    }
    return keep_if_attached(node, wiq_json_obj_put_ext(obj, key, node, err));
}

}  // namespace

wiq_json_t* wiq_json_obj_put_null(wiq_json_t* obj, const char* key, u32* err) {
    return put_new(obj, key, wiq_json_null_new(err), err);
}

wiq_json_t* wiq_json_obj_put_bool(wiq_json_t* obj, const char* key, bool value, u32* err) {
    return put_new(obj, key, wiq_json_bool_new(value, err), err);
}

wiq_json_t* wiq_json_obj_put_i64(wiq_json_t* obj, const char* key, i64 value, u32* err) {
    return put_new(obj, key, wiq_json_i64_new(value, err), err);
}

wiq_json_t* wiq_json_obj_put_u64(wiq_json_t* obj, const char* key, u64 value, u32* err) {
    return put_new(obj, key, wiq_json_u64_new(value, err), err);
}

wiq_json_t* wiq_json_obj_put_u128(wiq_json_t* obj, const char* key, const wiq_uint128* value,
                                  u32* err) {
    return put_new(obj, key, wiq_json_u128_new(value, err), err);
}

wiq_json_t* wiq_json_obj_put_double(wiq_json_t* obj, const char* key, double value, u32* err) {
    return put_new(obj, key, wiq_json_double_new(value, err), err);
}

wiq_json_t* wiq_json_obj_put_str(wiq_json_t* obj, const char* key, const char* text, u32* err) {
    return put_new(obj, key, wiq_json_str_new(text, err), err);
}

wiq_json_t* wiq_json_obj_put_jref(wiq_json_t* obj, const char* key, const char* target, u32* err) {
    return put_new(obj, key, wiq_json_jref_new(target, err), err);
}

wiq_json_t* wiq_json_obj_put_obj(wiq_json_t* obj, const char* key, u32* err) {
    return put_new(obj, key, wiq_json_obj_new(0, err), err);
}

wiq_json_t* wiq_json_obj_put_array(wiq_json_t* obj, const char* key, u32* err) {
    return put_new(obj, key, wiq_json_array_new(0, err), err);
}

bool wiq_json_obj_has_key(const wiq_json_t* obj, const char* key) {
    const ObjectNode* object = to_object(obj);
    return object != nullptr && key != nullptr && find_member(object, key) != nullptr;
}

i32 wiq_json_obj_size(const wiq_json_t* obj) {
    const ObjectNode* object = to_object(obj);
    return object != nullptr ? size_of(object) : WIQ_ERR_INVALID_ARG;
}

i32 wiq_json_obj_keys(const wiq_json_t* obj, wiq_strv* keys) {
    const ObjectNode* object = to_object(obj);
    if (object == nullptr) {
        return WIQ_ERR_INVALID_ARG;
    }
    const i32 count = size_of(object);
    if (count == 0) {
        return 0;
    }
    if (keys == nullptr) {
        return WIQ_ERR_INVALID_ARG;
    }
    const i32 size_before = keys->size;
    for (const wiq_map_entry* entry = first_member(object); entry != nullptr;
         entry = next_member(object, entry)) {
        const i32 status = wiq_strv_push(keys, key_of(entry));
        if (status != 0) {
            wiq_vector_resize(keys, size_before);
            return status;
        }
    }
    return count;
}

i32 wiq_json_obj_foreach(const wiq_json_t* obj, WiqJsonMemberFn callback, void* user) {
    const ObjectNode* object = to_object(obj);
    if (object == nullptr || callback == nullptr) {
        return WIQ_ERR_INVALID_ARG;
    }
    for (const wiq_map_entry* entry = first_member(object); entry != nullptr;
         entry = next_member(object, entry)) {
        if (!callback(key_of(entry), child_of(entry), user)) {
            break;
        }
    }
    return 0;
}

i32 wiq_json_obj_remove(wiq_json_t* obj, const char* key) {
    ObjectNode* object = to_object(obj);
    wiq_map_entry* entry =
        object != nullptr && key != nullptr ? find_entry(object, key, std::strlen(key)) : nullptr;
    if (entry == nullptr) {
        return WIQ_ERR_INVALID_ARG;
    }
    release_child(object, take_member(object, entry));
    return 0;
}
