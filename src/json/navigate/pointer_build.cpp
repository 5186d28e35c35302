// Builds the JSON pointer of a node from its parent links. The text is measured first and then
// written from its end towards the root, with one reservation and no recursion.

#include "json/navigate/pointer_build.h"

#include <cstring>

#include "containers/strbuf.h"
#include "json/model/node.h"
#include "json/model/text_limits.h"
#include "text/decimal.h"

namespace ke::json {

namespace {

size_t escaped_length(const char* key) {
    size_t length = 0;
    for (; *key != '\0'; ++key)
        length += *key == '/' || *key == '~' ? 2 : 1;
    return length;
}

// Writes an index as a signed number, like those that the array functions take, and returns its
// length. The room must have kMaxDecimalDigits64 bytes, all of which may be overwritten.
size_t write_index(char* out, u32 index) {
    return static_cast<size_t>(write_i64(out, static_cast<i32>(index)) - out);
}

// Returns the length of a node's own segment, including its "/", or 0 if its parent is not a
// container.
size_t step_length(const wiq_json* node) {
    if (wiq_json_is_obj(node->parent))
        return 1 + escaped_length(node->position.key);
    char digits[kMaxDecimalDigits64];
    return wiq_json_is_array(node->parent) ? 1 + write_index(digits, node->position.index) : 0;
}

// Writes a node's own segment so that it ends at `end`. Returns its start.
char* write_step(const wiq_json* node, char* end) {
    char* start = end - step_length(node);
    char* out = start;
    *out++ = '/';
    if (wiq_json_is_array(node->parent)) {
        char digits[kMaxDecimalDigits64];
        const size_t length = write_index(digits, node->position.index);
        memcpy(out, digits, length);
        return start;
    }
    for (const char* key = node->position.key; *key != '\0'; ++key) {
        if (*key == '/' || *key == '~') {
            *out++ = '~';
            *out++ = *key == '/' ? '1' : '0';
        } else {
            *out++ = *key;
        }
    }
    return start;
}

// Appends the pointer of a node and leaves room for `extra` more bytes after it. Returns 0,
// WIQ_ERR_WRONG_TYPE or WIQ_ERR_NO_MEMORY, with the buffer's text unchanged on failure.
i32 append_pointer(const wiq_json* node, wiq_strbuf* buf, size_t extra) {
    size_t length = 0;
    for (const wiq_json* at = node; at->parent != nullptr; at = at->parent) {
        const size_t step = step_length(at);
        if (step == 0)
            return WIQ_ERR_WRONG_TYPE;
        length += step;
    }
    const i32 status = strbuf_reserve(buf, length + extra + 1);
    if (status != 0)
        return status;
    char* end = buf->data + buf->len + length;
    *end = '\0';
    buf->len += length;
    for (const wiq_json* at = node; at->parent != nullptr; at = at->parent)
        end = write_step(at, end);
    return 0;
}

}  // namespace

i32 pointer_within(const wiq_json_t* node, char** out, u64 max_length) {
    if (node == nullptr || out == nullptr)
        return WIQ_ERR_INVALID_ARG;
    wiq_strbuf buf;
    i32 status = wiq_strbuf_init(&buf, 64);
    if (status == 0)
        status = append_pointer(node, &buf, 0);
    if (status == 0)
        status = take_text(&buf, out, max_length);
    wiq_strbuf_finalize(&buf);
    return status;
}

}  // namespace ke::json

i32 wiq_json_ptr(const wiq_json_t* node, char** out) {
    return ke::json::pointer_within(node, out, ke::json::kMaxTextLength);
}

i32 wiq_json_ptr_ext(const wiq_json_t* node, wiq_strbuf* buf) {
    if (node == nullptr || buf == nullptr)
        return WIQ_ERR_INVALID_ARG;
    return ke::json::append_pointer(node, buf, 0);
}

i32 wiq_json_ptr_build_obj_ext(const wiq_json_t* obj, const char* key, wiq_strbuf* buf) {
    if (!wiq_json_is_obj(obj) || key == nullptr || buf == nullptr)
        return WIQ_ERR_INVALID_ARG;
    // The key may lie in the buffer itself, whose block may move.
    const ke::BufferArg arg(buf, key);
    const size_t length = strlen(key);
    const i32 status = ke::json::append_pointer(obj, buf, length + 1);
    if (status != 0)
        return status;
    // These cannot fail: append_pointer() has made the room.
    wiq_strbuf_putc(buf, '/');
    wiq_strbuf_write(buf, arg.now(buf), length);
    return 0;
}

i32 wiq_json_ptr_build_array_ext(const wiq_json_t* array, wiq_strbuf* buf) {
    if (!wiq_json_is_array(array) || buf == nullptr)
        return WIQ_ERR_INVALID_ARG;
    char step[1 + ke::kMaxDecimalDigits64];
    step[0] = '/';
    const char* end = ke::write_i64(step + 1, wiq_json_array_size(array));
    const size_t length = static_cast<size_t>(end - step);
    const i32 status = ke::json::append_pointer(array, buf, length);
    if (status == 0)
        wiq_strbuf_write(buf, step, length);
    return status;
}
