// Disk capacities by the IDEMA rule, in both directions, and where they wrap.
#include <climits>
#include <cstdint>

#include "ke_utils/text.h"
#include "support/pch.h"

namespace {

TEST(Capacity, LbaCounts) {
    const struct {
        u64 gb;
        int sector_size;
        u64 blocks;
    } rows[] = {
        {50, 512, 97696368},
        {50, 4096, 12212046},
        {51, 512, 99649872},
        {51, 4096, 12456234},
        {1000, 512, 1953525168},
        {1000, 4096, 244190646},
        {49, 512, 95742864},
        {49, 4096, 11967858},
        {0, 512, 97696368 - 1953504ull * 50},
        {0, 4096, 12212046 - 244188ull * 50},
        {1000, 0, 1953525168},
        {1000, -1, 1953525168},
        {1000, INT_MIN, 1953525168},
        {1000, 520, 1953525168},
        {1000, 4095, 1953525168},
        {1000, 4097, 244190646},
        {1000, 8192, 244190646},
        {1000, INT_MAX, 244190646},
        {UINT64_MAX, 512, 97696368 - 1953504ull * 51},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(wiq_get_lba_count_idema(row.gb, row.sector_size), row.blocks)
            << row.gb << " GB, " << row.sector_size;
    }
}

TEST(Capacity, BytesUseTheSectorSizeAsGiven) {
    EXPECT_EQ(wiq_gb_to_bytes_idema(1000, 512), 1000204886016u);
    EXPECT_EQ(wiq_gb_to_bytes_idema(1000, 4096), 1000204886016u);
    EXPECT_EQ(wiq_gb_to_bytes_idema(1000, 520), 1953525168u * 520ull);
    EXPECT_EQ(wiq_gb_to_bytes_idema(1000, 8192), 244190646u * 8192ull);
    EXPECT_EQ(wiq_gb_to_bytes_idema(1000, 0), 0u);
    EXPECT_EQ(wiq_gb_to_bytes_idema(1000, -1), 0 - u64{1953525168});
}

TEST(Capacity, GigabytesOfACount) {
    const struct {
        u64 blocks;
        int sector_size;
        u64 gb;
    } rows[] = {
        {1953525168, 512, 1000},
        {244190646, 4096, 1000},
        {1953525167, 512, 999},
        {1953525168 + 1953503, 512, 1000},
        {1953525168 + 1953504, 512, 1001},
        {97696368, 512, 50},
        {12212046, 4096, 50},
        {0, 512, 9442900589765},
        {97696367, 512, 9442900589815},
        {1953525168, 4095, 1000},
        {244190646, 4097, 1000},
        {1953525168, -5, 1000},
    };
    for (const auto& row : rows)
        EXPECT_EQ(wiq_get_cap_idema(row.blocks, row.sector_size), row.gb) << row.blocks;
}

TEST(Capacity, CountsAndGigabytesAreInverse) {
    for (u64 gb = 50; gb < 100000; gb = gb * 3 / 2) {
        for (int sector_size : {512, 4096})
            EXPECT_EQ(wiq_get_cap_idema(wiq_get_lba_count_idema(gb, sector_size), sector_size), gb);
    }
}

}  // namespace
