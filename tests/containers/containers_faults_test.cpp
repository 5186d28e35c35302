// Fails every allocation of the containers once: the status is right, the state is unchanged, and nothing
// leaks.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "support/alloc_faults.h"

namespace {

void* number(uintptr_t value) {
    return reinterpret_cast<void*>(value);
}

TEST(VectorFaults, New) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        faults.arm();
        wiq_vector* vec = wiq_vector_new(sizeof(int), 3, nullptr, nullptr);
        faults.disarm();
        EXPECT_EQ(vec == nullptr, faults.fired());
        wiq_vector_delete(vec);
    });
    EXPECT_EQ(points, 4u);
}

TEST(VectorFaults, InitResizePushAndCapacity) {
    SweepAllocations([](AllocFaults& faults) {
        wiq_vector vec;
        faults.arm();
        const i32 status = wiq_vector_init(&vec, sizeof(int), 3, nullptr, nullptr);
        faults.disarm();
        EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        wiq_vector_finalize(&vec);
    });
    SweepAllocations([](AllocFaults& faults) {
        wiq_vector vec;
        ASSERT_EQ(wiq_vector_init(&vec, sizeof(int), 2, nullptr, nullptr), 0);
        const wiq_vector before = vec;
        faults.arm();
        const i32 grown = wiq_vector_resize(&vec, 10);
        const void* pushed = grown == 0 ? wiq_vector_get(&vec, 9) : wiq_vector_push(&vec);
        faults.disarm();
        if (faults.fired()) {
            EXPECT_EQ(grown, WIQ_ERR_NO_MEMORY);
            if (faults.mode() == AllocFaults::kPersistent) {
                EXPECT_EQ(pushed, nullptr);
                EXPECT_EQ(memcmp(&vec, &before, sizeof(vec)), 0);
            }
        }
        wiq_vector_finalize(&vec);
    });
    SweepAllocations([](AllocFaults& faults) {
        wiq_vector vec;
        ASSERT_EQ(wiq_vector_init(&vec, sizeof(int), 2, nullptr, nullptr), 0);
        const wiq_vector before = vec;
        faults.arm();
        const i32 status = wiq_vector_extra_capacity(&vec, 100);
        faults.disarm();
        EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        if (faults.fired()) {
            EXPECT_EQ(memcmp(&vec, &before, sizeof(vec)), 0);
        }
        wiq_vector_finalize(&vec);
    });
}

TEST(MapFaults, NewAndInit) {
    SweepAllocations([](AllocFaults& faults) {
        faults.arm();
        wiq_map* map = wiq_map_new(5, wiq_hash_int, wiq_cmp_int, nullptr, nullptr);
        faults.disarm();
        EXPECT_EQ(map == nullptr, faults.fired());
        if (map != nullptr)
            wiq_map_delete(map);
    });
    SweepAllocations([](AllocFaults& faults) {
        faults.arm();
        wiq_safe_map* map = wiq_safe_map_new(5, wiq_hash_int, wiq_cmp_int, nullptr, nullptr);
        faults.disarm();
        EXPECT_EQ(map == nullptr, faults.fired());
        if (map != nullptr)
            wiq_safe_map_delete(map);
    });
}

TEST(MapFaults, FailureToMakeALock) {
    const long before = live_blocks();
    g_fail_mutex_init = true;
    wiq_safe_map map;
    EXPECT_EQ(wiq_safe_map_init(&map, 0, wiq_hash_int, wiq_cmp_int, nullptr, nullptr),
              WIQ_ERR_LOCK_INIT);
    EXPECT_EQ(wiq_safe_map_new(0, wiq_hash_int, wiq_cmp_int, nullptr, nullptr), nullptr);
    g_fail_mutex_init = false;
    EXPECT_EQ(live_blocks(), before);
}

// The seventh entry makes this map grow: first the entry's own allocation fails, then that of the buckets.
TEST(MapFaults, PutKeepsTheMapValid) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        wiq_map map;
        ASSERT_EQ(wiq_map_init(&map, 3, wiq_hash_int, wiq_cmp_int, nullptr, nullptr), 0);
        for (uintptr_t key = 1; key <= 6; ++key)
            ASSERT_EQ(wiq_map_put(&map, number(key), number(key)), 0);
        faults.arm();
        const i32 status = wiq_map_put(&map, number(7), number(7));
        faults.disarm();
        EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        // If the entry cannot be allocated, nothing is stored; if the larger table cannot, the entry is
        // stored all the same.
        const bool stored = faults.nth() != 1;
        EXPECT_EQ(wiq_map_size(&map), stored ? 7u : 6u);
        EXPECT_EQ(wiq_map_get(&map, number(7)), stored ? number(7) : nullptr);
        EXPECT_EQ(map.bucket_count, faults.fired() ? 8u : 16u);
        for (uintptr_t key = 1; key <= 6; ++key)
            EXPECT_EQ(wiq_map_get(&map, number(key)), number(key));
        wiq_map_finalize(&map);
    });
    EXPECT_EQ(points, 4u);
}

TEST(MapFaults, MemoizeReturnsTheValueUnstored) {
    SweepAllocations([](AllocFaults& faults) {
        wiq_map map;
        ASSERT_EQ(wiq_map_init(&map, 0, wiq_hash_int, wiq_cmp_int, nullptr, nullptr), 0);
        i32 status = 1;
        faults.arm();
        void* value = wiq_map_memoize(
            &map, number(1), [](const void*, void*, i32*) { return number(10); }, nullptr, &status);
        faults.disarm();
        EXPECT_EQ(value, number(10));
        EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        EXPECT_EQ(wiq_map_size(&map), faults.nth() == 1 ? 0u : 1u);
        wiq_map_finalize(&map);
    });
}

