// Functions that answer with the length of a text, an i32, refuse one that is longer than that can tell. Here
// the limit is an argument, so that tests reach it with short texts.
#pragma once

#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "ke_utils/json.h"

namespace ke::json {

constexpr u64 kLongestText = INT32_MAX;

// As the exported functions, but -7001 with nothing changed where the text is longer than `longest` bytes.
i32 sdump_within(wiq_json_t* node, char** out, u32 flags, u64 longest);
i32 escape_within(const char* text, wiq_strbuf* buf, u64 longest);
i32 pointer_within(const wiq_json_t* node, char** out, u64 longest);

// Hands the text over as *out: its length; -7001 or -5000, *out unchanged and the text still the buffer's.
inline i32 take_text(wiq_strbuf* buf, char** out, u64 longest) {
    if (buf->len > longest)
        return WIQ_ERR_RANGE;
    const i32 length = static_cast<i32>(buf->len);
    char* text = wiq_strbuf_release(buf);
    if (text == nullptr)
        return WIQ_ERR_NO_MEMORY;
    *out = text;
    return length;
}

}  // namespace ke::json
