// The count of owners in the public records. The records are plain C, so the count is a plain
// number there; only these functions change it, atomically.
#pragma once

#include <atomic>

#include "ke_utils/types.h"

namespace ke {

inline void add_owner(i32* count) {
    std::atomic_ref(*count).fetch_add(1, std::memory_order_relaxed);
}

// Returns whether this was the last owner, in which case the caller releases the object. The memory
// order makes every change by the other owners visible to the one that releases.
inline bool remove_owner(i32* count) {
    return std::atomic_ref(*count).fetch_sub(1, std::memory_order_acq_rel) == 1;
}

// Called before an object is released. From now on the count is far from 0, so callbacks of the
// release may take references and release them without releasing the object a second time.
inline void mark_dying(i32* count) {
    std::atomic_ref(*count).store(1 << 30, std::memory_order_relaxed);
}

}  // namespace ke
