// Formatted strings when allocations fail: the statuses, and who owns the old block.
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "support/alloc_faults.h"
#include "support/pch.h"

namespace {

TEST(FormatFaults, FreshString) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        char text[] = "before";
        char* out = text;
        faults.arm();
        const i32 result = wiq_asprintf(&out, "%d-%s", 5, "abc");
        faults.disarm();
        if (faults.fired()) {
            EXPECT_EQ(result, WIQ_ERR_NO_MEMORY);
            EXPECT_EQ(out, nullptr);
        } else {
            EXPECT_EQ(result, 5);
            EXPECT_STREQ(out, "5-abc");
        }
        free(out);
    });
    EXPECT_EQ(points, 2u);
}

// Runs `append` on a block containing "old" that must grow to hold `expected`.
template <class Append>
void sweep_block(Append append, const char* expected, i32 result_expected) {
    const size_t points = SweepAllocations([&](AllocFaults& faults) {
        char* block = nullptr;
        u64 size = 0;
        ASSERT_EQ(wiq_rastrcat(&block, &size, "old"), 3);
        char* old = block;
        faults.arm();
        const i32 result = append(&block, &size);
        faults.disarm();
        EXPECT_EQ(size, strlen(expected) + 1);
        if (faults.fired()) {
            EXPECT_EQ(result, WIQ_ERR_NO_MEMORY);
            EXPECT_EQ(block, nullptr);
            EXPECT_STREQ(old, "old") << "released although the caller still owns it";
            free(old);
        } else {
            EXPECT_EQ(result, result_expected);
            EXPECT_STREQ(block, expected);
        }
        free(block);
    });
    EXPECT_EQ(points, 2u);
}

TEST(FormatFaults, Overwrite) {
    sweep_block([](char** block, u64* size) { return wiq_rasprintf(block, size, "%s", "longer"); },
                "longer", 6);
}

// Even a block in which the text fits exactly is reallocated, with the same size.
TEST(FormatFaults, OverwriteOfABlockThatTheTextFills) {
    for (const auto& [size, expected_points] : {std::pair<u64, size_t>{10, 2}, {11, 0}}) {
        const size_t points = SweepAllocations([size = size](AllocFaults& faults) {
            char* block = static_cast<char*>(malloc(size));
            char* old = block;
            u64 after = size;
            faults.arm();
            const i32 result = wiq_rasprintf(&block, &after, "%s", "123456789");
            faults.disarm();
            EXPECT_EQ(after, size);
            EXPECT_EQ(result, faults.fired() ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : 9);
            EXPECT_EQ(block == nullptr, faults.fired());
            free(faults.fired() ? old : block);
        });
        EXPECT_EQ(points, expected_points) << size;
    }
}

TEST(FormatFaults, LongTexts) {
    const std::string text(600, 't');
    sweep_block(
        [&](char** block, u64* size) { return wiq_rasprintf(block, size, "%s", text.c_str()); },
        text.c_str(), 600);
    sweep_block(
        [&](char** block, u64* size) { return wiq_rapsprintf(block, size, "%s", text.c_str()); },
        ("old" + text).c_str(), 600);
    const size_t points = SweepAllocations([&](AllocFaults& faults) {
        char* out = nullptr;
        faults.arm();
        const i32 result = wiq_asprintf(&out, "%s", text.c_str());
        faults.disarm();
        EXPECT_EQ(result, faults.fired() ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : 600);
        EXPECT_EQ(out == nullptr, faults.fired());
        EXPECT_TRUE(out == nullptr || text == out);
        free(out);
    });
    EXPECT_EQ(points, 2u);
}

TEST(FormatFaults, AppendFormatted) {
    sweep_block([](char** block, u64* size) { return wiq_rapsprintf(block, size, "+%d", 42); },
                "old+42", 3);
}

TEST(FormatFaults, AppendString) {
    sweep_block([](char** block, u64* size) { return wiq_rastrcat(block, size, "new"); }, "oldnew",
                3);
}

}  // namespace

namespace {

i32 print_list(char** block, u64* size, i32 (*print)(char**, u64*, const char*, va_list),
               const char* format, ...) {
    va_list args;
    va_start(args, format);
    const i32 result = print(block, size, format, args);
    va_end(args);
    return result;
}

TEST(FormatFaults, ArgumentLists) {
    using Print = i32 (*)(char**, u64*, const char*, va_list);
    const Print prints[] = {
        [](char** block, u64*, const char* format, va_list args) {
            return wiq_vasprintf(block, format, args);
        },
        wiq_vrasprintf,
    };
    for (const Print print : prints) {
        const size_t points = SweepAllocations([print](AllocFaults& faults) {
            char* block = nullptr;
            u64 size = 0;
            faults.arm();
            const i32 result = print_list(&block, &size, print, "%d-%s", 5, "abc");
            faults.disarm();
            EXPECT_EQ(result, faults.fired() ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : 5);
            EXPECT_EQ(block == nullptr, faults.fired());
            free(block);
        });
        EXPECT_EQ(points, 2u);
    }
}

}  // namespace
