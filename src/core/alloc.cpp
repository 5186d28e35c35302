// Allocation functions that call their caller's hooks, and the plain ones below them. A hook sees, and
// may change, the working values of a call through their addresses; so every step works on copies that
// the next step reads again.

#include <bit>
#include <cstdlib>
#include <cstring>

#include "ke_utils/core.h"
#include "os/os.h"

namespace {

// What wiq_wrap_malloc() and wiq_wrap_strdup() have in common.
void* hooked_malloc(size_t size, bool zero, wiq_alloc_fail_fn fail, wiq_malloc_pre_fn pre,
                    wiq_malloc_post_fn post) {
    void* result = nullptr;
    if (pre != nullptr)
        pre(&size);
    if (size != 0)
        result = zero ? calloc(size, 1) : malloc(size);
    if (post != nullptr)
        post(&result, &size);
    if (result == nullptr && size != 0 && fail != nullptr)
        fail(size);
    return result;
}

// Whether the runtimes can be asked for an aligned block: each has its own answer to an alignment that is no
// power of two, and to a size that wraps when the room for aligning it is added.
bool is_possible(size_t size, size_t alignment) {
    constexpr size_t kRuntimeRecord = 64;  // more than any runtime keeps beside a block
    return std::has_single_bit(alignment) && alignment <= SIZE_MAX / 2 &&
           size <= SIZE_MAX - alignment - kRuntimeRecord;
}

}  // namespace

void* wiq_wrap_malloc(size_t size, bool zero, wiq_alloc_fail_fn fail, wiq_malloc_pre_fn pre,
                      wiq_malloc_post_fn post) {
    return hooked_malloc(size, zero, fail, pre, post);
}

char* wiq_wrap_strdup(const char* str, wiq_alloc_fail_fn fail, wiq_malloc_pre_fn pre,
                      wiq_malloc_post_fn post) {
    if (str == nullptr)
        return nullptr;
    // Hooks adjust accounting, not the copy: it has the length measured before they ran.
    const size_t size = strlen(str) + 1;
    void* copy = hooked_malloc(size, false, fail, pre, post);
    return copy == nullptr ? nullptr : static_cast<char*>(memcpy(copy, str, size));
}

void* wiq_wrap_realloc(void* ptr, size_t size, wiq_alloc_fail_fn fail, wiq_realloc_pre_fn pre,
                       wiq_realloc_post_fn post) {
    if (pre != nullptr)
        pre(&ptr, &size);
    void* result = nullptr;
    if (size != 0) {
        result = realloc(ptr, size);
    } else {
        // What the runtimes do with a size of 0, said plainly: the block goes, nothing comes.
        free(ptr);
    }
    if (post != nullptr)
        post(&result, &size);
    if (result == nullptr && fail != nullptr)
        fail(size);
    return result;
}

void wiq_wrap_free(void* ptr, wiq_free_fn hook) {
    if (hook != nullptr)
        hook(&ptr);
    free(ptr);
}

i32 wiq_wrap_aligned_alloc(void** out, size_t size, size_t alignment, wiq_alloc_fail_fn fail,
                           wiq_aligned_alloc_fn pre, wiq_aligned_alloc_fn post) {
    if (pre != nullptr)
        pre(&out, &size, &alignment);
    i32 status = 0;
    if (size != 0 || out != nullptr)
        status = wiq_real_aligned_alloc(out, size, alignment);
    if (post != nullptr)
        post(&out, &size, &alignment);
    if ((out == nullptr || status != 0) && fail != nullptr)
        fail(size);
    return status;
}

void wiq_wrap_aligned_free(void* ptr, wiq_free_fn hook) {
    // A hook may keep the block from being released, but cannot have another one released in its place.
    void* seen = ptr;
    if (hook != nullptr)
        hook(&seen);
    if (seen != nullptr)
        wiq_real_aligned_free(ptr);
}

void* wiq_real_malloc0(size_t size) {
    return calloc(1, size);
}

i32 wiq_real_aligned_alloc(void** out, size_t size, size_t alignment) {
    if (out == nullptr)
        return WIQ_ERR_INVALID_ARG;
    // An alignment of 0 asks for nothing beyond what every block of its kind has.
    const size_t multiple = alignment == 0 ? alignof(void*) : alignment;
    *out = is_possible(size, multiple) ? ke::os::aligned_alloc(size, multiple) : nullptr;
    return *out == nullptr ? WIQ_ERR_NO_MEMORY : 0;
}

void wiq_real_aligned_free(void* ptr) {
    ke::os::aligned_free(ptr);
}
