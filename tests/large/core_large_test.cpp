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

// No file and no symbol can have such a name. (The name of the symbol is in messages of the loader, which take
// twice as much memory again.)
TEST(CoreLargeModules, Names) {
    for (const size_t size : kLarge) {
        SCOPED_TRACE(size);
        const Text name(size, 'x');
        wiq_lib lib = {};
        EXPECT_EQ(wiq_dlopen_real(name.data(), &lib), WIQ_ERR_DLOPEN);
        EXPECT_EQ(lib.errmsg, nullptr);
    }
#ifdef _WIN32
    constexpr const char* kModule = "kernel32.dll";
#else
    constexpr const char* kModule = "libm.so.6";
#endif
    const Text name(k2G + 5, 'x');
    wiq_lib lib = {};
    ASSERT_EQ(wiq_dlopen_real(kModule, &lib), 0);
    void* symbol = &lib;
    EXPECT_EQ(wiq_dlsym_real(&lib, name.data(), &symbol), WIQ_ERR_DLSYM);
    EXPECT_EQ(symbol, nullptr);
    wiq_dlclose_real(&lib);
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
