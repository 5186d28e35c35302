// The hash and comparison functions for the keys of maps.

#include "containers/murmur3.h"

#include "core/exports.h"
#include "ke_utils/containers.h"

u32 wiq_murmur3_32(const void* data, u32 length, u32 seed) {
    return ke::murmur3_32(data, length, seed);
}

u32 wiq_hash_int(const void* key) {
    return ke::murmur3_32(&key, sizeof(key), ke::kHashSeed);
}

u32 wiq_hash_ptr(const void* key) {
    return ke::murmur3_32(key, sizeof(u64), ke::kHashSeed);
}

u32 wiq_hash_str(const void* key) {
    if (key == nullptr)
        return ke::murmur3_32("", 0, ke::kHashSeed);
    const char* text = static_cast<const char*>(key);
    return ke::hash_str(text, strlen(text));
}

bool wiq_cmp_int(const void* a, const void* b) {
    return a == b;
}

// One function with two names, so that a map's `cmp` may be compared with either of them.
bool wiq_cmp_ptr(const void* a, const void* b) KE_SECOND_NAME_OF(wiq_cmp_int);

bool wiq_cmp_str(const void* a, const void* b) {
    return strcmp(static_cast<const char*>(a), static_cast<const char*>(b)) == 0;
}
