// The limit of functions that return the length of a text as an i32: they refuse a text that is too
// long for that. Each has an inner form, declared with its source, to which the limit is an
// argument, so that tests reach it with short texts.
#pragma once

#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "ke_utils/json.h"

namespace ke::json {

constexpr u64 kMaxTextLength = INT32_MAX;

// Moves the buffer's text to *out and returns its length. Returns WIQ_ERR_RANGE or
// WIQ_ERR_NO_MEMORY if that fails; *out is then unchanged and the text still belongs to the buffer.
inline i32 take_text(wiq_strbuf* buf, char** out, u64 max_length) {
    if (buf->len > max_length)
        return WIQ_ERR_RANGE;
    const i32 length = static_cast<i32>(buf->len);
    char* text = wiq_strbuf_release(buf);
    if (text == nullptr)
        return WIQ_ERR_NO_MEMORY;
    *out = text;
    return length;
}

}  // namespace ke::json
