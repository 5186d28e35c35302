// Makes one allocation fail, or all from some point on, and counts the blocks that are in use. The linker redirects
// the library's calls (see CMakeLists.txt); allocations within the C and C++ libraries are not affected.
#pragma once

#include "script.h"

namespace starved {

inline long g_blocks;  // in use
inline bool g_armed;
inline int g_left;    // allocations that succeed before one fails
inline bool g_all;    // all later ones fail, too
inline bool g_fired;  // one has failed
inline bool g_no_locks;

inline bool fails() {
    if (!g_armed)
        return false;
    --g_left;
    const bool failing = g_all ? g_left < 0 : g_left == -1;
    g_fired = g_fired || failing;
    return failing;
}
inline void* counted(void* block) {
    g_blocks += block != nullptr;
    return block;
}

// Prepares for the calls of one operation. `op.a` is the number of the allocation that fails; 0 means none.
inline void begin(const Op& op) {
    g_left = op.a == 0 ? INT32_MAX : op.a - 1;
    g_all = op.b % 2 != 0;
    g_no_locks = op.b % 8 / 4 != 0;
    g_fired = false;
}

// Makes a call whose allocations may fail.
template <class Call>
auto starving(Call call) {
    g_armed = true;
    const auto result = call();
    g_armed = false;
    return result;
}

// Returns whether a call that can fail only for lack of memory has failed.
inline bool is_starved(i32 status) {
    CHECK(status >= 0 || (status == WIQ_ERR_NO_MEMORY && g_fired));
    return status < 0;
}

}  // namespace starved

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);
}
