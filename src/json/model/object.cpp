// Objects: how members are attached, replaced and removed, and the walk over them. The getters are
// in object_get.cpp.
//
// An insertion hashes its key once, whatever it looks up on the way, and copies it once, into the
// member's block.

#include "json/model/object.h"

#include <cstdlib>
#include <cstring>

#include "json/model/blocks.h"
#include "json/model/chain_index.h"
#include "json/model/cycle.h"
#include "json/model/err.h"
#include "json/model/make.h"
#include "json/model/refcount.h"
#include "json/model/table.h"

namespace ke::json {
namespace {

Key key_from(const char* text) {
    return {text, strlen(text)};
}

Member* find_member(const ObjectNode* obj, const char* key) {
    return find(obj->members, key_from(key));
}

// Doubles an object's table and renews its tail and its index. Returns false, with nothing changed,
// when out of memory.
bool grow_table(ObjectNode* obj) {
    Members& members = obj->members;
    const u64 count = u64{members.mask} + 1;
    // Read before the table grows: the new buckets overwrite the old tail.
    ChainIndex* index = index_of(members);
    Member** buckets = grown_table(obj, members.buckets, count * sizeof(Member*),
                                   pointers_in_table(2 * count) * sizeof(Member*));
    if (buckets == nullptr)
        return false;
    split_chains(buckets, count);
    members.buckets = buckets;
    members.mask = static_cast<u32>(2 * count - 1);
    if (has_tail(members))
        *tail_of(members) = {nullptr, 0};
    if (index != nullptr)
        rebuild_index(&members, index, count);
    return true;
}

// Returns the link of a key: the one to its member, or the null link at the end of the chain where
// the member would be added. An object without a table gets its first one, of two buckets.
// Returns nullptr if that cannot be allocated.
Member** link_for_key(ObjectNode* obj, const Key& key) {
    if (obj->members.buckets == nullptr && make_table(obj, 2) != 0)
        return nullptr;
    return link_to_add(obj->members, key);
}

// As link_for_key(), for an object that may be part of an untouched document. The object keeps its
// first table, or the index of a long chain, even if there is no memory for the new child. The
// document has no record of such a table or index, so it must be touched first.
Member** link_to_attach(ObjectNode* obj, const Key& key) {
    touch(obj);
    return link_for_key(obj, key);
}

// Links a member at `end`, the end of its chain, and grows the table if it has become too full.
// Returns 0, or WIQ_ERR_NO_MEMORY with the members unchanged.
i32 insert_member(ObjectNode* obj, Member** end, Member* member) {
    Members* members = &obj->members;
    const u64 count = u64{members->mask} + 1;
    // The new member is linked into the old table first, so that growth moves it with the others:
    // the order of members depends on that.
    link_member(members, end, member);
    if (members->size > load_limit(count) && (count == kMaxBuckets || !grow_table(obj))) {
        unlink_member(members, member);
        return WIQ_ERR_NO_MEMORY;
    }
    return 0;
}

// Frees a member that is no longer in a table, and releases its child.
void release_member(ObjectNode* obj, Member* member) {
    wiq_json* child = member->child;
    // The member first: free_member() reads the header of the child, which must be alive.
    free_member(member);
    release_child(obj, child);
}

// Puts a child in the place of another one, which is released. The child's count must already
// include the object's reference. The member stays where it is and keeps its key, because a walk
// may have reached it and a callback may hold the key.
void replace_child(ObjectNode* obj, Member* member, wiq_json* child) {
    touch_to_attach(obj, child);
    wiq_json* old = member->child;
    // The block of the old child is also the member's, which stays: now it has two owners.
    if (shares_block(member, old))
        share_block(member, old);
    // The child comes back to the member with which it was made: the block has one owner again.
    if (shares_block(member, child))
        unshare_block(member, child);
    link_to_parent(obj, member, child);
    release_child(obj, old);
}

// Attaches a child; the caller has checked that it may be attached. Returns 0, or WIQ_ERR_NO_MEMORY
// with the object's members and the child unchanged.
i32 attach_child(ObjectNode* obj, const Key& key, wiq_json* child) {
    Member** link = link_to_attach(obj, key);
    if (link == nullptr)
        return WIQ_ERR_NO_MEMORY;
    if (*link != nullptr) {
        // The count rises first: a weak object may already hold this child under this key, and then
        // gives up its old reference in replace_child().
        count_up(child);
        replace_child(obj, *link, child);
        return 0;
    }
    Member* member = new_member(key);
    if (member == nullptr || insert_member(obj, link, member) != 0) {
        free(member);
        return WIQ_ERR_NO_MEMORY;
    }
    touch_to_attach(obj, child);
    count_up(child);
    link_to_parent(obj, member, child);
    return 0;
}

// Checks what a caller passes, and attaches the child.
i32 put_child(wiq_json_t* obj, const char* key, wiq_json_t* child) {
    ObjectNode* object = to_object(obj);
    if (object == nullptr || key == nullptr || !may_attach(obj, child))
        return WIQ_ERR_INVALID_ARG;
    return attach_child(object, key_from(key), child);
}

// Makes a node by `make` and puts it under the key. `make` gets the key if the node is to have a
// member of its own, and nullptr if a member with this key exists. Returns nullptr when out of
// memory, with the object's members unchanged.
template <class Make>
wiq_json* attach_new_child(ObjectNode* obj, const Key& key, Make make) {
    Member** link = link_to_attach(obj, key);
    if (link == nullptr)
        return nullptr;
    if (*link != nullptr) {
        wiq_json* node = make(nullptr);
        if (node != nullptr) {
            node->refcount = 1;
            replace_child(obj, *link, node);
        }
        return node;
    }
    wiq_json* node = make(&key);
    if (node == nullptr)
        return nullptr;
    const bool is_separate = !has_member_in_block(node);
    Member* member = member_for(node, key);
    if (member == nullptr || insert_member(obj, link, member) != 0) {
        // A member that shares its block with the node is freed with the node.
        free(is_separate ? member : nullptr);
        free_node(node);
        return nullptr;
    }
    // link_to_attach() has touched the object's document, and the node belongs to none yet.
    node->refcount = 1;
    link_to_parent(obj, member, node);
    return node;
}

}  // namespace

i32 attach_member(ObjectNode* obj, Member* member, wiq_json* child) {
    Member** link = link_for_key(obj, Key(member));
    if (link == nullptr)
        return WIQ_ERR_NO_MEMORY;
    // No caller has seen the object, so no walk has reached the old member, and it need not stay as
    // in replace_child().
    Member* old = *link;
    if (old != nullptr) {
        replace_member(obj->members, link, member);
        release_member(obj, old);
    } else if (insert_member(obj, link, member) != 0) {
        return WIQ_ERR_NO_MEMORY;
    }
    link_to_parent(obj, member, child);
    return 0;
}

wiq_json* find_child(const ObjectNode* obj, const char* key) {
    const Member* member = find_member(obj, key);
    return member != nullptr ? member->child : nullptr;
}

wiq_json* detach_member(ObjectNode* obj, Member* member) {
    wiq_json* child = member->child;
    unlink_member(&obj->members, member);
    free_member(member);
    return child;
}

}  // namespace ke::json

