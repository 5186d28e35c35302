// A document as the reference describes it, made of types of the standard library and without regard for
// speed: what the operations of json.h do to values, counts, parents, positions and the order of members.
#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "json/subset_model.h"
#include "ke_utils.h"

namespace model {

struct Node;

struct Member {
    std::string key;
    u32 hash;
    Node* child;
};

// The order of members: chains in a table whose number of buckets is a power of two. A new member is added at
// the end of its chain. A table that is more than three quarters full doubles; then each member, in order,
// goes to the front of its new chain.
class Members {
  public:
    explicit Members(u64 capacity = 0) {
        u64 count = 1;
        while (capacity != 0 && count <= capacity * 4 / 3)
            count *= 2;
        chains_.resize(count);
    }
    size_t size() const { return size_; }
    Member* find(const std::string& key) {
        for (Member& member : chain(wiq_hash_str(key.c_str()))) {
            if (member.key == key)
                return &member;
        }
        return nullptr;
    }
    void add(const std::string& key, Node* child) {
        const u32 hash = wiq_hash_str(key.c_str());
        chain(hash).push_back({key, hash, child});
        ++size_;
        if (size_ > chains_.size() * 3 / 4)
            grow();
    }
    void remove(const std::string& key) {
        std::vector<Member>& members = chain(wiq_hash_str(key.c_str()));
        members.erase(std::find_if(members.begin(), members.end(),
                                   [&](const Member& member) { return member.key == key; }));
        --size_;
    }
    std::vector<Member> all() const {
        std::vector<Member> members;
        for (const auto& chain : chains_)
            members.insert(members.end(), chain.begin(), chain.end());
        return members;
    }

  private:
    std::vector<Member>& chain(u32 hash) { return chains_[hash & (chains_.size() - 1)]; }
    void grow() {
        const std::vector<Member> members = all();
        chains_.assign(2 * chains_.size(), {});
        for (const Member& member : members)
            chain(member.hash).insert(chain(member.hash).begin(), member);
    }

    std::vector<std::vector<Member>> chains_;
    size_t size_ = 0;
};

enum Tag : u16 { kNull, kObject, kArray, kI64, kU64, kU128, kDouble, kString, kTrue, kFalse, kRef };

struct Node {
    Tag tag;
    double number = 0;  // small enough for every numeric kind
    std::string text;
    bool weak = false;
    Members members;
    std::vector<Node*> elems;

    i64 count = 0;
    Node* parent = nullptr;
    std::string key;  // in an object
    i32 index = 0;    // in an array; as it was given, so perhaps negative
    bool dead = false;
    wiq_json_t* real = nullptr;  // the library's node that this one models

    bool is_container() const { return tag == kObject || tag == kArray; }
};

class Document {
  public:
    Node* make(Tag tag) {
        nodes_.push_back(std::make_unique<Node>());
        nodes_.back()->tag = tag;
        return nodes_.back().get();
    }
    Node* make_object(u64 capacity) {
        Node* node = make(kObject);
        node->members = Members(capacity);
        return node;
    }
    std::vector<Node*> alive() const {
        std::vector<Node*> result;
        for (const auto& node : nodes_) {
            if (!node->dead)
                result.push_back(node.get());
        }
        return result;
    }
    // Forgets dead nodes; after that, their addresses must not be compared any more.
    void forget_dead() {
        nodes_.erase(std::remove_if(nodes_.begin(), nodes_.end(),
                                    [](const auto& node) { return node->dead; }),
                     nodes_.end());
    }

    void unref(Node* node) {
        if (node != nullptr) {
            --node->count;
            end_if_unowned(node);
        }
    }

