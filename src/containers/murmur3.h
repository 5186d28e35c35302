// MurmurHash3, the x86 32-bit variant (Austin Appleby, public domain, 2011). It is inline, so that
// hashing a key of known length needs no call.
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

// Returns a block of four bytes as a little-endian number.
inline u32 load(const u8* p) {
    if constexpr (std::endian::native == std::endian::little) {
        u32 k = 0;
        memcpy(&k, p, sizeof(k));
        return k;
    } else {
        return u32{p[0]} | u32{p[1]} << 8 | u32{p[2]} << 16 | u32{p[3]} << 24;
    }
}

inline u32 add_block(u32 h, u32 k) {
    return std::rotl(h ^ scramble(k), 13) * 5 + 0xe6546b64u;
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

// Adds `count` blocks at *p to the hash, and moves *p past them.
inline u32 blocks(const u8** p, size_t count, u32 h) {
    for (; count != 0; --count, *p += 4)
        h = add_block(h, load(*p));
    return h;
}

// Returns the up to three bytes after the blocks as a little-endian number.
inline u32 tail_of(const u8* p, size_t count) {
    u32 tail = 0;
    switch (count) {
        case 3:
            tail |= u32{p[2]} << 16;
            [[fallthrough]];
        case 2:
            tail |= u32{p[1]} << 8;
            [[fallthrough]];
        case 1:
            tail |= p[0];
            [[fallthrough]];
        default:
            return tail;
    }
}

// The same if there is at least one block before them: it loads the last four bytes and shifts out
// those that belong to the block. There is no branch, since the number of bytes is hard to predict.
inline u32 tail_before(const u8* p, size_t count) {
    return static_cast<u32>(u64{load(p + count - 4)} << (8 * count) >> 32);
}

}  // namespace murmur3

inline u32 murmur3_32(const void* data, u32 length, u32 seed) {
    const u8* p = static_cast<const u8*>(data);
    const u32 h = murmur3::blocks(&p, length / 4, seed);
    // An empty tail changes nothing: scramble(0) is 0.
    return murmur3::finish(h ^ murmur3::scramble(murmur3::tail_of(p, length & 3)), length);
}

// Returns the hash of a string of known length with the NUL at its end, which need not be in
// memory. If the last block lacks one byte, the NUL completes it; otherwise it is a tail byte of 0,
// which changes nothing.
inline u32 hash_str(const char* text, size_t length) {
    const u8* p = reinterpret_cast<const u8*>(text);
    u32 h = murmur3::blocks(&p, length / 4, kHashSeed);
    const u32 tail = length < 4 ? murmur3::tail_of(p, length) : murmur3::tail_before(p, length & 3);
    h = (length & 3) == 3 ? murmur3::add_block(h, tail) : h ^ murmur3::scramble(tail);
    return murmur3::finish(h, static_cast<u32>(length) + 1);
}

}  // namespace ke
