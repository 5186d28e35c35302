// Each operation of the locked map holds the lock: another thread sees this while the operation is in one of
// its callbacks, and the operation waits for a thread that holds the lock.
#include <gtest/gtest.h>
#include <uv.h>

#include <atomic>
#include <string>
#include <thread>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "os/mutex.h"

namespace {

wiq_safe_map* g_map;
bool g_watching;
int g_looks;

void* number(uintptr_t value) {
    return reinterpret_cast<void*>(value);
}

bool another_thread_gets_the_lock() {
    int result = -1;
    std::thread other([&result] {
        result = uv_mutex_trylock(ke::os::uv_mutex(&g_map->lock));
        if (result == 0)
            uv_mutex_unlock(ke::os::uv_mutex(&g_map->lock));
    });
    other.join();
    return result == 0;
}

void look() {
    if (!g_watching)
        return;
    ++g_looks;
    EXPECT_FALSE(another_thread_gets_the_lock());
}

u32 watched_hash(const void*) {
    look();
    return 5;
}
bool watched_cmp(const void* a, const void* b) {
    look();
    return a == b;
}
void watched_free(void*) {
    look();
}
void* watched_factory(const void*, void*, i32*) {
    look();
    return number(1);
}
bool watched_visit(void*, void*, void*) {
    look();
    return true;
}

struct Operation {
    const char* name;
    int looks;  // number of callback calls
    void (*run)(wiq_safe_map* map);
    bool destroys;
};

// The map holds 1 and 2, in one chain.
const Operation kOperations[] = {
    {"put of a new key", 3, [](wiq_safe_map* map) { wiq_safe_map_put(map, number(3), number(1)); },
     false},
    {"put", 3, [](wiq_safe_map* map) { wiq_safe_map_put(map, number(2), number(1)); }, false},
    {"replace", 2,
     [](wiq_safe_map* map) {
         void* old = nullptr;
         wiq_safe_map_replace(map, number(2), number(1), &old);
     },
     false},
    {"memoize", 6,
     [](wiq_safe_map* map) {
         wiq_safe_map_memoize(map, number(3), watched_factory, nullptr, nullptr);
     },
     false},
    {"get", 2, [](wiq_safe_map* map) { wiq_safe_map_get(map, number(2)); }, false},
    {"test_key", 3, [](wiq_safe_map* map) { wiq_safe_map_test_key(map, number(3)); }, false},
    {"remove", 3, [](wiq_safe_map* map) { wiq_safe_map_remove(map, number(1)); }, false},
    {"foreach", 2, [](wiq_safe_map* map) { wiq_safe_map_foreach(map, watched_visit, nullptr); },
     false},
    {"delete", 4, [](wiq_safe_map* map) { wiq_safe_map_delete(map); }, true},
};

wiq_safe_map* new_watched_map() {
    g_watching = false;
    g_map = wiq_safe_map_new(8, watched_hash, watched_cmp, watched_free, watched_free);
    wiq_safe_map_put(g_map, number(1), number(1));
    wiq_safe_map_put(g_map, number(2), number(1));
    return g_map;
}

TEST(SafeMapLockThreads, IsHeldInEveryCallback) {
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.name);
        wiq_safe_map* map = new_watched_map();
        EXPECT_TRUE(another_thread_gets_the_lock());
        g_watching = true;
        g_looks = 0;
        operation.run(map);
        g_watching = false;
        EXPECT_EQ(g_looks, operation.looks);
        if (!operation.destroys) {
            EXPECT_TRUE(another_thread_gets_the_lock()) << "and free again afterwards";
            wiq_safe_map_delete(map);
        }
    }
    wiq_safe_map map;
    ASSERT_EQ(wiq_safe_map_init(&map, 0, watched_hash, watched_cmp, watched_free, watched_free), 0);
    g_map = &map;
    wiq_safe_map_put(&map, number(1), number(1));
    g_watching = true;
    g_looks = 0;
    EXPECT_EQ(wiq_safe_map_finalize(&map), 0);
    g_watching = false;
    EXPECT_EQ(g_looks, 2);
}

// The only operation without a callback, and all the others again: none of them returns while another thread
// holds the lock.
TEST(SafeMapLockThreads, IsWaitedFor) {
    using Operate = void (*)(wiq_safe_map*);
    for (const Operate run :
         {Operate{[](wiq_safe_map* map) { wiq_safe_map_put(map, number(3), number(1)); }},
          Operate{
              [](wiq_safe_map* map) { wiq_safe_map_replace(map, number(2), number(1), nullptr); }},
          Operate{[](wiq_safe_map* map) {
              wiq_safe_map_memoize(map, number(2), watched_factory, nullptr, nullptr);
          }},
          Operate{[](wiq_safe_map* map) { wiq_safe_map_get(map, number(2)); }},
          Operate{[](wiq_safe_map* map) { wiq_safe_map_test_key(map, number(2)); }},
          Operate{[](wiq_safe_map* map) { wiq_safe_map_remove(map, number(2)); }},
          Operate{[](wiq_safe_map* map) { wiq_safe_map_size(map); }},
          Operate{[](wiq_safe_map* map) { wiq_safe_map_foreach(map, watched_visit, nullptr); }}}) {
        wiq_safe_map* map = new_watched_map();
        std::atomic<bool> started{false};
        std::atomic<bool> ended{false};
        uv_mutex_lock(ke::os::uv_mutex(&map->lock));
        std::thread other([&] {
            started = true;
            run(map);
            ended = true;
        });
        while (!started)
            std::this_thread::yield();
        wiq_sleep_real(30);
        EXPECT_FALSE(ended);
        uv_mutex_unlock(ke::os::uv_mutex(&map->lock));
        other.join();
        EXPECT_TRUE(ended);
        wiq_safe_map_delete(map);
    }
}

}  // namespace