    i32 put(Node* obj, const std::string& key, Node* child) {
        if (obj == nullptr || obj->tag != kObject || !may_take(obj, child))
            return WIQ_ERR_INVALID_ARG;
        ++child->count;
        Member* member = obj->members.find(key);
        Node* old = member != nullptr ? member->child : nullptr;
        if (member != nullptr)
            member->child = child;
        else
            obj->members.add(key, child);
        if (!obj->weak) {
            child->parent = obj;
            child->key = key;
        }
        if (old != nullptr)
            release(obj, old);
        return 0;
    }
    i32 remove(Node* obj, const std::string& key) {
        Member* member = obj == nullptr || obj->tag != kObject ? nullptr : obj->members.find(key);
        if (member == nullptr)
            return WIQ_ERR_INVALID_ARG;
        Node* child = member->child;
        obj->members.remove(key);
        release(obj, child);
        return 0;
    }
    i32 push(Node* array, Node* child) {
        if (array == nullptr || array->tag != kArray || !may_take(array, child))
            return WIQ_ERR_INVALID_ARG;
        ++child->count;
        array->elems.push_back(child);
        link_to_parent(array, child, static_cast<i32>(array->elems.size()) - 1);
        return 0;
    }
    // Returns the slot for an index; -1 if it is out of range.
    static i32 resolve(const Node* array, i32 index) {
        const i32 size = static_cast<i32>(array->elems.size());
        const i32 slot = index < 0 ? index + size : index;
        return slot >= 0 && slot < size ? slot : -1;
    }
    // The old element is handed over, even with a count of 0.
    Node* swap(Node* array, i32 index, Node* child, i32* status) {
        *status = WIQ_ERR_INVALID_ARG;
        if (array == nullptr || array->tag != kArray || !may_take(array, child))
            return nullptr;
        const i32 slot = resolve(array, index);
        *status = slot < 0 ? WIQ_ERR_INDEX_OUT_OF_RANGE : 0;
        if (slot < 0)
            return nullptr;
        Node* old = array->elems[static_cast<size_t>(slot)];
        if (old == child) {
            ++child->count;
            return child;
        }
        hand_over(array, old);
        ++child->count;
        array->elems[static_cast<size_t>(slot)] = child;
        link_to_parent(array, child, index);
        return old;
    }
    i32 put_elem(Node* array, i32 index, Node* child) {
        i32 status = 0;
        Node* old = swap(array, index, child, &status);
        if (status == WIQ_ERR_INDEX_OUT_OF_RANGE && index == static_cast<i32>(array->elems.size()))
            return push(array, child);
        if (old == child && old != nullptr)
            --old->count;
        else if (old != nullptr)
            end_if_unowned(old);
        return status;
    }
    i32 pop(Node* array, i32 count) {
        if (array == nullptr || array->tag != kArray || count < 0 ||
            static_cast<size_t>(count) > array->elems.size())
            return WIQ_ERR_INVALID_ARG;
        for (; count > 0; --count) {
            Node* last = array->elems.back();
            array->elems.pop_back();
            release(array, last);
        }
        return 0;
    }
    Node* pop_elem(Node* array) {
        if (array == nullptr || array->tag != kArray || array->elems.empty())
            return nullptr;
        Node* last = array->elems.back();
        array->elems.pop_back();
        hand_over(array, last);
        return last;
    }
    // Returns the null that replaces an array element in `hole`.
    i32 orphan(Node* node, Node** hole) {
        if (node == nullptr)
            return WIQ_ERR_INVALID_ARG;
        Node* parent = node->parent;
        if (parent == nullptr)
            return 0;
        if (parent->tag == kObject) {
            parent->members.remove(node->key);
            hand_over(parent, node);
        } else if (parent->elems.back() == node) {
            pop_elem(parent);
        } else {
            i32 status = 0;
            const auto at = std::find(parent->elems.begin(), parent->elems.end(), node);
            *hole = make(kNull);
            swap(parent, static_cast<i32>(at - parent->elems.begin()), *hole, &status);
        }
        return 0;
    }
    i32 swap_child(Node* node, Node* other) {
        if (node == nullptr || other == nullptr)
            return WIQ_ERR_INVALID_ARG;
        Node* parent = node->parent;
        if (parent == nullptr)
            return 0;
        i32 status = 0;
        if (parent->tag == kArray) {
            const auto at = std::find(parent->elems.begin(), parent->elems.end(), node);
            swap(parent, static_cast<i32>(at - parent->elems.begin()), other, &status);
            return status;
        }
        ++node->count;
        status = put(parent, std::string(node->key), other);
        --node->count;
        return status;
    }
    // A filter orders kept elements by their recorded indexes, so those that were stored at a negative index
    // come first. Returns false if two have the same negative index: then their order is not specified.
    template <class Keep>
    bool can_filter(const Node* array, Keep keep) const {
        std::set<i32> negative;
        for (const Node* elem : array->elems) {
            if (keep(elem) && elem->index < 0 && !negative.insert(elem->index).second)
                return false;
        }
        return true;
    }
    template <class Keep>
    void filter(Node* array, Keep keep) {
        std::vector<Node*> kept;
        std::vector<Node*> gone;
        for (Node* elem : array->elems)
            (keep(elem) ? kept : gone).push_back(elem);
        if (gone.empty())
            return;
        std::stable_sort(kept.begin(), kept.end(),
                         [](const Node* a, const Node* b) { return a->index < b->index; });
        array->elems = kept;
        for (Node* elem : gone)
            release(array, elem);
        number(array);
    }
    template <class Less>
    void sort(Node* array, Less less) {
        std::sort(array->elems.begin(), array->elems.end(), less);
        number(array);
    }

