// Tests of the hooked allocation functions: which hooks run, in which order, with which values, and what they
// can change.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "ke_utils/core.h"

namespace {

// The hooks' calls as text, in order.
std::vector<std::string> g_log;
// What the pre and post hooks write back; unless the flag is set, they change nothing.
size_t g_new_size;
bool g_change_size;
void* g_new_ptr;
bool g_change_ptr;

void note(const std::string& line) {
    g_log.push_back(line);
}

void fail_hook(size_t size) {
    note("fail " + std::to_string(size));
}

void malloc_pre(size_t* size) {
    note("pre " + std::to_string(*size));
    if (g_change_size)
        *size = g_new_size;
}

void malloc_post(void** result, size_t* size) {
    note(std::string("post ") + (*result ? "block " : "null ") + std::to_string(*size));
    if (g_change_ptr) {
        free(*result);
        *result = g_new_ptr;
    }
}

void realloc_pre(void** ptr, size_t* size) {
    note(std::string("pre ") + (*ptr ? "block " : "null ") + std::to_string(*size));
    if (g_change_size)
        *size = g_new_size;
    if (g_change_ptr)
        *ptr = g_new_ptr;
}

void realloc_post(void** result, size_t* size) {
    note(std::string("post ") + (*result ? "block " : "null ") + std::to_string(*size));
}

void aligned_pre(void*** out, size_t* size, size_t* alignment) {
    note(std::string("pre ") + (*out ? "out " : "null ") + std::to_string(*size) + " " +
         std::to_string(*alignment));
    if (g_change_size)
        *size = g_new_size;
}

void aligned_post(void*** out, size_t* size, size_t* alignment) {
    note(std::string("post ") + (*out ? "out " : "null ") + std::to_string(*size) + " " +
         std::to_string(*alignment));
}

void free_hook(void** ptr) {
    note(*ptr ? "free block" : "free null");
    if (g_change_ptr)
        *ptr = g_new_ptr;
}

using Log = std::vector<std::string>;

class Alloc : public testing::Test {
  protected:
    void SetUp() override {
        g_log.clear();
        g_change_size = false;
        g_change_ptr = false;
    }
};

TEST_F(Alloc, MallocCallsHooksInOrder) {
    void* block = wiq_wrap_malloc(10, false, fail_hook, malloc_pre, malloc_post);
    EXPECT_NE(block, nullptr);
    EXPECT_EQ(g_log, (Log{"pre 10", "post block 10"}));
    free(block);
}

TEST_F(Alloc, MallocWithoutHooks) {
    void* block = wiq_wrap_malloc(10, false, nullptr, nullptr, nullptr);
    EXPECT_NE(block, nullptr);
    free(block);
}

TEST_F(Alloc, MallocZeroFills) {
    auto* block = static_cast<u8*>(wiq_wrap_malloc(1000, true, nullptr, nullptr, nullptr));
    ASSERT_NE(block, nullptr);
    for (size_t i = 0; i < 1000; ++i)
        ASSERT_EQ(block[i], 0) << i;
    free(block);
}

TEST_F(Alloc, MallocOfZeroBytesReturnsNullWithoutFailing) {
    EXPECT_EQ(wiq_wrap_malloc(0, false, fail_hook, malloc_pre, malloc_post), nullptr);
    EXPECT_EQ(g_log, (Log{"pre 0", "post null 0"}));
    EXPECT_EQ(wiq_wrap_malloc(0, true, fail_hook, nullptr, nullptr), nullptr);
    EXPECT_EQ(g_log.size(), 2u);
}

TEST_F(Alloc, PreHookCanSetTheSizeToZero) {
    g_change_size = true;
    g_new_size = 0;
    EXPECT_EQ(wiq_wrap_malloc(10, false, fail_hook, malloc_pre, malloc_post), nullptr);
    EXPECT_EQ(g_log, (Log{"pre 10", "post null 0"}));
}

TEST_F(Alloc, PreHookCanEnlarge) {
    g_change_size = true;
    g_new_size = 1000;
    auto* block = static_cast<u8*>(wiq_wrap_malloc(1, true, fail_hook, malloc_pre, malloc_post));
    ASSERT_NE(block, nullptr);
    block[999] = 1;
    EXPECT_EQ(g_log, (Log{"pre 1", "post block 1000"}));
    free(block);
}

TEST_F(Alloc, PostHookCanReplaceTheBlock) {
    g_change_ptr = true;
    g_new_ptr = nullptr;
    EXPECT_EQ(wiq_wrap_malloc(10, false, fail_hook, nullptr, malloc_post), nullptr);
    EXPECT_EQ(g_log, (Log{"post block 10", "fail 10"}));
}

TEST_F(Alloc, MallocReportsTheSizeThatFailed) {
    EXPECT_EQ(wiq_wrap_malloc(SIZE_MAX / 2, false, fail_hook, malloc_pre, malloc_post), nullptr);
    const std::string size = std::to_string(SIZE_MAX / 2);
    EXPECT_EQ(g_log, (Log{"pre " + size, "post null " + size, "fail " + size}));
    EXPECT_EQ(wiq_wrap_malloc(SIZE_MAX / 2, true, nullptr, nullptr, nullptr), nullptr);
}

TEST_F(Alloc, StrdupCopies) {
    char* copy = wiq_wrap_strdup("drive", fail_hook, malloc_pre, malloc_post);
    EXPECT_STREQ(copy, "drive");
    EXPECT_EQ(g_log, (Log{"pre 6", "post block 6"}));
    free(copy);
}

TEST_F(Alloc, StrdupOfNullCallsNoHook) {
    EXPECT_EQ(wiq_wrap_strdup(nullptr, fail_hook, malloc_pre, malloc_post), nullptr);
    EXPECT_TRUE(g_log.empty());
}

TEST_F(Alloc, StrdupCopiesTheLengthMeasuredBeforeTheHooks) {
    g_change_size = true;
    g_new_size = 100;
    char* copy = wiq_wrap_strdup("drive", fail_hook, malloc_pre, nullptr);
    EXPECT_STREQ(copy, "drive");
    free(copy);
    g_new_size = 0;
    EXPECT_EQ(wiq_wrap_strdup("drive", fail_hook, malloc_pre, nullptr), nullptr);
}

TEST_F(Alloc, ReallocGrowsAndKeepsContents) {
    void* block = wiq_wrap_realloc(nullptr, 4, fail_hook, realloc_pre, realloc_post);
    ASSERT_NE(block, nullptr);
    memcpy(block, "abc", 4);
    block = wiq_wrap_realloc(block, 4000, fail_hook, realloc_pre, realloc_post);
    ASSERT_NE(block, nullptr);
    EXPECT_STREQ(static_cast<char*>(block), "abc");
    EXPECT_EQ(g_log, (Log{"pre null 4", "post block 4", "pre block 4000", "post block 4000"}));
    free(block);
}

TEST_F(Alloc, ReallocToZeroBytesReleasesAndReportsAFailureOfZero) {
    void* block = malloc(4);
    EXPECT_EQ(wiq_wrap_realloc(block, 0, fail_hook, realloc_pre, realloc_post), nullptr);
    EXPECT_EQ(g_log, (Log{"pre block 0", "post null 0", "fail 0"}));
}

TEST_F(Alloc, ReallocOfNullToZeroBytesReportsAFailureOfZero) {
    EXPECT_EQ(wiq_wrap_realloc(nullptr, 0, fail_hook, nullptr, nullptr), nullptr);
    EXPECT_EQ(g_log, (Log{"fail 0"}));
}

TEST_F(Alloc, ReallocPreHookCanChangeBlockAndSize) {
    void* kept = malloc(4);
    g_change_ptr = true;
    g_new_ptr = nullptr;
    g_change_size = true;
    g_new_size = 8;
    void* fresh = wiq_wrap_realloc(kept, 4, fail_hook, realloc_pre, realloc_post);
    EXPECT_NE(fresh, nullptr);
    EXPECT_NE(fresh, kept);
    EXPECT_EQ(g_log, (Log{"pre block 4", "post block 8"}));
    free(fresh);
    free(kept);
}

TEST_F(Alloc, ReallocFailureKeepsTheBlock) {
    void* block = malloc(4);
    memcpy(block, "abc", 4);
    EXPECT_EQ(wiq_wrap_realloc(block, SIZE_MAX / 2, fail_hook, nullptr, nullptr), nullptr);
    EXPECT_EQ(g_log, (Log{"fail " + std::to_string(SIZE_MAX / 2)}));
    EXPECT_STREQ(static_cast<char*>(block), "abc");
    free(block);
}

TEST_F(Alloc, FreeCallsItsHookAndAcceptsNull) {
    wiq_wrap_free(malloc(4), free_hook);
    wiq_wrap_free(nullptr, free_hook);
    wiq_wrap_free(malloc(4), nullptr);
    EXPECT_EQ(g_log, (Log{"free block", "free null"}));
}

TEST_F(Alloc, FreeHookCanReplaceOrSuppress) {
    void* kept = malloc(4);
    void* other = malloc(4);
    g_change_ptr = true;
    g_new_ptr = other;
    wiq_wrap_free(kept, free_hook);  // releases `other`
    g_new_ptr = nullptr;
    wiq_wrap_free(kept, free_hook);  // releases nothing
    memset(kept, 0, 4);
    free(kept);
}

TEST_F(Alloc, AlignedAllocCallsHooksAndAligns) {
    for (size_t alignment : {size_t{1}, size_t{2}, size_t{4}, size_t{8}, size_t{16}, size_t{64},
                             size_t{4096}, size_t{1} << 20}) {
        g_log.clear();
        void* block = nullptr;
        EXPECT_EQ(
            wiq_wrap_aligned_alloc(&block, 100, alignment, fail_hook, aligned_pre, aligned_post),
            0);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % alignment, 0u);
        memset(block, 1, 100);
        const std::string text = "out 100 " + std::to_string(alignment);
        EXPECT_EQ(g_log, (Log{"pre " + text, "post " + text}));
        wiq_wrap_aligned_free(block, free_hook);
        EXPECT_EQ(g_log.back(), "free block");
    }
}

