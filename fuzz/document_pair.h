// A document of the library and its model, side by side: how both are built in the same way and compared.
#pragma once

#include "document_model.h"
#include "input.h"
#include "json/tree.h"
#include "support/colliding_keys.h"

using model::Node;

// After a script has made this many nodes, it makes no more.
constexpr size_t kMaxNodes = 160;
// Walks that follow weak references can be endless, so only smaller documents are copied or compared.
constexpr size_t kReach = 300;

inline const std::vector<std::string>& keys() {
    static const std::vector<std::string> all = [] {
        std::vector<std::string> result = {"",  "a",         "b",   "c",
                                           "d", "e~/",       "0",   "1",
                                           "-", "\x01 \"\\", "key", std::string(470, 'k')};
        for (const std::string& key : colliding::keys(80))
            result.push_back(key);
        for (int i = 0; i < 30; ++i)
            result.push_back("name" + std::to_string(i));
        return result;
    }();
    return all;
}
inline const std::string& key_of(u8 operand) {
    return keys()[operand % keys().size()];
}

class Pair {
  protected:
    static constexpr size_t kHandles = 8;

    Node*& handle(u8 operand) { return handles_[operand % kHandles]; }
    static wiq_json_t* real(const Node* node) { return node == nullptr ? nullptr : node->real; }

    // A handle owns one reference.
    void set_handle(size_t slot, Node* node) {
        if (node != nullptr) {
            ++node->count;
            wiq_json_ref(node->real);
        }
        Node* old = handles_[slot % kHandles];
        handles_[slot % kHandles] = node;
        // The library's reference is released first, since that may destroy the node.
        wiq_json_unref(real(old));
        document_.unref(old);
    }
    void remove_children(Node* node) {
        for (const model::Member& member : node->members.all()) {
            const std::string key = member.key;
            CHECK(wiq_json_obj_remove(node->real, key.c_str()) == document_.remove(node, key));
        }
        while (!node->elems.empty())
            CHECK(wiq_json_array_pop(node->real, 1) == document_.pop(node, 1));
    }

    // Returns a scalar of one of nine kinds, or an empty container, which has no node of the library yet.
    Node* describe(u8 kind, u8 value) {
        static constexpr model::Tag kTags[] = {model::kNull,   model::kTrue,   model::kFalse,
                                               model::kI64,    model::kU64,    model::kU128,
                                               model::kDouble, model::kString, model::kRef,
                                               model::kArray,  model::kObject};
        Node* node = document_.make(kTags[kind % 11]);
        const int small = value % 16;
        if (node->tag == model::kI64)
            node->number = small - 8;
        else if (node->tag == model::kU64 || node->tag == model::kU128)
            node->number = small;
        else if (node->tag == model::kDouble)
            node->number = (small - 8) / 4.0;
        else if (node->tag == model::kString)
            node->text = key_of(value);
        else if (node->tag == model::kRef)
            node->text = "#/" + std::to_string(small);
        return node;
    }
    static wiq_uint128 wide(const Node* node) {
        return {node->number < 0 ? 0 : static_cast<u64>(node->number), 0};
    }
    Node* scalar(u8 kind, u8 value) {
        Node* node = describe(kind % 9, value);
        const wiq_uint128 number = wide(node);
        const char* text = node->text.c_str();
        switch (node->tag) {
            case model::kI64:
                node->real = wiq_json_i64_new(static_cast<i64>(node->number), nullptr);
                break;
            case model::kU64:
                node->real = wiq_json_u64_new(number.lo, nullptr);
                break;
            case model::kU128:
                node->real = wiq_json_u128_new(&number, nullptr);
                break;
            case model::kDouble:
                node->real = wiq_json_double_new(node->number, nullptr);
                break;
            case model::kString:
                node->real = wiq_json_str_new(text, nullptr);
                break;
            case model::kRef:
                node->real = wiq_json_jref_new(text, nullptr);
                break;
            case model::kNull:
                node->real = wiq_json_null_new(nullptr);
                break;
            default:
                node->real = wiq_json_bool_new(node->tag == model::kTrue, nullptr);
        }
        return node;
    }
    Node* container(u8 bits, u8 capacity) {
        const i32 room = capacity % 20;
        const bool array = (bits & 1) != 0;
        Node* node =
            array ? document_.make(model::kArray) : document_.make_object(static_cast<u64>(room));
        node->weak = (bits & 6) == 6;
        if (array)
            node->real = (node->weak ? wiq_json_array_weak_new : wiq_json_array_new)(room, nullptr);
        else
            node->real = (node->weak ? wiq_json_obj_weak_new : wiq_json_obj_new)(room, nullptr);
        return node;
    }

