// Tests of the hook slots and of the leak tracker, which they use in the same way as a client: through the
// slots.
#include <gtest/gtest.h>

#include <cstdlib>

#include "ke_utils/core.h"

namespace {

void* take(size_t size) {
    return wiq_wrap_malloc(size, false, nullptr, wiq_malloc_pre_cb, wiq_malloc_post_cb);
}

void* resize(void* ptr, size_t size) {
    return wiq_wrap_realloc(ptr, size, nullptr, wiq_realloc_pre_cb, wiq_realloc_post_cb);
}

void give(void* ptr) {
    wiq_wrap_free(ptr, wiq_free_cb);
}

struct Slots {
    void* slots[10];
    Slots()
        : slots{reinterpret_cast<void*>(wiq_malloc_pre_cb),
                reinterpret_cast<void*>(wiq_malloc_post_cb),
                reinterpret_cast<void*>(wiq_realloc_pre_cb),
                reinterpret_cast<void*>(wiq_realloc_post_cb),
                reinterpret_cast<void*>(wiq_aligned_alloc_pre_cb),
                reinterpret_cast<void*>(wiq_aligned_alloc_post_cb),
                reinterpret_cast<void*>(wiq_free_cb),
                reinterpret_cast<void*>(wiq_aligned_free_cb),
                reinterpret_cast<void*>(wiq_alloc_track_pause_cb),
                reinterpret_cast<void*>(wiq_alloc_track_resume_cb)} {}
};

// Read before any test installs the tracker.
const Slots kAtLoad;

void own_pre(size_t*) {}
void own_aligned_pre(void***, size_t*, size_t*) {}

class Memleak : public testing::Test {
  protected:
    void SetUp() override { wiq_memleak_begin(); }
};

TEST(MemleakSlots, AreEmptyAtLoad) {
    for (void* slot : kAtLoad.slots)
        EXPECT_EQ(slot, nullptr);
}

TEST(MemleakSlots, BeginFillsAllButTheTwoPreSlots) {
    wiq_malloc_pre_cb = own_pre;
    wiq_aligned_alloc_pre_cb = own_aligned_pre;
    wiq_memleak_begin();
    const Slots now;
    for (void* slot : now.slots)
        EXPECT_NE(slot, nullptr);
    EXPECT_EQ(wiq_malloc_pre_cb, &own_pre);
    EXPECT_EQ(wiq_aligned_alloc_pre_cb, &own_aligned_pre);
    EXPECT_EQ(wiq_free_cb, wiq_aligned_free_cb);
    wiq_malloc_pre_cb = nullptr;
    wiq_aligned_alloc_pre_cb = nullptr;
}

TEST_F(Memleak, CountsAllocationsAndFrees) {
    void* a = take(1);
    void* b = take(2);
    char* c = wiq_wrap_strdup("c", nullptr, wiq_malloc_pre_cb, wiq_malloc_post_cb);
    EXPECT_EQ(wiq_memleak_balance(), 3);
    EXPECT_EQ(wiq_memleak_count(), 3);
    give(a);
    give(c);
    EXPECT_EQ(wiq_memleak_balance(), 1);
    EXPECT_EQ(wiq_memleak_count(), 3);
    give(b);
    EXPECT_EQ(wiq_memleak_balance(), 0);
}

TEST_F(Memleak, CallsThatAllocateOrFreeNothingAreNotCounted) {
    EXPECT_EQ(take(0), nullptr);
    EXPECT_EQ(take(SIZE_MAX / 2), nullptr);
    give(nullptr);
    EXPECT_EQ(wiq_memleak_balance(), 0);
    EXPECT_EQ(wiq_memleak_count(), 0);
}

TEST_F(Memleak, ReallocIsAFreeAndAnAllocation) {
    void* block = resize(nullptr, 8);
    EXPECT_EQ(wiq_memleak_balance(), 1);
    EXPECT_EQ(wiq_memleak_count(), 1);
    block = resize(block, 800);
    EXPECT_EQ(wiq_memleak_balance(), 1);
    EXPECT_EQ(wiq_memleak_count(), 2);
    EXPECT_EQ(resize(block, 0), nullptr);
    EXPECT_EQ(wiq_memleak_balance(), 0);
    EXPECT_EQ(wiq_memleak_count(), 2);
}

TEST_F(Memleak, AFailedReallocOfALiveBlockLowersTheBalance) {
    void* block = take(8);
    EXPECT_EQ(resize(block, SIZE_MAX / 2), nullptr);
    EXPECT_EQ(wiq_memleak_balance(), 0);
    EXPECT_EQ(wiq_memleak_count(), 1);
    free(block);
}

TEST_F(Memleak, CountsAlignedBlocks) {
    void* block = nullptr;
    ASSERT_EQ(wiq_wrap_aligned_alloc(&block, 64, 64, nullptr, wiq_aligned_alloc_pre_cb,
                                     wiq_aligned_alloc_post_cb),
              0);
    EXPECT_EQ(wiq_memleak_balance(), 1);
    EXPECT_EQ(wiq_memleak_count(), 1);
    wiq_wrap_aligned_free(block, wiq_aligned_free_cb);
    EXPECT_EQ(wiq_memleak_balance(), 0);
    EXPECT_NE(wiq_wrap_aligned_alloc(&block, SIZE_MAX / 4, 64, nullptr, nullptr,
                                     wiq_aligned_alloc_post_cb),
              0);
    EXPECT_EQ(wiq_memleak_count(), 1);
}

TEST_F(Memleak, PausesNest) {
    wiq_alloc_track_pause_cb();
    wiq_alloc_track_pause_cb();
    void* a = take(1);
    wiq_alloc_track_resume_cb();
    a = resize(a, 100);
    give(a);
    EXPECT_EQ(wiq_memleak_balance(), 0);
    EXPECT_EQ(wiq_memleak_count(), 0);
    wiq_alloc_track_resume_cb();
    give(take(1));
    EXPECT_EQ(wiq_memleak_balance(), 0);
    EXPECT_EQ(wiq_memleak_count(), 1);
}

TEST_F(Memleak, BeginStartsAgainFromZero) {
    void* a = take(1);
    wiq_alloc_track_pause_cb();
    wiq_memleak_begin();
    EXPECT_EQ(wiq_memleak_balance(), 0);
    EXPECT_EQ(wiq_memleak_count(), 0);
    give(a);
    EXPECT_EQ(wiq_memleak_balance(), -1);
}

}  // namespace
