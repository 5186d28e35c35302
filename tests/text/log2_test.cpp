// The exact base-2 logarithm of powers of two.
#include <cstdint>

#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "support/pch.h"

namespace {

TEST(Log2, EveryPowerOfTwo) {
    for (u32 exponent = 0; exponent < 32; ++exponent) {
        u32 out = 99;
        EXPECT_EQ(wiq_log2_whole(u32{1} << exponent, &out), 0);
        EXPECT_EQ(out, exponent);
    }
}

TEST(Log2, RefusesEverythingElse) {
    for (u32 x : {0u, 3u, 6u, 12u, 4095u, 4097u, 0x80000001u, UINT32_MAX}) {
        u32 out = 99;
        EXPECT_EQ(wiq_log2_whole(x, &out), WIQ_ERR_INVALID_ARG);
        EXPECT_EQ(out, 99u);
    }
    EXPECT_EQ(wiq_log2_whole(4096, nullptr), WIQ_ERR_INVALID_ARG);
}

}  // namespace