    // Adds a new value with one of the library's builders; only the container owns a reference to it.
    void put_new(Node* obj, const std::string& key, u8 kind, u8 value) {
        Node* child = describe(kind, value);
        const wiq_uint128 number = wide(child);
        wiq_json_t* const to = real(obj);
        const char* name = key.c_str();
        const char* text = child->text.c_str();
        u32 err = 0;
        switch (child->tag) {
            case model::kNull:
                child->real = wiq_json_obj_put_null(to, name, &err);
                break;
            case model::kI64:
                child->real = wiq_json_obj_put_i64(to, name, static_cast<i64>(child->number), &err);
                break;
            case model::kU64:
                child->real = wiq_json_obj_put_u64(to, name, number.lo, &err);
                break;
            case model::kU128:
                child->real = wiq_json_obj_put_u128(to, name, &number, &err);
                break;
            case model::kDouble:
                child->real = wiq_json_obj_put_double(to, name, child->number, &err);
                break;
            case model::kString:
                child->real = wiq_json_obj_put_str(to, name, text, &err);
                break;
            case model::kRef:
                child->real = wiq_json_obj_put_jref(to, name, text, &err);
                break;
            case model::kArray:
                child->real = wiq_json_obj_put_array(to, name, &err);
                break;
            case model::kObject:
                child->real = wiq_json_obj_put_obj(to, name, &err);
                break;
            default:
                child->real = wiq_json_obj_put_bool(to, name, child->tag == model::kTrue, &err);
        }
        check_new(child, document_.put(obj, key, child), err);
    }
    void push_new(Node* array, u8 kind, u8 value) {
        Node* child = describe(kind, value);
        if (child->tag == model::kNull || child->tag == model::kRef)
            child->tag = model::kTrue;
        const wiq_uint128 number = wide(child);
        wiq_json_t* const to = real(array);
        u32 err = 0;
        switch (child->tag) {
            case model::kI64:
                child->real = wiq_json_array_push_i64(to, static_cast<i64>(child->number), &err);
                break;
            case model::kU64:
                child->real = wiq_json_array_push_u64(to, number.lo, &err);
                break;
            case model::kU128:
                child->real = wiq_json_array_push_u128(to, &number, &err);
                break;
            case model::kDouble:
                child->real = wiq_json_array_push_double(to, child->number, &err);
                break;
            case model::kString:
                child->real = wiq_json_array_push_str(to, child->text.c_str(), &err);
                break;
            case model::kArray:
                child->real = wiq_json_array_push_array(to, &err);
                break;
            case model::kObject:
                child->real = wiq_json_array_push_obj(to, &err);
                break;
            default:
                child->real = wiq_json_array_push_bool(to, child->tag == model::kTrue, &err);
        }
        check_new(child, document_.push(array, child), err);
    }
    static void check_new(Node* child, i32 status, u32 err) {
        CHECK(static_cast<i32>(err) == status);
        CHECK((child->real != nullptr) == (status == 0));
        child->dead = status != 0;
    }

    // Matches the nodes of a model with those of a copy that the library has made, from the top down.
    void match(Node* node, wiq_json_t* real) {
        CHECK(real != nullptr);
        node->real = real;
        for (const model::Member& member : node->members.all())
            match(member.child, wiq_json_obj_get_ext(real, member.key.c_str(), 0, nullptr));
        for (size_t i = 0; i < node->elems.size(); ++i)
            match(node->elems[i], wiq_json_array_get_ext(real, static_cast<i32>(i), 0, nullptr));
    }
    // Finds the library's node for a child that the library has made.
    static void match_in(const Node* container, Node* child) {
        for (const model::Member& member : container->members.all()) {
            if (member.child == child)
                child->real = wiq_json_obj_get_ext(container->real, member.key.c_str(), 0, nullptr);
        }
        for (size_t i = 0; i < container->elems.size(); ++i) {
            if (container->elems[i] == child)
                child->real =
                    wiq_json_array_get_ext(container->real, static_cast<i32>(i), 0, nullptr);
        }
        CHECK(child->real != nullptr);
    }
    static void check_members(const Node* node) {
        struct Walk {
            std::vector<model::Member> expected;
            size_t next = 0;
        } walk{node->members.all()};
        CHECK(wiq_json_obj_size(node->real) == static_cast<i32>(walk.expected.size()));
        wiq_json_obj_foreach(
            node->real,
            [](const char* key, wiq_json_t* child, void* user) {
                auto* self = static_cast<Walk*>(user);
                CHECK(self->next < self->expected.size());
                const model::Member& member = self->expected[self->next++];
                CHECK(member.key == key);
                CHECK(member.child->real == child);
                return true;
            },
            &walk);
        CHECK(walk.next == walk.expected.size());
    }
    static void check_elems(const Node* node) {
        CHECK(wiq_json_array_size(node->real) == static_cast<i32>(node->elems.size()));
        for (size_t i = 0; i < node->elems.size(); ++i)
            CHECK(wiq_json_array_get_ext(node->real, static_cast<i32>(i), 0, nullptr) ==
                  node->elems[i]->real);
    }
    static void check_node(const Node* node) {
        const tree::Header* header = tree::header(node->real);
        CHECK(header->type == node->tag);
        CHECK(((header->flags & 2) != 0) == node->weak);
        CHECK(header->refcount == node->count);
        CHECK(tree::parent(node->real) == real(node->parent));
        const bool member = node->parent != nullptr && node->parent->tag == model::kObject;
        const bool elem = node->parent != nullptr && !member;
        const char* key = wiq_json_parent_key(node->real);
        CHECK(member ? key != nullptr && node->key == key : key == nullptr);
        CHECK(wiq_json_parent_index(node->real) == (elem ? node->index : -1));
        if (node->tag == model::kObject)
            check_members(node);
        else if (node->tag == model::kArray)
            check_elems(node);
        else if (node->tag == model::kString || node->tag == model::kRef)
            CHECK(node->text == wiq_json_str_get(node->real));
        else if (node->tag >= model::kI64 && node->tag <= model::kDouble)
            CHECK(wiq_json_double_get(node->real) == node->number);
    }
    void check_all() const {
        for (const Node* node : document_.alive())
            check_node(node);
    }

    model::Document document_;
    Node* handles_[kHandles] = {};
};
