// Where the parser keeps the children of containers that are still open. A table that grows with every
// child would be allocated again and again; here all of them stand in one stretch of memory, the innermost
// container's at its end, where it can grow in place. A container that closes gets a block of just its
// size.
//
// While a container is open its node points into the stretch: it can be looked up in as usual, but it is
// not to be changed or released by anyone else.
#pragma once

#include <cstdlib>
#include <cstring>

#include "json/node.h"

namespace ke::json {

class OpenTables {
  public:
    OpenTables() = default;
    OpenTables(const OpenTables&) = delete;
    OpenTables& operator=(const OpenTables&) = delete;
    ~OpenTables() {
        if (base_ != inline_)
            free(base_);
    }

    // Appends an element to the innermost open container: 0, or -5000 with nothing changed.
    i32 append(ArrayNode* array, wiq_json* child) {
        Elements& elems = array->elems;
        if (elems.size == INT32_MAX || !has_room(1, array))
            return WIQ_ERR_NO_MEMORY;
        if (elems.size == 0)
            elems.data = reinterpret_cast<wiq_json**>(top_);
        *top_++ = child;
        ++elems.size;
        return 0;
    }

    // put_member() for the innermost open container.
    i32 put(ObjectNode* obj, Member* member, Member** old) {
        Innermost storage{*this, obj};
        return put_member(storage, &obj->members, member, old);
    }

    // Moves the table into a block of its own; the container is closed then.
    i32 close(ArrayNode* array) {
        Elements& elems = array->elems;
        if (elems.size == 0)
            return 0;
        void* block = move_out(elems.data, static_cast<size_t>(elems.size));
        if (block == nullptr)
            return WIQ_ERR_NO_MEMORY;
        elems.data = static_cast<wiq_json**>(block);
        elems.capacity = elems.size;
        return 0;
    }
    i32 close(ObjectNode* obj) {
        Members& members = obj->members;
        if (members.buckets == nullptr)
            return 0;
        void* block = move_out(members.buckets, size_t{members.mask} + 1);
        if (block == nullptr)
            return WIQ_ERR_NO_MEMORY;
        members.buckets = static_cast<Member**>(block);
        return 0;
    }

    // Releases the container's children; it is closed and empty then.
    void abandon(wiq_json* container) {
        release_children(container);
        if (container->type == kJsonArray) {
            as<ArrayNode>(container)->elems = {};
        } else {
            auto* obj = as<ObjectNode>(container);
            if (obj->members.buckets != nullptr)
                top_ = reinterpret_cast<void**>(obj->members.buckets);
            obj->members = {};
        }
    }

  private:
    static constexpr size_t kInline = 1024;

    struct Innermost {
        OpenTables& tables;
        ObjectNode* obj;

        bool begin(Members* members) {
            if (!tables.has_room(2, obj))
                return false;
            *members = {reinterpret_cast<Member**>(tables.top_), 1, 0};
            *tables.top_++ = nullptr;
            *tables.top_++ = nullptr;
            return true;
        }
        bool extend(Members* members) {
            const size_t count = size_t{members->mask} + 1;
            if (!tables.has_room(count, obj))
                return false;
            tables.top_ += count;
            return true;
        }
    };

    bool has_room(size_t count, wiq_json* innermost) {
        return static_cast<size_t>(end_ - top_) >= count || grow(innermost);
    }

    void* move_out(void* table, size_t count) {
        void* block = malloc(count * sizeof(void*));
        if (block != nullptr) {
            memcpy(block, table, count * sizeof(void*));
            top_ = static_cast<void**>(table);
        }
        return block;
    }

    // Doubles the stretch, which moves with the tables of all open containers.
    bool grow(wiq_json* innermost);

    void* inline_[kInline];
    void** base_ = inline_;
    void** top_ = inline_;
    void** end_ = inline_ + kInline;
};

}  // namespace ke::json
