// The published values of SipHash-2-4, which has the same steps as the variant that the library uses.
#include "containers/siphash.h"

#include <gtest/gtest.h>

namespace {

constexpr ke::SipKey kKey = {0x0706050403020100u, 0x0f0e0d0c0b0a0908u};

u64 hash_of_counting_bytes(size_t length) {
    char bytes[16];
    for (size_t i = 0; i < sizeof(bytes); ++i)
        bytes[i] = static_cast<char>(i);
    return ke::siphash_with<2, 4>(kKey, bytes, length);
}

TEST(SipHash, PublishedValues) {
    EXPECT_EQ(hash_of_counting_bytes(0), 0x726fdb47dd0e0e31u);
    EXPECT_EQ(hash_of_counting_bytes(1), 0x74f839c593dc67fdu);
    EXPECT_EQ(hash_of_counting_bytes(2), 0x0d6c8009d9a94f5au);
    EXPECT_EQ(hash_of_counting_bytes(7), 0xab0200f58b01d137u);
    EXPECT_EQ(hash_of_counting_bytes(8), 0x93f5f5799a932462u);
    EXPECT_EQ(hash_of_counting_bytes(15), 0xa129ca6149be45e5u);
}

TEST(SipHash, EveryPartOfTheInputChangesTheHash) {
    const u64 hash = ke::siphash13(kKey, "text", 4);
    EXPECT_NE(hash, ke::siphash13({kKey.k0 ^ 1, kKey.k1}, "text", 4));
    EXPECT_NE(hash, ke::siphash13({kKey.k0, kKey.k1 ^ 1}, "text", 4));
    EXPECT_NE(hash, ke::siphash13(kKey, "texu", 4));
    EXPECT_NE(hash, ke::siphash13(kKey, "text", 3));
}

}  // namespace
