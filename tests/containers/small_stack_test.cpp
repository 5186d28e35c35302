// Tests of the stack on which walks over documents store their positions.
#include "containers/small_stack.h"

#include <gtest/gtest.h>

#include "support/alloc_faults.h"

namespace {

TEST(SmallStack, LastInFirstOut) {
    ke::SmallStack<int, 4> stack;
    EXPECT_TRUE(stack.empty());
    for (int i = 0; i < 1000; ++i) {
        ASSERT_TRUE(stack.push(i));
        EXPECT_EQ(stack.top(), i);
        EXPECT_EQ(stack.size(), static_cast<size_t>(i) + 1);
    }
    for (int i = 999; i >= 0; --i) {
        EXPECT_EQ(stack.top(), i);
        const int& popped = stack.pop();
        EXPECT_EQ(popped, i) << "valid until the next push";
    }
    EXPECT_TRUE(stack.empty());
}

TEST(SmallStack, NeedsNoMemoryForItsInlineSlots) {
    AllocFaults faults(1, AllocFaults::kPersistent);
    faults.arm();
    ke::SmallStack<int, 4> stack;
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(stack.push(i));
    EXPECT_FALSE(stack.push(4));
    faults.disarm();
    EXPECT_EQ(stack.size(), 4u);
    EXPECT_EQ(stack.top(), 3);
    EXPECT_TRUE(stack.push(4));
    EXPECT_EQ(stack.top(), 4);
}

TEST(SmallStack, KeepsItsItemsWhenGrowthFails) {
    ke::SmallStack<int, 1> stack;
    for (int i = 0; i < 8; ++i)
        ASSERT_TRUE(stack.push(i));
    AllocFaults faults(1, AllocFaults::kPersistent);
    faults.arm();
    EXPECT_FALSE(stack.push(8));
    faults.disarm();
    for (int i = 7; i >= 0; --i) {
        EXPECT_EQ(stack.top(), i);
        stack.pop();
    }
}

}  // namespace
