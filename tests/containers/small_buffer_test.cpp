// A buffer for one text at a time: inline, in a block, and in a larger block.
#include "containers/small_buffer.h"

#include <cstring>

#include "support/alloc_faults.h"
#include "support/pch.h"

namespace {

using ke::SmallBuffer;

TEST(SmallBuffer, ShortTextsNeedNoMemory) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        faults.arm();
        SmallBuffer<16> buffer;
        char* room = buffer.room(16);
        ASSERT_NE(room, nullptr);
        memset(room, 'x', 16);
        EXPECT_EQ(buffer.room(0), room);
        faults.disarm();
    });
    EXPECT_EQ(points, 0u);
}

TEST(SmallBuffer, GrowsAndIsReused) {
    SmallBuffer<16> buffer;
    char* inside = buffer.room(1);
    char* block = buffer.room(17);
    ASSERT_NE(block, nullptr);
    EXPECT_NE(block, inside);
    memset(block, 'x', 17);
    EXPECT_EQ(buffer.room(34), block);
    EXPECT_EQ(buffer.room(16), inside);
    char* larger = buffer.room(5000);
    ASSERT_NE(larger, nullptr);
    memset(larger, 'y', 5000);
    EXPECT_EQ(buffer.room(20), larger);
}

TEST(SmallBuffer, KeepsItsContentsWhenOutOfMemory) {
    SweepAllocations([](AllocFaults& faults) {
        SmallBuffer<16> buffer;
        char* block = buffer.room(20);
        ASSERT_NE(block, nullptr);
        memcpy(block, "text", 5);
        faults.arm();
        const char* more = buffer.room(100);
        faults.disarm();
        EXPECT_EQ(more == nullptr, faults.fired());
        if (faults.fired()) {
            EXPECT_EQ(buffer.room(20), block);
            EXPECT_STREQ(block, "text");
        }
    });
}

}  // namespace
