// The count of owners that public records of every family begin or end with: a plain number there, changed
// only by these.
#pragma once

#include <atomic>

#include "ke_utils/types.h"

namespace ke {

inline void add_owner(i32* count) {
    std::atomic_ref(*count).fetch_add(1, std::memory_order_relaxed);
}

// Whether this was the last owner: what it owned is to be released.
inline bool remove_owner(i32* count) {
    return std::atomic_ref(*count).fetch_sub(1, std::memory_order_acq_rel) == 1;
}

// Called before a thing is released. The count is far from 0 from now on, so that callbacks of the release
// may take references and give them up without releasing the thing once more.
inline void mark_dying(i32* count) {
    std::atomic_ref(*count).store(1 << 30, std::memory_order_relaxed);
}

}  // namespace ke