using namespace ke::json;

i32 wiq_json_obj_put_ext(wiq_json_t* obj, const char* key, wiq_json_t* child, u32* err) {
    if (has_failed(err))
        return static_cast<i32>(*err);
    return report(err, put_child(obj, key, child));
}

namespace {

// What all typed builders share; `make` makes the node, as a member if it gets a key.
template <class Make>
wiq_json_t* put_new(wiq_json_t* obj, const char* key, u32* err, Make make) {
    if (has_failed(err))
        return nullptr;
    ObjectNode* object = to_object(obj);
    if (object == nullptr || key == nullptr) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    wiq_json* node = attach_new_child(object, key_from(key), make);
    report(err, node != nullptr ? 0 : WIQ_ERR_NO_MEMORY);
    return node;
}

// As above, for builders whose value is passed by a pointer, which must not be NULL.
template <class Value, class Make>
wiq_json_t* put_new_from(wiq_json_t* obj, const char* key, const Value* value, u32* err,
                         Make make) {
    if (!has_failed(err) && value == nullptr) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    return put_new(obj, key, err, make);
}

}  // namespace

wiq_json_t* wiq_json_obj_put_null(wiq_json_t* obj, const char* key, u32* err) {
    return put_new(obj, key, err, [](const Key* k) { return new_node<wiq_json>(kJsonNull, k); });
}

