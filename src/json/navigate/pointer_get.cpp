// Reads by JSON pointer. References on the way are not followed.

#include <cstdlib>
#include <cstring>

#include "json/model/array.h"
#include "json/model/err.h"
#include "json/model/object.h"
#include "json/navigate/pointer_token.h"

namespace ke::json {

namespace {

// Goes one step from a node to a child. Returns the child, or nullptr with *status set.
wiq_json* step(wiq_json* node, const char* name, i32* status) {
    if (const ObjectNode* obj = to_object(node)) {
        wiq_json* child = find_child(obj, name);
        *status = child == nullptr ? static_cast<i32>(WIQ_ERR_KEY_NOT_FOUND) : 0;
        return child;
    }
    if (const ArrayNode* array = to_array(node)) {
        const WiqJsonPtrToken token = classify(name);
        if (token.kind == kStepIndex || token.kind == kStepAppend) {
            wiq_json* child =
                token.kind == kStepAppend ? nullptr : elem_at(array, static_cast<i32>(token.index));
            *status = child == nullptr ? static_cast<i32>(WIQ_ERR_INDEX_OUT_OF_RANGE) : 0;
            return child;
        }
    }
    *status = WIQ_ERR_WRONG_TYPE;
    return nullptr;
}

// Follows a pointer. On failure, *failed is the length of the pointer up to and including the
// segment that failed. A segment that cannot be decoded counts as one character more than
// read_segment() has stored; that may be more than the pointer has.
wiq_json* follow(wiq_json* node, const char* ptr, char* scratch, i32* status, size_t* failed) {
    size_t position = *ptr == '#' ? 1 : 0;
    for (;;) {
        const i64 count = read_segment(ptr + position, scratch);
        if (count == 0)
            return node;
        if (count < 0) {
            *status = static_cast<i32>(count);
            *failed = position + 1 + strlen(scratch);
            return nullptr;
        }
        position += static_cast<size_t>(count);
        node = step(node, scratch, status);
        if (node == nullptr) {
            *failed = position;
            return nullptr;
        }
    }
}

// Returns the first `length` bytes of a pointer, or all of it if it is shorter, as a new string.
char* copy_prefix(const char* ptr, size_t length) {
    length = strnlen(ptr, length);
    char* prefix = static_cast<char*>(malloc(length + 1));
    if (prefix != nullptr) {
        memcpy(prefix, ptr, length);
        prefix[length] = '\0';
    }
    return prefix;
}

}  // namespace

}  // namespace ke::json

wiq_json_t* wiq_json_ptr_get(wiq_json_t* root, const char* ptr, u32* err, char** fail_prefix) {
    using namespace ke::json;
    if (has_failed(err))
        return nullptr;
    if (root == nullptr || ptr == nullptr) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    if (*ptr == '\0')
        return root;
    PointerScratch scratch(strlen(ptr) + 1);
    if (scratch.get() == nullptr) {
        report(err, WIQ_ERR_NO_MEMORY);
        return nullptr;
    }
    i32 status = 0;
    size_t failed = 0;
    wiq_json_t* node = follow(root, ptr, scratch.get(), &status, &failed);
    if (status != 0 && fail_prefix != nullptr) {
        char* prefix = copy_prefix(ptr, failed);
        if (prefix != nullptr)
            *fail_prefix = prefix;
        else
            status = WIQ_ERR_NO_MEMORY;
    }
    report(err, status);
    return node;
}
