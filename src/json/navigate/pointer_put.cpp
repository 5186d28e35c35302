// Writes by JSON pointer. Containers that are missing on the way are made. An empty segment ends
// the pointer, and what follows it is ignored. The segment before it has been followed by then, and
// also says where to store the value: "/a//b" stores it under "a" in the container at "/a".

#include <cstring>

#include "json/model/array.h"
#include "json/model/err.h"
#include "json/model/object.h"
#include "json/navigate/pointer_token.h"

namespace ke::json {

namespace {

bool names_element(const WiqJsonPtrToken& token) {
    return token.kind == kStepIndex || token.kind == kStepAppend;
}

// Stores a node in a container under the key or at the index that a token names. Returns 0, the
// failure of storing it, or WIQ_ERR_WRONG_TYPE if the token names neither in this container.
i32 store(wiq_json* container, const WiqJsonPtrToken& token, wiq_json* node) {
    if (wiq_json_is_obj(container))
        return wiq_json_obj_put_ext(container, token.name, node, nullptr);
    if (wiq_json_is_array(container) && token.kind == kStepIndex)
        return wiq_json_array_put(container, static_cast<i32>(token.index), node);
    if (wiq_json_is_array(container) && token.kind == kStepAppend)
        return wiq_json_array_push_ext(container, node, nullptr);
    return WIQ_ERR_WRONG_TYPE;
}

// Returns the child that a token names in a container; nullptr if it has yet to be made.
wiq_json* existing_child(const wiq_json* container, const WiqJsonPtrToken& token) {
    if (const ObjectNode* obj = to_object(container))
        return find_child(obj, token.name);
    if (token.kind != kStepIndex)
        return nullptr;
    return elem_at(as<ArrayNode>(container), static_cast<i32>(token.index));
}

class PointerWriter {
  public:
    PointerWriter(wiq_json* root, char* scratch) : container_(root), scratch_(scratch) {}

    i32 put(const char* ptr, wiq_json* value) {
        size_t position = 0;
        do {
            // Each segment is decoded at its own position in the scratch memory, so that the name
            // of the one before it, in previous_, stays valid.
            const i64 count = read_segment(ptr + position, scratch_ + position);
            if (count < 0)
                return static_cast<i32>(count);
            previous_ = next_;
            next_ = classify(scratch_ + position);
            position += static_cast<size_t>(count);
            if (count != 0 && previous_.kind != kStepNone) {
                const i32 status = step();
                if (status != 0)
                    return status;
            }
        } while (next_.kind != kStepNone);
        return store(container_, previous_, value);
    }

  private:
    // Moves to the container that the previous token names, which is made if it does not exist.
    i32 step() {
        const bool element = wiq_json_is_array(container_) && names_element(previous_);
        if (!element && !wiq_json_is_obj(container_))
            return WIQ_ERR_WRONG_TYPE;
        // Once a container has been made here, it and all that follow are empty, so nothing is
        // looked up.
        wiq_json* child = created_ ? nullptr : existing_child(container_, previous_);
        if (child == nullptr) {
            u32 err = 0;
            child = names_element(next_) ? wiq_json_array_new(1, &err) : wiq_json_obj_new(1, &err);
            if (child == nullptr)
                return static_cast<i32>(err);
            created_ = true;
            const i32 status = store(container_, previous_, child);
            if (status != 0) {
                wiq_json_unref(child);
                return status;
            }
        }
        container_ = child;
        return 0;
    }

    wiq_json* container_;
    char* scratch_;
    WiqJsonPtrToken previous_ = {};
    WiqJsonPtrToken next_ = {};
    bool created_ = false;
};

// What the typed functions share: stores the value that `make` makes, or releases it if it cannot
// be stored. `make` gets a pointer to the status of making it.
template <class Make>
wiq_json_t* put_new(wiq_json_t* root, const char* ptr, u32* err, Make make) {
    u32 made = 0;
    wiq_json_t* value = make(&made);
    i32 status = static_cast<i32>(made);
    if (value != nullptr) {
        status = wiq_json_ptr_put(root, ptr, value);
        if (status != 0) {
            wiq_json_unref(value);
            value = nullptr;
        }
    }
    report(err, status);
    return value;
}

}  // namespace

}  // namespace ke::json

using ke::json::put_new;

i32 wiq_json_ptr_put(wiq_json_t* root, const char* ptr, wiq_json_t* value) {
    if (root == nullptr || ptr == nullptr || value == nullptr || *ptr == '\0')
        return WIQ_ERR_INVALID_ARG;
    ke::json::PointerScratch scratch(strlen(ptr) + 1);
    if (scratch.get() == nullptr)
        return WIQ_ERR_NO_MEMORY;
    return ke::json::PointerWriter(root, scratch.get()).put(ptr, value);
}

wiq_json_t* wiq_json_ptr_put_obj(wiq_json_t* root, const char* ptr, u32* err) {
    return put_new(root, ptr, err, [](u32* made) { return wiq_json_obj_new(0, made); });
}

wiq_json_t* wiq_json_ptr_put_array(wiq_json_t* root, const char* ptr, u32* err) {
    return put_new(root, ptr, err, [](u32* made) { return wiq_json_array_new(0, made); });
}

wiq_json_t* wiq_json_ptr_put_bool(wiq_json_t* root, const char* ptr, bool boolean, u32* err) {
    return put_new(root, ptr, err,
                   [boolean](u32* made) { return wiq_json_bool_new(boolean, made); });
}

wiq_json_t* wiq_json_ptr_put_double(wiq_json_t* root, const char* ptr, double number, u32* err) {
    return put_new(root, ptr, err,
                   [number](u32* made) { return wiq_json_double_new(number, made); });
}

wiq_json_t* wiq_json_ptr_put_i64(wiq_json_t* root, const char* ptr, i64 number, u32* err) {
    return put_new(root, ptr, err, [number](u32* made) { return wiq_json_i64_new(number, made); });
}

wiq_json_t* wiq_json_ptr_put_u64(wiq_json_t* root, const char* ptr, u64 number, u32* err) {
    return put_new(root, ptr, err, [number](u32* made) { return wiq_json_u64_new(number, made); });
}

wiq_json_t* wiq_json_ptr_put_u128(wiq_json_t* root, const char* ptr, const wiq_uint128* number,
                                  u32* err) {
    return put_new(root, ptr, err, [number](u32* made) { return wiq_json_u128_new(number, made); });
}

wiq_json_t* wiq_json_ptr_put_str(wiq_json_t* root, const char* ptr, const char* text, u32* err) {
    return put_new(root, ptr, err, [text](u32* made) { return wiq_json_str_new(text, made); });
}

wiq_json_t* wiq_json_ptr_put_jref(wiq_json_t* root, const char* ptr, const char* uri, u32* err) {
    return put_new(root, ptr, err, [uri](u32* made) { return wiq_json_jref_new(uri, made); });
}
