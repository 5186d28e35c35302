// Decodes and classifies the segments of JSON pointers, and provides their scratch memory. See
// pointer_token.h.

#include "json/navigate/pointer_token.h"

#include <cstdlib>

#include "ke_utils/core.h"
#include "ke_utils/text.h"

namespace ke::json {

i64 read_segment(const char* text, char* out) {
    *out = '\0';
    if (*text == '\0')
        return 0;
    if (*text != '/') {
        out[0] = *text;
        out[1] = '\0';
        return WIQ_ERR_PTR_SYNTAX;
    }
    const char* p = text + 1;
    i32 status = 0;
    while (status == 0 && *p != '\0' && *p != '/') {
        const char c = *p++;
        if (c != '~') {
            *out++ = c;
        } else if (*p == '0' || *p == '1') {
            *out++ = *p++ == '0' ? '~' : '/';
        } else {
            *out++ = c;
            if (*p != '\0')
                *out++ = *p;
            status = WIQ_ERR_PTR_BAD_ESCAPE;
        }
    }
    *out = '\0';
    return status != 0 ? status : p - text;
}

WiqJsonPtrToken classify(const char* name) {
    if (name == nullptr || *name == '\0')
        return {kStepNone, 0, name};
    if (name[0] == '-' && name[1] == '\0')
        return {kStepAppend, 0, name};
    u64 number = 0;
    if (wiq_strtouint64(name, &number) == 0)
        return {kStepIndex, static_cast<u32>(number), name};
    return {kStepName, 0, name};
}

PointerScratch::PointerScratch(size_t size)
    : bytes_(size <= sizeof(inline_) ? inline_ : static_cast<char*>(malloc(size))) {}

PointerScratch::~PointerScratch() {
    if (bytes_ != inline_)
        free(bytes_);
}

}  // namespace ke::json
