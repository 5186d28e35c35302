// MurmurHash3, x86 32-bit variant (Austin Appleby, public domain, 2011), inline so that hashing a key of
// known length costs no call.
#pragma once

#include <bit>
#include <cstring>

#include "ke_utils/types.h"

namespace ke {

constexpr u32 kHashSeed = 0x11223344;

namespace murmur3 {

inline u32 scramble(u32 k) {
    return std::rotl(k * 0xcc9e2d51u, 15) * 0x1b873593u;
}

// A block of four bytes, read little-endian.
inline u32 load(const u8* p) {
    if constexpr (std::endian::native == std::endian::little) {
        u32 k = 0;
        memcpy(&k, p, sizeof(k));
        return k;
    } else {
        return u32{p[0]} | u32{p[1]} << 8 | u32{p[2]} << 16 | u32{p[3]} << 24;
    }
}

inline u32 finish(u32 h, u32 length) {
    h ^= length;
    h ^= h >> 16;
    h *= 0x85ebca6bu;
    h ^= h >> 13;
    h *= 0xc2b2ae35u;
    h ^= h >> 16;
    return h;
}

}  // namespace murmur3

inline u32 murmur3_32(const void* data, u32 length, u32 seed) {
    const u8* p = static_cast<const u8*>(data);
    u32 h = seed;
    for (u32 blocks = length / 4; blocks != 0; --blocks, p += 4)
        h = std::rotl(h ^ murmur3::scramble(murmur3::load(p)), 13) * 5 + 0xe6546b64u;
    u32 tail = 0;
    switch (length & 3) {
        case 3:
            tail |= u32{p[2]} << 16;
            [[fallthrough]];
        case 2:
            tail |= u32{p[1]} << 8;
            [[fallthrough]];
        case 1:
            tail |= p[0];
            h ^= murmur3::scramble(tail);
    }
    return murmur3::finish(h, length);
}

// The hash of a string of known length; its terminating NUL is hashed too.
inline u32 hash_str(const char* text, size_t length) {
    return murmur3_32(text, static_cast<u32>(length) + 1, kHashSeed);
}

}  // namespace ke
