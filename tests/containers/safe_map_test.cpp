// Tests of the locked map: each operation does what that of the plain map does, on one thread and on many.
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <thread>
#include <vector>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "support/start_line.h"

namespace {

void* number(uintptr_t value) {
    return reinterpret_cast<void*>(value);
}

wiq_safe_map* new_map() {
    return wiq_safe_map_new(0, wiq_hash_int, wiq_cmp_int, nullptr, nullptr);
}

TEST(SafeMap, RecordLayout) {
    EXPECT_EQ(offsetof(wiq_safe_map, lock), 0u);
    EXPECT_EQ(offsetof(wiq_safe_map, map), sizeof(wiq_mutex));
}

TEST(SafeMap, OperationsOfThePlainMap) {
    wiq_safe_map map;
    ASSERT_EQ(wiq_safe_map_init(&map, 3, wiq_hash_int, wiq_cmp_int, nullptr, nullptr), 0);
    EXPECT_EQ(map.map.bucket_count, 8u);
    EXPECT_EQ(wiq_safe_map_put(&map, number(1), number(10)), 0);
    EXPECT_EQ(wiq_safe_map_get(&map, number(1)), number(10));
    EXPECT_TRUE(wiq_safe_map_test_key(&map, number(1)));
    EXPECT_FALSE(wiq_safe_map_test_key(&map, number(2)));
    void* old = nullptr;
    EXPECT_EQ(wiq_safe_map_replace(&map, number(1), number(11), &old), 0);
    EXPECT_EQ(old, number(10));
    EXPECT_EQ(wiq_safe_map_size(&map), 1u);
    i32 status = 1;
    const auto factory = [](const void*, void* user, i32*) { return user; };
    EXPECT_EQ(wiq_safe_map_memoize(&map, number(2), factory, number(20), &status), number(20));
    EXPECT_EQ(status, 0);
    int visits = 0;
    wiq_safe_map_foreach(
        &map,
        [](void*, void*, void* user) {
            ++*static_cast<int*>(user);
            return true;
        },
        &visits);
    EXPECT_EQ(visits, 2);
    EXPECT_EQ(wiq_safe_map_remove(&map, number(1)), number(11));
    EXPECT_EQ(wiq_safe_map_remove(&map, number(1)), nullptr);
    EXPECT_EQ(wiq_safe_map_finalize(&map), 0);
    ASSERT_EQ(wiq_safe_map_init(&map, 0, wiq_hash_int, wiq_cmp_int, nullptr, nullptr), 0);
    EXPECT_EQ(wiq_safe_map_finalize(&map), 0);
}

TEST(SafeMap, InitRefusesBadArguments) {
    wiq_safe_map map;
    EXPECT_EQ(wiq_safe_map_init(nullptr, 0, wiq_hash_int, wiq_cmp_int, nullptr, nullptr),
              WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_safe_map_init(&map, 0, nullptr, wiq_cmp_int, nullptr, nullptr),
              WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_safe_map_new(0, nullptr, wiq_cmp_int, nullptr, nullptr), nullptr);
    EXPECT_EQ(wiq_safe_map_init(&map, UINT64_MAX / 8, wiq_hash_int, wiq_cmp_int, nullptr, nullptr),
              WIQ_ERR_NO_MEMORY);
}

TEST(SafeMap, ACallbackMayEnterTheMapAgain) {
    wiq_safe_map* map = new_map();
    ASSERT_NE(map, nullptr);
    wiq_safe_map_put(map, number(1), number(10));
    wiq_safe_map_foreach(
        map,
        [](void* key, void* value, void* user) {
            auto* self = static_cast<wiq_safe_map*>(user);
            EXPECT_EQ(wiq_safe_map_get(self, key), value);
            EXPECT_EQ(wiq_safe_map_size(self), 1u);
            return true;
        },
        map);
    wiq_safe_map_delete(map);
}

TEST(SafeMapThreads, MemoizeMakesOnceForAllThreads) {
    wiq_safe_map* map = new_map();
    std::atomic<int> calls{0};
    std::vector<std::thread> threads;
    std::vector<void*> seen(8);
    for (size_t i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            const auto factory = [](const void*, void* user, i32*) {
                ++*static_cast<std::atomic<int>*>(user);
                return user;
            };
            seen[i] = wiq_safe_map_memoize(map, number(1), factory, &calls, nullptr);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(calls, 1);
    for (void* value : seen)
        EXPECT_EQ(value, &calls);
    wiq_safe_map_delete(map);
}

TEST(SafeMapThreads, SizeIsNeverTorn) {
    wiq_safe_map* map = new_map();
    constexpr u64 kEach = 500;
    std::vector<std::thread> threads;
    for (u64 i = 0; i < 8; ++i) {
        threads.emplace_back([map, i] {
            u64 last = 0;
            for (u64 k = 1; k <= kEach; ++k) {
                EXPECT_EQ(wiq_safe_map_put(map, number(i * kEach + k), number(k)), 0);
                const u64 size = wiq_safe_map_size(map);
                EXPECT_GT(size, last) << "while nothing is removed, the size only grows";
                EXPECT_LE(size, 8 * kEach);
                last = size;
                EXPECT_EQ(wiq_safe_map_get(map, number(i * kEach + k)), number(k));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wiq_safe_map_size(map), 8 * kEach);
    wiq_safe_map_delete(map);
}

// Runs each operation next to a thread that changes the map all the time: without the lock, ThreadSanitizer
// would report a race, since nothing else orders the two threads. The number of the writer's rounds is
// limited, because a mutex need not be fair.
TEST(SafeMapThreads, EachOperationBesideAWriter) {
    using Operation = void (*)(wiq_safe_map*, uintptr_t);
    constexpr uintptr_t kRounds = 5000;
    constexpr uintptr_t kMaxRounds = 20 * kRounds;
    const auto visit = [](void*, void*, void*) { return true; };
    static const wiq_map_foreach_fn visit_all = visit;
    const Operation operations[] = {
        [](wiq_safe_map* map, uintptr_t i) { wiq_safe_map_put(map, number(i % 8), number(i)); },
        [](wiq_safe_map* map, uintptr_t i) {
            void* old = nullptr;
            wiq_safe_map_replace(map, number(i % 8), number(i), &old);
        },
        [](wiq_safe_map* map, uintptr_t i) {
            const auto factory = [](const void*, void* user, i32*) { return user; };
            wiq_safe_map_memoize(map, number(i % 8), factory, number(i), nullptr);
        },
        [](wiq_safe_map* map, uintptr_t i) { wiq_safe_map_get(map, number(i % 8)); },
        [](wiq_safe_map* map, uintptr_t i) { wiq_safe_map_test_key(map, number(i % 8)); },
        [](wiq_safe_map* map, uintptr_t i) { wiq_safe_map_remove(map, number(i % 8)); },
        [](wiq_safe_map* map, uintptr_t) { wiq_safe_map_size(map); },
        [](wiq_safe_map* map, uintptr_t) { wiq_safe_map_foreach(map, visit_all, nullptr); },
    };
    for (const Operation operation : operations) {
        wiq_safe_map* map = new_map();
        ASSERT_NE(map, nullptr);
        StartLine start(2);
        std::atomic<bool> done{false};
        std::thread writer([&] {
            start.arrive_and_wait();
            for (uintptr_t i = 0;
                 i < kRounds || (i < kMaxRounds && !done.load(std::memory_order_relaxed)); ++i) {
                wiq_safe_map_put(map, number(i % 8), number(i));
                wiq_safe_map_remove(map, number((i + 4) % 8));
            }
        });
        std::thread other([&] {
            start.arrive_and_wait();
            for (uintptr_t i = 0; i < kRounds; ++i)
                operation(map, i);
            done.store(true, std::memory_order_relaxed);
        });
        writer.join();
        other.join();
        EXPECT_LE(wiq_safe_map_size(map), 8u);
        wiq_safe_map_delete(map);
    }
}

}  // namespace
