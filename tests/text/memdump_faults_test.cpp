// Dumps when allocations fail: each line needs memory for its hexadecimal text and for its column.
#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "support/alloc_faults.h"
#include "support/pch.h"

namespace {

i32 count_line(void* user, u64, const char*, const char*) {
    ++*static_cast<int*>(user);
    return 0;
}

void sweep(bool ascii, size_t points_expected) {
    const size_t points = SweepAllocations([=](AllocFaults& faults) {
        const u8 data[40] = {};
        int lines = 0;
        faults.arm();
        const i32 status =
            wiq_memdump_ex(data, sizeof data, 16, 4, 8, 1, ascii, true, count_line, &lines);
        faults.disarm();
        EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        EXPECT_EQ(lines, faults.fired() ? 0 : 3);
    });
    EXPECT_EQ(points, points_expected);
}

TEST(MemdumpFaults, WithoutColumn) {
    sweep(false, 2);
}

TEST(MemdumpFaults, WithColumn) {
    sweep(true, 4);
}

}  // namespace
