// Allocation functions that call the hooks of their caller, and the plain functions below them. A
// hook receives the addresses of a call's variables and may change the variables, so each function
// works on copies of its arguments, and reads them again after every hook.

#include <bit>
#include <cstdlib>
#include <cstring>

#include "ke_utils/core.h"
#include "os/os.h"

namespace {

// The part that wiq_wrap_malloc() and wiq_wrap_strdup() share.
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

// Whether a runtime may be asked for this block. The runtimes disagree about an alignment that is
// not a power of two, and about a size that wraps when the space for the alignment is added, so
// such blocks are refused here.
bool is_possible(size_t size, size_t alignment) {
    constexpr size_t kRuntimeRecord = 64;  // more than any runtime stores beside a block
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
    // The hooks adjust accounting, not the copy: it has the length that was measured before they
    // ran.
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
        // realloc() with a size of 0 frees the block on some runtimes only; this is the same on all
        // of them.
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
    // The hook may keep the block from being released, but cannot cause another block to be
    // released instead.
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
    // An alignment of 0 asks for nothing special: it stands for that of a pointer.
    const size_t multiple = alignment == 0 ? alignof(void*) : alignment;
    *out = is_possible(size, multiple) ? ke::os::aligned_alloc(size, multiple) : nullptr;
    return *out == nullptr ? WIQ_ERR_NO_MEMORY : 0;
}

void wiq_real_aligned_free(void* ptr) {
    ke::os::aligned_free(ptr);
}
