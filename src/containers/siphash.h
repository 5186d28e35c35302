// SipHash (Jean-Philippe Aumasson and Daniel J. Bernstein, 2012): a hash under a secret key.
// Someone who does not know the key cannot choose texts that have the same hash. (With the hash of
// maps and objects, that is easy.)
#pragma once

#include <bit>

#include "containers/murmur3.h"
#include "ke_utils/types.h"

namespace ke {

struct SipKey {
    u64 k0;
    u64 k1;
};

namespace siphash {

struct State {
    u64 v0;
    u64 v1;
    u64 v2;
    u64 v3;

    explicit State(const SipKey& key)
        : v0(key.k0 ^ 0x736f6d6570736575u),
          v1(key.k1 ^ 0x646f72616e646f6du),
          v2(key.k0 ^ 0x6c7967656e657261u),
          v3(key.k1 ^ 0x7465646279746573u) {}

    void mix(int rounds) {
        for (; rounds != 0; --rounds) {
            v0 += v1;
            v1 = std::rotl(v1, 13) ^ v0;
            v0 = std::rotl(v0, 32);
            v2 += v3;
            v3 = std::rotl(v3, 16) ^ v2;
            v0 += v3;
            v3 = std::rotl(v3, 21) ^ v0;
            v2 += v1;
            v1 = std::rotl(v1, 17) ^ v2;
            v2 = std::rotl(v2, 32);
        }
    }
    void add(u64 word, int rounds) {
        v3 ^= word;
        mix(rounds);
        v0 ^= word;
    }
};

inline u64 load(const u8* p) {
    return u64{murmur3::load(p)} | u64{murmur3::load(p + 4)} << 32;
}

}  // namespace siphash

// The variant with kPerWord rounds for each word of 8 bytes and kAtEnd rounds at the end.
template <int kPerWord, int kAtEnd>
u64 siphash_with(const SipKey& key, const char* data, size_t length) {
    const u8* p = reinterpret_cast<const u8*>(data);
    siphash::State state(key);
    for (size_t words = length / 8; words != 0; --words, p += 8)
        state.add(siphash::load(p), kPerWord);
    u64 last = u64{length} << 56;
    for (size_t i = length % 8; i != 0; --i)
        last |= u64{p[i - 1]} << (8 * (i - 1));
    state.add(last, kPerWord);
    state.v2 ^= 0xff;
    state.mix(kAtEnd);
    return state.v0 ^ state.v1 ^ state.v2 ^ state.v3;
}

// SipHash-1-3, which is strong enough if nobody sees the hashes.
inline u64 siphash13(const SipKey& key, const char* data, size_t length) {
    return siphash_with<1, 3>(key, data, length);
}

}  // namespace ke
