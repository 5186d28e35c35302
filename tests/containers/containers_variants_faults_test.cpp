// The variants of the containers' functions when allocations fail: each returns what the basic function
// returns.
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <string>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "support/alloc_faults.h"

namespace {

void* number(uintptr_t value) {
    return reinterpret_cast<void*>(value);
}

TEST(MapFaults, ReplaceLeavesTheMapUnchanged) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        wiq_map map;
        ASSERT_EQ(wiq_map_init(&map, 4, wiq_hash_int, wiq_cmp_int, nullptr, nullptr), 0);
        void* old = number(9);
        faults.arm();
        const i32 status = wiq_map_replace(&map, number(1), number(2), &old);
        faults.disarm();
        EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        EXPECT_EQ(old, nullptr);
        EXPECT_EQ(wiq_map_size(&map), faults.fired() ? 0u : 1u);
        wiq_map_finalize(&map);
    });
    EXPECT_EQ(points, 2u);
}

TEST(SafeMapFaults, PutReplaceAndMemoize) {
    using Store = i32 (*)(wiq_safe_map*);
    const Store stores[] = {
        [](wiq_safe_map* map) { return wiq_safe_map_put(map, number(1), number(2)); },
        [](wiq_safe_map* map) { return wiq_safe_map_replace(map, number(1), number(2), nullptr); },
        [](wiq_safe_map* map) {
            i32 status = 9;
            wiq_safe_map_memoize(
                map, number(1), [](const void*, void*, i32*) { return number(2); }, nullptr,
                &status);
            return status;
        },
    };
    for (const Store store : stores) {
        const size_t points = SweepAllocations([store](AllocFaults& faults) {
            wiq_safe_map map;
            ASSERT_EQ(wiq_safe_map_init(&map, 4, wiq_hash_int, wiq_cmp_int, nullptr, nullptr), 0);
            faults.arm();
            const i32 status = store(&map);
            faults.disarm();
            EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
            EXPECT_EQ(wiq_safe_map_size(&map), faults.fired() ? 0u : 1u);
            // The lock has been released.
            EXPECT_EQ(wiq_safe_map_put(&map, number(3), number(4)), 0);
            wiq_safe_map_finalize(&map);
        });
        EXPECT_EQ(points, 2u);
    }
}

i32 print_list(wiq_strbuf* buf, i32 (*print)(wiq_strbuf*, const char*, va_list), const char* format,
               ...) {
    va_list args;
    va_start(args, format);
    const i32 result = print(buf, format, args);
    va_end(args);
    return result;
}

// Longer than the buffer of the first formatting attempt.
TEST(StrbufFaults, PrintfOfALongText) {
    static const std::string text(5000, 'x');
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        wiq_strbuf buf;
        ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
        ASSERT_EQ(wiq_strbuf_write(&buf, "before", 6), 6);
        const wiq_strbuf before = buf;
        faults.arm();
        const i32 result = wiq_strbuf_printf(&buf, "%s", text.c_str());
        faults.disarm();
        EXPECT_EQ(result, faults.fired() ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : 5000);
        EXPECT_EQ(std::string(buf.data, buf.len), faults.fired() ? "before" : "before" + text);
        if (faults.fired()) {
            EXPECT_EQ(buf.data, before.data);
            EXPECT_EQ(buf.capacity, before.capacity);
        }
        wiq_strbuf_finalize(&buf);
    });
    EXPECT_GE(points, 1u);
}

TEST(StrbufFaults, Variants) {
    static const std::string text(300, 'x');
    using Append = i32 (*)(wiq_strbuf*);
    const Append appends[] = {
        [](wiq_strbuf* buf) { return wiq_strbuf_rwrite(buf, text.data(), text.size()); },
        [](wiq_strbuf* buf) { return wiq_strbuf_rprintf(buf, "%s", text.c_str()); },
        [](wiq_strbuf* buf) { return print_list(buf, wiq_strbuf_vprintf, "%s", text.c_str()); },
        [](wiq_strbuf* buf) { return print_list(buf, wiq_strbuf_rvprintf, "%s", text.c_str()); },
    };
    for (const Append append : appends) {
        const size_t points = SweepAllocations([append](AllocFaults& faults) {
            wiq_strbuf buf;
            ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
            faults.arm();
            const i32 result = append(&buf);
            faults.disarm();
            EXPECT_EQ(result, faults.fired() ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : 300);
            EXPECT_EQ(buf.len, faults.fired() ? 0u : 300u);
            wiq_strbuf_finalize(&buf);
        });
        EXPECT_GE(points, 2u);
    }
}

}  // namespace
