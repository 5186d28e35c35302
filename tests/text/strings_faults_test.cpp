// Fixed-width fields when the block cannot grow.
#include <cstdlib>
#include <cstring>

#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "support/alloc_faults.h"
#include "support/pch.h"

namespace {

TEST(StructStrFaults, FreshBlock) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        char* block = nullptr;
        u64 size = 0;
        faults.arm();
        const i32 status = wiq_struct_str("ab  ", 4, &block, &size, true);
        faults.disarm();
        EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        EXPECT_EQ(block == nullptr, faults.fired());
        EXPECT_EQ(size, faults.fired() ? 0u : 5u);
        free(block);
    });
    EXPECT_EQ(points, 2u);
}

TEST(StructStrFaults, OldBlockStaysTheCallers) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        char* block = nullptr;
        u64 size = 0;
        ASSERT_EQ(wiq_struct_str("ab", 2, &block, &size, true), 0);
        char* old = block;
        faults.arm();
        const i32 status = wiq_struct_str("abcd", 4, &block, &size, true);
        faults.disarm();
        if (faults.fired()) {
            EXPECT_EQ(status, WIQ_ERR_NO_MEMORY);
            EXPECT_EQ(block, nullptr);
            EXPECT_EQ(size, 3u);
            EXPECT_STREQ(old, "ab");
            free(old);
        } else {
            EXPECT_EQ(status, 0);
            EXPECT_STREQ(block, "abcd");
            EXPECT_EQ(size, 5u);
        }
        free(block);
    });
    EXPECT_EQ(points, 2u);
}

}  // namespace
