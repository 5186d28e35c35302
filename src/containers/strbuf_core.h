// Room in a string buffer for producers that write their text straight into it.
#pragma once

#include "ke_utils/containers.h"
#include "ke_utils/core.h"

namespace ke {

// Makes the block at least `needed` bytes, at least doubling it: 0, or -5000 with nothing changed.
i32 strbuf_grow(wiq_strbuf* buf, u64 needed);

// Makes room for n more bytes, the terminating NUL counted by the caller.
inline i32 strbuf_reserve(wiq_strbuf* buf, u64 n) {
    if (n > UINT64_MAX - buf->len)
        return WIQ_ERR_NO_MEMORY;
    const u64 needed = buf->len + n;
    return needed <= buf->capacity ? 0 : strbuf_grow(buf, needed);
}

}  // namespace ke
