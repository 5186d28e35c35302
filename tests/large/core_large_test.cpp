// The allocation layer with sizes beyond 31 and 32 bits.
#include "ke_utils/core.h"
#include "large/large_test.h"

namespace {

class CoreLarge : public Large {};

size_t g_failed = 0;
void failed(size_t size) {
    g_failed = size;
}

TEST_F(CoreLarge, Blocks) {
    for (const size_t size : kLarge) {
        SCOPED_TRACE(size);
        char* block = static_cast<char*>(wiq_real_malloc0(size));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block[size - 1], 0);
        free(block);
        block = static_cast<char*>(wiq_wrap_malloc(size, true, failed, nullptr, nullptr));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block[size - 1], 0);
        block[size - 1] = 'x';
        block = static_cast<char*>(wiq_wrap_realloc(block, size + 1, failed, nullptr, nullptr));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block[size - 1], 'x');
        wiq_wrap_free(block, nullptr);
    }
    EXPECT_EQ(g_failed, 0u);
    EXPECT_EQ(wiq_wrap_malloc(SIZE_MAX / 2, false, failed, nullptr, nullptr), nullptr);
    EXPECT_EQ(g_failed, SIZE_MAX / 2);
}

// These are not counted as live blocks, because not all platforms allocate them by malloc().
TEST(CoreLargeAligned, Blocks) {
    for (const size_t size : kLarge) {
        void* aligned = nullptr;
        ASSERT_EQ(wiq_real_aligned_alloc(&aligned, size, 4096), 0);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(aligned) % 4096, 0u);
        static_cast<char*>(aligned)[size - 1] = 'x';
        wiq_real_aligned_free(aligned);
        ASSERT_EQ(wiq_wrap_aligned_alloc(&aligned, size, size_t{1} << 20, failed, nullptr, nullptr),
                  0);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(aligned) % (size_t{1} << 20), 0u);
        wiq_wrap_aligned_free(aligned, nullptr);
    }
}

TEST_F(CoreLarge, Copies) {
    for (const size_t size : kLarge) {
        Text text(size, 'x');
        char* copy = wiq_wrap_strdup(text.data(), failed, nullptr, nullptr);
        text.release();
        ASSERT_NE(copy, nullptr);
        EXPECT_EQ(strlen(copy), size);
        wiq_wrap_free(copy, nullptr);
    }
}

}  // namespace
