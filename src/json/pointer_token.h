// The segments of a JSON pointer (RFC 6901) and what each may name.
#pragma once

#include "ke_utils/types.h"

namespace ke::json {

enum WiqJsonPtrTokenKind : u32 {
    WIQ_JSON_PTR_TOK_NONE = 0,    // the end of the pointer, or an empty segment
    WIQ_JSON_PTR_TOK_INDEX = 1,   // reads as an unsigned number
    WIQ_JSON_PTR_TOK_NAME = 2,    // anything else
    WIQ_JSON_PTR_TOK_APPEND = 3,  // "-", the place after an array's last element
};

struct WiqJsonPtrToken {
    u32 kind;
    u32 index;         // of kind 1: the low 32 bits of the number
    const char* name;  // the decoded text; nullptr before the first segment
};

// Decodes the segment at `text` into `out`, which has room for as many bytes as `text` has with its NUL,
// and terminates it. The number of characters of the segment with its leading "/", 0 at the end of the
// pointer, -7019 without a "/", -1039 on a "~" that escapes nothing (what was decoded is in `out`).
i64 read_segment(const char* text, char* out);

// What a decoded segment is.
WiqJsonPtrToken classify(const char* name);

// Scratch memory for one pointer text: in place for ordinary ones, from malloc for long ones.
class PointerScratch {
  public:
    explicit PointerScratch(size_t size);
    PointerScratch(const PointerScratch&) = delete;
    PointerScratch& operator=(const PointerScratch&) = delete;
    ~PointerScratch();
    // nullptr without memory.
    char* get() { return bytes_; }

  private:
    char inline_[256];
    char* bytes_;
};

}  // namespace ke::json