// Sweeps an operation on a buffer that holds "abc" and has no room left.
void sweep_strbuf(const char* name, i32 (*operate)(wiq_strbuf* buf)) {
    SCOPED_TRACE(name);
    const size_t points = SweepAllocations([operate](AllocFaults& faults) {
        wiq_strbuf buf;
        ASSERT_EQ(wiq_strbuf_init(&buf, 4), 0);
        wiq_strbuf_write(&buf, "abc", 3);
        const wiq_strbuf before = buf;
        faults.arm();
        const i32 result = operate(&buf);
        faults.disarm();
        if (faults.fired()) {
            EXPECT_EQ(result, WIQ_ERR_NO_MEMORY);
            EXPECT_EQ(memcmp(&buf, &before, sizeof(buf)), 0);
            EXPECT_STREQ(buf.data, "abc");
        } else {
            EXPECT_GE(result, 0);
        }
        wiq_strbuf_finalize(&buf);
    });
    EXPECT_EQ(points, 2u);
}

TEST(StrbufFaults, FailedAppendsLeaveTheTextUnchanged) {
    sweep_strbuf("putc", [](wiq_strbuf* buf) { return wiq_strbuf_putc(buf, 'd'); });
    sweep_strbuf("write", [](wiq_strbuf* buf) { return wiq_strbuf_write(buf, "def", 3); });
    sweep_strbuf("printf", [](wiq_strbuf* buf) { return wiq_strbuf_printf(buf, "%d", 12345); });
    sweep_strbuf("printhex", [](wiq_strbuf* buf) { return wiq_strbuf_printhex(buf, "ab", 2); });
    sweep_strbuf("extra", [](wiq_strbuf* buf) { return wiq_strbuf_extra_capacity(buf, 100); });
}

TEST(StrbufFaults, ResettingFormsFailAfterTheReset) {
    SweepAllocations([](AllocFaults& faults) {
        wiq_strbuf buf;
        ASSERT_EQ(wiq_strbuf_init(&buf, 4), 0);
        wiq_strbuf_write(&buf, "abc", 3);
        faults.arm();
        const i32 result = wiq_strbuf_struct_str(&buf, "abcdefgh", 8, false);
        faults.disarm();
        EXPECT_EQ(result, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        EXPECT_STREQ(buf.data, faults.fired() ? "" : "abcdefgh");
        wiq_strbuf_finalize(&buf);
    });
}

TEST(StrbufFaults, InitAndRelease) {
    SweepAllocations([](AllocFaults& faults) {
        wiq_strbuf buf;
        faults.arm();
        const i32 status = wiq_strbuf_init(&buf, 0);
        faults.disarm();
        EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        EXPECT_EQ(buf.data == nullptr, faults.fired());
        wiq_strbuf_finalize(&buf);
    });
    SweepAllocations([](AllocFaults& faults) {
        wiq_strbuf buf;
        ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
        wiq_strbuf_write(&buf, "abc", 3);
        faults.arm();
        char* text = wiq_strbuf_release(&buf);
        faults.disarm();
        EXPECT_EQ(text == nullptr, faults.fired());
        EXPECT_STREQ(faults.fired() ? buf.data : text, "abc");
        free(text);
        wiq_strbuf_finalize(&buf);
    });
}

TEST(StrvFaults, PushKeepsTheSlot) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        wiq_strv strv;
        ASSERT_EQ(wiq_strv_init(&strv), 0);
        faults.arm();
        const i32 status = wiq_strv_push(&strv, "text");
        faults.disarm();
        EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        // If there is no room for the slot, nothing is added; if the copy cannot be allocated, the slot holds
        // NULL.
        ASSERT_EQ(strv.size, faults.nth() == 1 && faults.fired() ? 0 : 1);
        if (strv.size == 1) {
            EXPECT_STREQ(wiq_strv_get(&strv, 0), faults.fired() ? nullptr : "text");
        }
        wiq_strv_finalize(&strv);
    });
    EXPECT_EQ(points, 4u);
    SweepAllocations([](AllocFaults& faults) {
        wiq_strv strv;
        ASSERT_EQ(wiq_strv_init(&strv), 0);
        faults.arm();
        const i32 length = wiq_strv_pushf(&strv, "%d", 12);
        faults.disarm();
        EXPECT_EQ(length, faults.fired() ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : 2);
        wiq_strv_finalize(&strv);
    });
}

// A text that grows between the first and the second attempt to format it.
char g_growing[1100];

TEST(StrbufFaults, ATextThatChangesWhileItIsFormatted) {
    wiq_strbuf buf;
    ASSERT_EQ(wiq_strbuf_init(&buf, 64), 0);
    ASSERT_EQ(wiq_strbuf_write(&buf, "old", 3), 3);
    memset(g_growing, 'a', 1000);
    g_growing[1000] = '\0';
    AllocFaults faults(SIZE_MAX, AllocFaults::kTransient);
    g_on_allocation = [] { memset(g_growing + 1000, 'b', 50); };
    faults.arm();
    const i32 result = wiq_strbuf_printf(&buf, "%s", g_growing);
    faults.disarm();
    g_on_allocation = nullptr;
    EXPECT_EQ(result, WIQ_ERR_FAILED);
    EXPECT_EQ(buf.len, 3u + 1000) << "counted all the same";
    EXPECT_EQ(buf.data[buf.len], '\0');
    EXPECT_EQ(std::string(buf.data, 100), "old" + std::string(97, 'a'));
    EXPECT_EQ(buf.capacity, 3u + 1000 + 1);
    wiq_strbuf_finalize(&buf);
}

}  // namespace
