// Space in a string buffer for code that writes its text straight into it, and arguments that may
// themselves lie in the buffer.
#pragma once

#include <cstdint>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"

namespace ke {

// Makes the block at least `needed` bytes large, and at least twice as large as it is. Returns 0,
// or WIQ_ERR_NO_MEMORY with nothing changed.
i32 strbuf_grow(wiq_strbuf* buf, u64 needed);

// Makes room for `n` more bytes, which include the terminating NUL. Returns 0, or WIQ_ERR_NO_MEMORY
// with nothing changed.
inline i32 strbuf_reserve(wiq_strbuf* buf, u64 n) {
    if (n > UINT64_MAX - buf->len)
        return WIQ_ERR_NO_MEMORY;
    const u64 needed = buf->len + n;
    return needed <= buf->capacity ? 0 : strbuf_grow(buf, needed);
}

// An argument of a function that may move the buffer's block. If the argument lies in the block,
// now() finds it again at the same offset in the new block.
class BufferArg {
  public:
    BufferArg(const wiq_strbuf* buf, const void* arg)
        : arg_(static_cast<const char*>(arg)),
          offset_(reinterpret_cast<uintptr_t>(arg) - reinterpret_cast<uintptr_t>(buf->data)),
          inside_(buf->data != nullptr && offset_ < buf->capacity) {}

    bool inside() const { return inside_; }
    // Its offset in the block, if it is inside.
    u64 offset() const { return offset_; }
    const char* now(const wiq_strbuf* buf) const { return inside_ ? buf->data + offset_ : arg_; }

  private:
    const char* arg_;
    uintptr_t offset_;
    bool inside_;
};

}  // namespace ke
