// What core.h offers without exporting it: macros for the hooked allocations, names and meanings of statuses,
// and the version. Tested in C, by core_macros.c, and in C++.
#include <gtest/gtest.h>

#include <string>

#include "core/core_macros.h"
#include "ke_utils/core.h"

namespace {

class CoreMacros : public testing::Test {
  protected:
    // Slots are process-wide: empty them again, whatever a test has stored in them.
    void TearDown() override {
        wiq_malloc_post_cb = nullptr;
        wiq_realloc_pre_cb = nullptr;
        wiq_realloc_post_cb = nullptr;
        wiq_aligned_alloc_post_cb = nullptr;
        wiq_free_cb = nullptr;
        wiq_aligned_free_cb = nullptr;
        wiq_alloc_track_pause_cb = nullptr;
        wiq_alloc_track_resume_cb = nullptr;
    }
};

TEST_F(CoreMacros, AllocationsPassTheHooksInTheSlots) {
    EXPECT_TRUE(core_macros_allocate());
}

TEST_F(CoreMacros, FailuresAreReportedToTheClientsFunction) {
    EXPECT_EQ(core_macros_told(), 4u);
}

size_t g_pre = 0;

TEST_F(CoreMacros, PreHooksAreSlotsToo) {
    wiq_malloc_pre_cb = [](size_t* size) { g_pre = *size; };
    wiq_aligned_alloc_pre_cb = [](void***, size_t* size, size_t*) { g_pre = *size; };
    // This file has not named a function that receives failures.
    KE_FREE(KE_MALLOC(3));
    EXPECT_EQ(g_pre, 3u);
    KE_FREE(KE_MALLOC0(4));
    EXPECT_EQ(g_pre, 4u);
    KE_FREE(KE_STRDUP("1234"));
    EXPECT_EQ(g_pre, 5u);
    void* aligned = nullptr;
    EXPECT_EQ(KE_ALIGNED_ALLOC(&aligned, 6, 8), 0);
    EXPECT_EQ(g_pre, 6u);
    KE_ALIGNED_FREE(aligned);
    EXPECT_EQ(KE_MALLOC(SIZE_MAX / 2), nullptr);
    wiq_malloc_pre_cb = nullptr;
    wiq_aligned_alloc_pre_cb = nullptr;
}

TEST(StatusText, EveryStatusHasItsNameAndMeaning) {
#define ROW(number, name, meaning)                      \
    EXPECT_STREQ(core_macros_name(number), #name);      \
    EXPECT_STREQ(ke_status_name(name), #name);          \
    EXPECT_STREQ(core_macros_meaning(number), meaning); \
    EXPECT_STREQ(ke_status_meaning(name), meaning);
    KE_STATUS_TABLE(ROW)
#undef ROW
    EXPECT_STREQ(core_macros_name(0), "");
    EXPECT_STREQ(core_macros_meaning(0), "success");
    for (i32 none : {1, -1, -2, -1048, -7004, INT32_MIN, INT32_MAX}) {
        EXPECT_STREQ(core_macros_name(none), "") << none;
        EXPECT_STREQ(core_macros_meaning(none), "unknown status") << none;
    }
}

TEST(StatusText, AnErrorArgumentHoldsAFailureOrNone) {
    EXPECT_FALSE(core_macros_failed(0));
    EXPECT_TRUE(core_macros_failed(static_cast<u32>(WIQ_ERR_IO)));
    EXPECT_TRUE(core_macros_failed(static_cast<u32>(INT32_MIN)));
    EXPECT_FALSE(KE_FAILED(u32{0}));
    EXPECT_TRUE(KE_FAILED(static_cast<u32>(WIQ_ERR_PTR_SYNTAX)));
    EXPECT_FALSE(KE_FAILED(i32{12})) << "a count";
    EXPECT_TRUE(KE_FAILED(i32{WIQ_ERR_EOF}));
}

TEST(Version, MatchesTheProject) {
    EXPECT_STREQ(KE_VERSION_STRING, KE_TEST_VERSION);
    EXPECT_STREQ(core_macros_version(), KE_TEST_VERSION);
    EXPECT_EQ(std::to_string(KE_VERSION_MAJOR) + "." + std::to_string(KE_VERSION_MINOR) + "." +
                  std::to_string(KE_VERSION_PATCH),
              KE_TEST_VERSION);
}

TEST(Version, CanBeTestedAtCompileTime) {
    constexpr int kMajor = KE_VERSION_MAJOR;
    constexpr int kMinor = KE_VERSION_MINOR;
    constexpr int kPatch = KE_VERSION_PATCH;
    static_assert(KE_VERSION_AT_LEAST(kMajor, kMinor, kPatch));
    static_assert(KE_VERSION_AT_LEAST(kMajor - 1, kMinor + 1, kPatch + 1));
    static_assert(KE_VERSION_AT_LEAST(kMajor, kMinor - 1, kPatch + 1));
    static_assert(KE_VERSION_AT_LEAST(kMajor, kMinor, kPatch - 1));
    static_assert(!KE_VERSION_AT_LEAST(kMajor, kMinor, kPatch + 1));
    static_assert(!KE_VERSION_AT_LEAST(kMajor, kMinor + 1, kPatch - 1));
    static_assert(!KE_VERSION_AT_LEAST(kMajor + 1, kMinor - 1, kPatch - 1));
    // It can be part of a larger condition.
    static_assert(!KE_VERSION_AT_LEAST(99, 0, 0) && KE_VERSION_AT_LEAST(0, 0, 0));
}

}  // namespace