wiq_json_t* wiq_json_obj_put_bool(wiq_json_t* obj, const char* key, bool value, u32* err) {
    return put_new(obj, key, err, [value](const Key* k) {
        return new_node<wiq_json>(value ? kJsonTrue : kJsonFalse, k);
    });
}

wiq_json_t* wiq_json_obj_put_i64(wiq_json_t* obj, const char* key, i64 value, u32* err) {
    return put_new(obj, key, err,
                   [value](const Key* k) { return new_node_of<I64Node>(kJsonI64, value, k); });
}

wiq_json_t* wiq_json_obj_put_u64(wiq_json_t* obj, const char* key, u64 value, u32* err) {
    return put_new(obj, key, err,
                   [value](const Key* k) { return new_node_of<U64Node>(kJsonU64, value, k); });
}

wiq_json_t* wiq_json_obj_put_u128(wiq_json_t* obj, const char* key, const wiq_uint128* value,
                                  u32* err) {
    return put_new_from(obj, key, value, err, [value](const Key* k) {
        return new_node_of<U128Node>(kJsonU128, *value, k);
    });
}

wiq_json_t* wiq_json_obj_put_double(wiq_json_t* obj, const char* key, double value, u32* err) {
    return put_new(obj, key, err, [value](const Key* k) {
        return new_node_of<DoubleNode>(kJsonDouble, value, k);
    });
}

wiq_json_t* wiq_json_obj_put_str(wiq_json_t* obj, const char* key, const char* text, u32* err) {
    return put_new_from(obj, key, text, err, [text](const Key* k) { return new_string(text, k); });
}

wiq_json_t* wiq_json_obj_put_jref(wiq_json_t* obj, const char* key, const char* target, u32* err) {
    return put_new_from(obj, key, target, err, [target](const Key* k) {
        return new_text_node(kJsonRef, target, strlen(target), k);
    });
}

wiq_json_t* wiq_json_obj_put_obj(wiq_json_t* obj, const char* key, u32* err) {
    return put_new(obj, key, err, [](const Key* k) { return new_object(0, 0, k); });
}

wiq_json_t* wiq_json_obj_put_array(wiq_json_t* obj, const char* key, u32* err) {
    return put_new(obj, key, err, [](const Key* k) { return new_array(0, 0, k); });
}

bool wiq_json_obj_has_key(const wiq_json_t* obj, const char* key) {
    const ObjectNode* object = to_object(obj);
    return object != nullptr && key != nullptr && find_child(object, key) != nullptr;
}

i32 wiq_json_obj_size(const wiq_json_t* obj) {
    const ObjectNode* object = to_object(obj);
    return object != nullptr ? size_of(object) : WIQ_ERR_INVALID_ARG;
}

i32 wiq_json_obj_keys(const wiq_json_t* obj, wiq_strv* keys) {
    const ObjectNode* object = to_object(obj);
    if (object == nullptr)
        return WIQ_ERR_INVALID_ARG;
    const i32 count = size_of(object);
    if (count == 0)
        return 0;
    if (keys == nullptr)
        return WIQ_ERR_INVALID_ARG;
    const i32 size_before = keys->size;
    for (const Member* member = first_member(object); member != nullptr;
         member = next_member(object, member)) {
        const i32 status = wiq_strv_push(keys, member->key());
        if (status != 0) {
            wiq_vector_resize(keys, size_before);
            return status;
        }
    }
    return count;
}

i32 wiq_json_obj_foreach(const wiq_json_t* obj, WiqJsonMemberFn callback, void* user) {
    const ObjectNode* object = to_object(obj);
    if (object == nullptr || callback == nullptr)
        return WIQ_ERR_INVALID_ARG;
    for (const Member* member = first_member(object); member != nullptr;
         member = next_member(object, member)) {
        if (!callback(member->key(), member->child, user))
            break;
    }
    return 0;
}

i32 wiq_json_obj_remove(wiq_json_t* obj, const char* key) {
    ObjectNode* object = to_object(obj);
    Member* member = object != nullptr && key != nullptr ? find_member(object, key) : nullptr;
    if (member == nullptr)
        return WIQ_ERR_INVALID_ARG;
    unlink_member(&object->members, member);
    release_member(object, member);
    return 0;
}