    // Returns a deep copy; with `parsed`, as if its text had been parsed: integers are signed, and tables
    // grow from nothing.
    Node* copy(const Node* node, bool parsed = false) {
        Node* result =
            node->tag == kObject ? make_object(parsed ? 0 : node->members.size()) : make(node->tag);
        if (parsed && (node->tag == kU64 || node->tag == kU128))
            result->tag = kI64;
        result->number = node->number;
        result->text = node->text;
        for (const Member& member : node->members.all())
            put(result, member.key, copy(member.child, parsed));
        for (const Node* elem : node->elems)
            push(result, copy(elem, parsed));
        return result;
    }

  private:
    static bool may_take(const Node* container, const Node* child) {
        if (child == nullptr)
            return false;
        if (container->weak)
            return true;
        for (; container != nullptr; container = container->parent) {
            if (container == child)
                return false;
        }
        return child->parent == nullptr;
    }
    static void link_to_parent(Node* array, Node* child, i32 index) {
        if (!array->weak) {
            child->parent = array;
            child->index = index;
        }
    }
    static void number(Node* array) {
        for (size_t i = 0; i < array->elems.size(); ++i)
            link_to_parent(array, array->elems[i], static_cast<i32>(i));
    }
    static void hand_over(const Node* container, Node* child) {
        if (child->parent == container)
            child->parent = nullptr;
        --child->count;
    }
    void release(const Node* container, Node* child) {
        if (!container->weak)
            child->parent = nullptr;
        --child->count;
        end_if_unowned(child);
    }
    // A node without owners dies with its last reference; a parent keeps its child alive.
    void end_if_unowned(Node* node) {
        if (node->count > 0)
            return;
        if (node->parent != nullptr) {
            node->count = 1;
            return;
        }
        node->count = INT32_MAX;  // so that weak references from below cannot destroy it again
        node->dead = true;
        for (const Member& member : node->members.all())
            release(node, member.child);
        for (Node* elem : node->elems)
            release(node, elem);
    }

    std::vector<std::unique_ptr<Node>> nodes_;
};

// Returns the number of nodes that a walk from here visits, following weak references; at most `limit`.
inline size_t reach(const Node* node, size_t limit) {
    size_t count = 1;
    for (const Member& member : node->members.all()) {
        if (count >= limit)
            return limit;
        count += reach(member.child, limit - count);
    }
    for (const Node* elem : node->elems) {
        if (count >= limit)
            return limit;
        count += reach(elem, limit - count);
    }
    return count;
}

inline subset_model::Value value_of(const Node* node) {
    using subset_model::Value;
    if (node->tag >= kI64 && node->tag <= kDouble)
        return {Value::kNumber, "", node->number, {}, {}};
    if (!node->is_container())
        return {Value::kAtom, std::to_string(node->tag) + node->text, 0, {}, {}};
    Value value{node->tag == kArray ? Value::kArray : Value::kObject, "", 0, {}, {}};
    for (const Member& member : node->members.all())
        value.members[member.key] = value_of(member.child);
    for (const Node* elem : node->elems)
        value.elems.push_back(value_of(elem));
    return value;
}

}  // namespace model
