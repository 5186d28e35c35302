// The string vector: a vector whose slots own their strings.

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "ke_utils/text.h"

namespace {

void init_slot(void* slot) {
    *static_cast<char**>(slot) = nullptr;
}

void free_slot(void* slot) {
    char** text = static_cast<char**>(slot);
    free(*text);
    *text = nullptr;
}

// Orders strings by their bytes, as unsigned numbers, and NULL slots after all others.
bool comes_before(const char* a, const char* b) {
    if (a == nullptr || b == nullptr)
        return a != nullptr && b == nullptr;
    return strcmp(a, b) < 0;
}

}  // namespace

i32 wiq_strv_init(wiq_strv* strv) {
    return wiq_vector_init(strv, sizeof(char*), 0, init_slot, free_slot);
}

i32 wiq_strv_finalize(wiq_strv* strv) {
    return wiq_vector_finalize(strv);
}

i32 wiq_strv_push(wiq_strv* strv, const char* str) {
    char** slot = static_cast<char**>(wiq_vector_push(strv));
    if (slot == nullptr)
        return WIQ_ERR_NO_MEMORY;
    if (str == nullptr)
        return 0;
    *slot = strdup(str);
    return *slot == nullptr ? WIQ_ERR_NO_MEMORY : 0;
}

i32 wiq_strv_pushf(wiq_strv* strv, const char* format, ...) {
    char** slot = static_cast<char**>(wiq_vector_push(strv));
    if (slot == nullptr)
        return WIQ_ERR_NO_MEMORY;
    va_list args;
    va_start(args, format);
    const i32 length = wiq_vasprintf(slot, format, args);
    va_end(args);
    return length;
}

char* wiq_strv_get(const wiq_strv* strv, u32 index) {
    return *static_cast<char**>(wiq_vector_get(strv, static_cast<i32>(index)));
}

void wiq_strv_sort(wiq_strv* strv) {
    // Not qsort(), which in some runtimes takes quadratic time for a maliciously chosen order.
    if (strv->size > 1) {
        auto** slots = static_cast<char**>(strv->data);
        std::sort(slots, slots + strv->size, comes_before);
    }
}
