// The segments of a JSON pointer (RFC 6901), and what each of them may name. Reading and writing by
// pointer share this.
#pragma once

#include "ke_utils/types.h"

namespace ke::json {

enum WiqJsonPtrTokenKind : u32 {
    kStepNone = 0,    // the end of the pointer, or an empty segment
    kStepIndex = 1,   // reads as an unsigned number
    kStepName = 2,    // anything else
    kStepAppend = 3,  // "-", the position after an array's last element
};

struct WiqJsonPtrToken {
    u32 kind;
    u32 index;         // of kStepIndex: the low 32 bits of the number
    const char* name;  // the decoded text; nullptr before the first segment
};

// Decodes the segment at `text` into `out` and terminates it. `out` must have room for as many
// bytes as `text` has, including its NUL. Returns the number of characters that the segment has in
// `text`, including its "/", or 0 at the end of the pointer. Returns WIQ_ERR_PTR_SYNTAX if there is
// no "/"; `out` then holds the first character. Returns WIQ_ERR_PTR_BAD_ESCAPE for a "~" that is
// not followed by "0" or "1"; `out` then holds the segment up to and including the character after
// the "~".
i64 read_segment(const char* text, char* out);

// Returns what a decoded segment may name.
WiqJsonPtrToken classify(const char* name);

// Scratch memory for one pointer text: inside this object for ordinary pointers, from malloc() for
// long ones.
class PointerScratch {
  public:
    explicit PointerScratch(size_t size);
    PointerScratch(const PointerScratch&) = delete;
    PointerScratch& operator=(const PointerScratch&) = delete;
    ~PointerScratch();
    // Returns nullptr when out of memory.
    char* get() { return bytes_; }

  private:
    char inline_[256];
    char* bytes_;
};

}  // namespace ke::json
