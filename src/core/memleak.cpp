// The hook slots, and the leak tracker that can be put into them. Slots and counters are plain data
// on purpose: the slots are set before other threads allocate, and counts taken across threads are
// documented as approximate.

#include "core/exports.h"
#include "ke_utils/core.h"

KE_SLOT wiq_malloc_pre_fn wiq_malloc_pre_cb = nullptr;
KE_SLOT wiq_malloc_post_fn wiq_malloc_post_cb = nullptr;
KE_SLOT wiq_realloc_pre_fn wiq_realloc_pre_cb = nullptr;
KE_SLOT wiq_realloc_post_fn wiq_realloc_post_cb = nullptr;
KE_SLOT wiq_aligned_alloc_fn wiq_aligned_alloc_pre_cb = nullptr;
KE_SLOT wiq_aligned_alloc_fn wiq_aligned_alloc_post_cb = nullptr;
KE_SLOT wiq_free_fn wiq_free_cb = nullptr;
KE_SLOT wiq_free_fn wiq_aligned_free_cb = nullptr;
KE_SLOT wiq_track_fn wiq_alloc_track_pause_cb = nullptr;
KE_SLOT wiq_track_fn wiq_alloc_track_resume_cb = nullptr;

namespace {

i32 balance = 0;      // counted allocations minus counted releases
i32 count = 0;        // counted allocations
i32 pause_depth = 0;  // nothing is counted while this is nonzero

void count_alloc(const void* block) {
    if (block != nullptr && pause_depth == 0) {
        ++balance;
        ++count;
    }
}

void count_free(const void* block) {
    if (block != nullptr && pause_depth == 0)
        --balance;
}

void on_malloc(void** result, size_t*) {
    count_alloc(*result);
}

// A reallocation counts as the end of the old block and the start of a new one. If it fails, the
// old block still exists, although its end has been counted; the balance is then one too low, as
// documented.
void before_realloc(void** ptr, size_t*) {
    count_free(*ptr);
}

void after_realloc(void** result, size_t*) {
    count_alloc(*result);
}

// Reads through `out`, so a client must not pass a NULL `out` while the tracker is in the slots.
void on_aligned_alloc(void*** out, size_t*, size_t*) {
    count_alloc(**out);
}

void on_free(void** ptr) {
    count_free(*ptr);
}

void pause() {
    ++pause_depth;
}

void resume() {
    --pause_depth;
}

}  // namespace

void wiq_memleak_begin(void) {
    balance = 0;
    count = 0;
    pause_depth = 0;
    wiq_malloc_post_cb = on_malloc;
    wiq_realloc_pre_cb = before_realloc;
    wiq_realloc_post_cb = after_realloc;
    wiq_aligned_alloc_post_cb = on_aligned_alloc;
    wiq_free_cb = on_free;
    wiq_aligned_free_cb = on_free;
    wiq_alloc_track_pause_cb = pause;
    wiq_alloc_track_resume_cb = resume;
}

i32 wiq_memleak_balance(void) {
    return balance;
}

i32 wiq_memleak_count(void) {
    return count;
}