TEST_F(Alloc, AlignedAllocWithoutAnOutPointer) {
    EXPECT_EQ(wiq_wrap_aligned_alloc(nullptr, 8, 8, fail_hook, nullptr, nullptr),
              WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(g_log, (Log{"fail 8"}));
    g_log.clear();
    EXPECT_EQ(wiq_wrap_aligned_alloc(nullptr, 0, 8, fail_hook, aligned_pre, aligned_post), 0);
    EXPECT_EQ(g_log, (Log{"pre null 0 8", "post null 0 8", "fail 0"}));
    EXPECT_EQ(wiq_real_aligned_alloc(nullptr, 8, 8), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_real_aligned_alloc(nullptr, 0, 8), WIQ_ERR_INVALID_ARG);
}

TEST_F(Alloc, AlignedAllocFailureIsReported) {
    void* block = &g_log;
    EXPECT_EQ(wiq_wrap_aligned_alloc(&block, SIZE_MAX / 4, 16, fail_hook, nullptr, nullptr),
              WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(g_log, (Log{"fail " + std::to_string(SIZE_MAX / 4)}));
}

TEST_F(Alloc, AlignedAllocRefusesAnAlignmentThatIsNotAPowerOfTwo) {
    for (size_t alignment :
         {size_t{3}, size_t{5}, size_t{24}, size_t{4095}, SIZE_MAX, SIZE_MAX - 7}) {
        void* block = &g_log;
        EXPECT_EQ(wiq_real_aligned_alloc(&block, 8, alignment), WIQ_ERR_NO_MEMORY) << alignment;
        EXPECT_EQ(block, nullptr);
        block = &g_log;
        EXPECT_EQ(wiq_real_aligned_alloc(&block, 0, alignment), WIQ_ERR_NO_MEMORY) << alignment;
        EXPECT_EQ(block, nullptr);
    }
}

TEST_F(Alloc, AnAlignmentOfZeroIsThatOfAPointer) {
    void* block = nullptr;
    ASSERT_EQ(wiq_real_aligned_alloc(&block, 24, 0), 0);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % alignof(void*), 0u);
    memset(block, 1, 24);
    wiq_real_aligned_free(block);
    ASSERT_EQ(wiq_wrap_aligned_alloc(&block, 24, 0, fail_hook, aligned_pre, aligned_post), 0);
    EXPECT_EQ(g_log, (Log{"pre out 24 0", "post out 24 0"})) << "hooks receive the requested size";
    wiq_wrap_aligned_free(block, nullptr);
}

TEST_F(Alloc, AlignedSizesThatWrapAreRefused) {
    // The sum overflows: rounded up, or with room for a record before the block, the size would be small.
    for (size_t alignment : {size_t{0}, size_t{1}, size_t{8}, size_t{4096}, SIZE_MAX / 2 + 1}) {
        for (size_t below : {size_t{0}, size_t{1}, size_t{7}, size_t{15}, size_t{16}, size_t{40},
                             size_t{4096}, size_t{4100}}) {
            void* block = &g_log;
            EXPECT_EQ(wiq_real_aligned_alloc(&block, SIZE_MAX - below, alignment),
                      WIQ_ERR_NO_MEMORY)
                << SIZE_MAX - below << " at " << alignment;
            EXPECT_EQ(block, nullptr);
        }
    }
    void* block = &g_log;
    EXPECT_EQ(wiq_real_aligned_alloc(&block, 8, SIZE_MAX / 2 + 1), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(block, nullptr);
}

TEST_F(Alloc, AlignedPreHookCanChangeTheSize) {
    g_change_size = true;
    g_new_size = 4096;
    void* block = nullptr;
    EXPECT_EQ(wiq_wrap_aligned_alloc(&block, 1, 64, fail_hook, aligned_pre, aligned_post), 0);
    ASSERT_NE(block, nullptr);
    memset(block, 1, 4096);
    wiq_real_aligned_free(block);
}

TEST_F(Alloc, AlignedFreeHookCanSuppressButNotReplace) {
    void* block = nullptr;
    void* other = nullptr;
    ASSERT_EQ(wiq_real_aligned_alloc(&block, 8, 8), 0);
    ASSERT_EQ(wiq_real_aligned_alloc(&other, 8, 8), 0);
    g_change_ptr = true;
    g_new_ptr = nullptr;
    wiq_wrap_aligned_free(block, free_hook);  // suppressed
    memset(block, 0, 8);
    g_new_ptr = other;
    wiq_wrap_aligned_free(block, free_hook);  // releases `block`, not `other`
    memset(other, 0, 8);
    wiq_real_aligned_free(other);
    wiq_wrap_aligned_free(nullptr, nullptr);
}

TEST_F(Alloc, RealMalloc0ZeroFills) {
    auto* block = static_cast<u8*>(wiq_real_malloc0(1000));
    ASSERT_NE(block, nullptr);
    for (size_t i = 0; i < 1000; ++i)
        ASSERT_EQ(block[i], 0) << i;
    free(block);
    EXPECT_EQ(wiq_real_malloc0(SIZE_MAX / 2), nullptr);
}

}  // namespace
