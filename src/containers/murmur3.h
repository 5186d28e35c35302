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

// The blocks of whole words at `p`, which moves behind them.
inline u32 blocks(const u8** p, size_t count, u32 h) {
    for (; count != 0; --count, *p += 4)
        h = add_block(h, load(*p));
    return h;
}

// The up to three bytes behind the blocks, as a little-endian number.
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

// The same where at least one block stands before them: no branch, the number of bytes being hard to guess.
inline u32 tail_before(const u8* p, size_t count) {
    return static_cast<u32>(u64{load(p + count - 4)} << (8 * count) >> 32);
}

}  // namespace murmur3

inline u32 murmur3_32(const void* data, u32 length, u32 seed) {
    const u8* p = static_cast<const u8*>(data);
    const u32 h = murmur3::blocks(&p, length / 4, seed);
    // A tail of nothing changes nothing.
    return murmur3::finish(h ^ murmur3::scramble(murmur3::tail_of(p, length & 3)), length);
}

// The hash of a string of known length with the NUL that ends it, which need not be there: it belongs to
// the last block if that lacks one byte, and is a tail byte of 0, which changes nothing, if not.
inline u32 hash_str(const char* text, size_t length) {
    const u8* p = reinterpret_cast<const u8*>(text);
    u32 h = murmur3::blocks(&p, length / 4, kHashSeed);
    const u32 tail = length < 4 ? murmur3::tail_of(p, length) : murmur3::tail_before(p, length & 3);
    h = (length & 3) == 3 ? murmur3::add_block(h, tail) : h ^ murmur3::scramble(tail);
    return murmur3::finish(h, static_cast<u32>(length) + 1);
}

}  // namespace ke
