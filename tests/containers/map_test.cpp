// Tests of the hash map: every operation with its callbacks, sizes and growth, and the order of a walk
// compared with a small model that follows the rules of chaining and growth one by one.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"

namespace {

std::vector<std::string> g_released;

void release_key(void* key) {
    g_released.push_back(std::string("key ") + static_cast<char*>(key));
}

void release_value(void* value) {
    g_released.push_back(std::string("value ") + static_cast<char*>(value));
}

char* text(const char* literal) {
    return const_cast<char*>(literal);
}

using Log = std::vector<std::string>;

class Map : public testing::Test {
  protected:
    void SetUp() override {
        g_released.clear();
        ASSERT_EQ(wiq_map_init(&map_, 0, wiq_hash_str, wiq_cmp_str, release_key, release_value), 0);
    }
    void TearDown() override { wiq_map_finalize(&map_); }

    wiq_map map_;
};

TEST_F(Map, RecordLayout) {
    EXPECT_EQ(offsetof(wiq_map, buckets), 0u);
    EXPECT_EQ(offsetof(wiq_map, bucket_count), 8u);
    EXPECT_EQ(offsetof(wiq_map, hash), 16u);
    EXPECT_EQ(offsetof(wiq_map, cmp), 24u);
    EXPECT_EQ(offsetof(wiq_map, key_free), 32u);
    EXPECT_EQ(offsetof(wiq_map, value_free), 40u);
    EXPECT_EQ(offsetof(wiq_map, size), 48u);
    EXPECT_EQ(offsetof(wiq_map, refcount), 56u);
    EXPECT_EQ(sizeof(wiq_map), 64u);
    EXPECT_EQ(offsetof(wiq_map_entry, key), 0u);
    EXPECT_EQ(offsetof(wiq_map_entry, hash), 8u);
    EXPECT_EQ(offsetof(wiq_map_entry, value), 16u);
    EXPECT_EQ(offsetof(wiq_map_entry, next), 24u);
}

TEST_F(Map, InitialBuckets) {
    struct Row {
        u64 capacity, buckets;
    };
    for (const Row& row : {Row{0, 1}, Row{1, 2}, Row{2, 4}, Row{3, 8}, Row{5, 8}, Row{6, 16},
                           Row{12, 32}, Row{100, 256}, Row{1000, 2048}}) {
        wiq_map map;
        ASSERT_EQ(wiq_map_init(&map, row.capacity, wiq_hash_int, wiq_cmp_int, nullptr, nullptr), 0);
        EXPECT_EQ(map.bucket_count, row.buckets) << row.capacity;
        EXPECT_EQ(wiq_map_capacity(&map), row.buckets * 3 / 4);
        EXPECT_EQ(map.size, 0u);
        EXPECT_EQ(map.refcount, 1);
        wiq_map_finalize(&map);
    }
}

TEST_F(Map, InitRefusesBadArguments) {
    wiq_map map;
    EXPECT_EQ(wiq_map_init(nullptr, 0, wiq_hash_int, wiq_cmp_int, nullptr, nullptr),
              WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_map_init(&map, 0, nullptr, wiq_cmp_int, nullptr, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_map_init(&map, 0, wiq_hash_int, nullptr, nullptr, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_map_new(0, nullptr, wiq_cmp_int, nullptr, nullptr), nullptr);
    EXPECT_EQ(wiq_map_init(&map, UINT64_MAX / 8, wiq_hash_int, wiq_cmp_int, nullptr, nullptr),
              WIQ_ERR_NO_MEMORY);
}

TEST_F(Map, ARecordWhoseInitFailedMayBeInitialisedAgain) {
    wiq_map map;
    EXPECT_EQ(wiq_map_init(&map, UINT64_MAX / 8, wiq_hash_int, wiq_cmp_int, nullptr, nullptr),
              WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(wiq_map_init(&map, 0, wiq_hash_int, wiq_cmp_int, nullptr, nullptr), 0);
    EXPECT_EQ(wiq_map_finalize(&map), 0);
}

TEST_F(Map, PutOfTheSameKeyPointerReleasesTheOldValueOnly) {
    char* key = text("k");
    EXPECT_EQ(wiq_map_put(&map_, key, text("a")), 0);
    EXPECT_EQ(wiq_map_put(&map_, key, text("b")), 0);
    EXPECT_EQ(g_released, (Log{"value a"}));
    EXPECT_STREQ(static_cast<char*>(wiq_map_get(&map_, "k")), "b");
    EXPECT_EQ(wiq_map_size(&map_), 1u);
}

TEST_F(Map, PutOfAnEqualKeyKeepsTheNewOne) {
    static char first[] = "k";  // static, because the map outlives this function
    static char second[] = "k";
    EXPECT_EQ(wiq_map_put(&map_, first, text("a")), 0);
    EXPECT_EQ(wiq_map_put(&map_, second, text("b")), 0);
    EXPECT_EQ(g_released, (Log{"value a", "key k"}));
    wiq_map_foreach(
        &map_,
        [](void* key, void*, void* expected) {
            EXPECT_EQ(key, expected);
            return true;
        },
        second);
}

TEST_F(Map, ReplaceReturnsTheOldValue) {
    void* old = this;
    EXPECT_EQ(wiq_map_replace(&map_, text("k"), text("a"), &old), 0);
    EXPECT_EQ(old, nullptr);
    EXPECT_EQ(wiq_map_replace(&map_, text("k"), text("b"), &old), 0);
    EXPECT_STREQ(static_cast<char*>(old), "a");
    EXPECT_TRUE(g_released.empty() || g_released == Log{"key k"});
    EXPECT_EQ(wiq_map_size(&map_), 1u);
}

TEST_F(Map, GetAndTestKey) {
    EXPECT_EQ(wiq_map_get(&map_, "k"), nullptr);
    EXPECT_FALSE(wiq_map_test_key(&map_, "k"));
    wiq_map plain;
    ASSERT_EQ(wiq_map_init(&plain, 0, wiq_hash_str, wiq_cmp_str, nullptr, nullptr), 0);
    wiq_map_put(&plain, text("nothing"), nullptr);
    EXPECT_EQ(wiq_map_get(&plain, "nothing"), nullptr);
    EXPECT_TRUE(wiq_map_test_key(&plain, "nothing"));
    wiq_map_finalize(&plain);
}

TEST_F(Map, RemoveReleasesWhatTheMapOwns) {
    wiq_map_put(&map_, text("k"), text("v"));
    EXPECT_EQ(wiq_map_remove(&map_, "absent"), nullptr);
    EXPECT_EQ(wiq_map_remove(&map_, "k"), nullptr) << "a released value is not handed out";
    EXPECT_EQ(g_released, (Log{"key k", "value v"}));
    EXPECT_EQ(wiq_map_size(&map_), 0u);
}

TEST_F(Map, RemoveReturnsWhatTheMapDoesNotOwn) {
    wiq_map plain;
    ASSERT_EQ(wiq_map_init(&plain, 0, wiq_hash_str, wiq_cmp_str, release_key, nullptr), 0);
    wiq_map_put(&plain, text("k"), text("v"));
    EXPECT_STREQ(static_cast<char*>(wiq_map_remove(&plain, "k")), "v");
    EXPECT_EQ(g_released, (Log{"key k"}));
    EXPECT_EQ(wiq_map_remove(&plain, "k"), nullptr);
    wiq_map_finalize(&plain);
}

TEST_F(Map, RemoveAllKeepsTheBuckets) {
    for (const char* key : {"a", "b", "c", "d", "e"})
        wiq_map_put(&map_, text(key), text(key));
    const u64 buckets = map_.bucket_count;
    wiq_map_remove_all(&map_);
    EXPECT_EQ(map_.bucket_count, buckets);
    EXPECT_EQ(wiq_map_size(&map_), 0u);
    ASSERT_EQ(g_released.size(), 10u);
    for (size_t i = 0; i < 10; i += 2) {
        // Each entry's key is released immediately before its value.
        EXPECT_EQ(g_released[i].substr(0, 4), "key ");
        EXPECT_EQ(g_released[i].substr(4), g_released[i + 1].substr(6));
    }
    EXPECT_EQ(wiq_map_collisions(&map_), 0u);
    EXPECT_EQ(wiq_map_put(&map_, text("a"), text("again")), 0);
}

TEST_F(Map, ForeachStopsWhenTheCallbackReturnsFalse) {
    for (const char* key : {"a", "b", "c"})
        wiq_map_put(&map_, text(key), text(key));
    int visits = 0;
    wiq_map_foreach(
        &map_,
        [](void*, void*, void* user) {
            ++*static_cast<int*>(user);
            return false;
        },
        &visits);
    EXPECT_EQ(visits, 1);
}

TEST_F(Map, GrowsPastThreeQuarters) {
    wiq_map map;
    ASSERT_EQ(wiq_map_init(&map, 3, wiq_hash_int, wiq_cmp_int, nullptr, nullptr), 0);
    EXPECT_EQ(wiq_map_capacity(&map), 6u);
    for (uintptr_t key = 1; key <= 6; ++key)
        wiq_map_put(&map, reinterpret_cast<void*>(key), nullptr);
    EXPECT_EQ(map.bucket_count, 8u);
    wiq_map_put(&map, reinterpret_cast<void*>(7), nullptr);
    EXPECT_EQ(map.bucket_count, 16u);
    EXPECT_EQ(wiq_map_capacity(&map), 12u);
    for (uintptr_t key = 1; key <= 7; ++key)
        wiq_map_remove(&map, reinterpret_cast<void*>(key));
    EXPECT_EQ(map.bucket_count, 16u) << "it never shrinks";
    wiq_map_finalize(&map);
}

// --- Memoize -----------------------------------------------------------------------------------------

struct Factory {
    int calls = 0;
    i32 status = 0;
};

void* produce(const void*, void* user, i32* status) {
    auto* factory = static_cast<Factory*>(user);
    ++factory->calls;
    EXPECT_EQ(*status, 0);
    *status = factory->status;
    return text("made");
}

TEST_F(Map, MemoizeMakesOnce) {
    Factory factory;
    i32 status = 1;
    EXPECT_STREQ(static_cast<char*>(wiq_map_memoize(&map_, text("k"), produce, &factory, &status)),
                 "made");
    EXPECT_EQ(status, 0);
    status = 1;
    EXPECT_STREQ(static_cast<char*>(wiq_map_memoize(&map_, text("k"), produce, &factory, &status)),
                 "made");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(factory.calls, 1);
    EXPECT_NE(wiq_map_memoize(&map_, text("k"), produce, &factory, nullptr), nullptr);
    EXPECT_EQ(wiq_map_size(&map_), 1u);
}

TEST_F(Map, MemoizeStoresNothingWhenTheFactoryFails) {
    Factory factory;
    factory.status = -42;
    i32 status = 0;
    EXPECT_STREQ(static_cast<char*>(wiq_map_memoize(&map_, text("k"), produce, &factory, &status)),
                 "made");
    EXPECT_EQ(status, -42);
    EXPECT_EQ(wiq_map_size(&map_), 0u);
    EXPECT_FALSE(wiq_map_test_key(&map_, "k"));
}

// --- Equality and hashes -----------------------------------------------------------------------------

int g_compares;

bool counting_cmp(const void* a, const void* b) {
    ++g_compares;
    return wiq_cmp_str(a, b);
}

u32 one_bucket_hash(const void* key) {
    // Different hashes, all of which select bucket 0 of a small table.
    return static_cast<u32>(*static_cast<const u8*>(key)) << 24;
}

TEST_F(Map, ComparesOnlyEqualHashesAndNotThePointerItself) {
    wiq_map map;
    ASSERT_EQ(wiq_map_init(&map, 10, one_bucket_hash, counting_cmp, nullptr, nullptr), 0);
    char* a = text("a");
    wiq_map_put(&map, a, a);
    wiq_map_put(&map, text("b"), a);
    wiq_map_put(&map, text("c"), a);
    EXPECT_EQ(wiq_map_collisions(&map), 2u);
    g_compares = 0;
    EXPECT_NE(wiq_map_get(&map, a), nullptr);
    EXPECT_EQ(g_compares, 0) << "the very same pointer needs no comparison";
    char equal[] = "c";
    EXPECT_NE(wiq_map_get(&map, equal), nullptr);
    EXPECT_EQ(g_compares, 1) << "only the entry of the same hash is compared";
    EXPECT_EQ(wiq_map_get(&map, "z"), nullptr);
    EXPECT_EQ(g_compares, 1);
    wiq_map_finalize(&map);
}

TEST_F(Map, HighHashesFindTheirBucket) {
    wiq_map map;
    const auto hash = [](const void* key) {
        return static_cast<u32>(reinterpret_cast<uintptr_t>(key)) | 0x80000000u;
    };
    ASSERT_EQ(wiq_map_init(&map, 0, hash, wiq_cmp_int, nullptr, nullptr), 0);
    for (uintptr_t key = 1; key <= 100; ++key)
        wiq_map_put(&map, reinterpret_cast<void*>(key), reinterpret_cast<void*>(key));
    for (uintptr_t key = 1; key <= 100; ++key)
        EXPECT_EQ(wiq_map_get(&map, reinterpret_cast<void*>(key)), reinterpret_cast<void*>(key));
    wiq_map_finalize(&map);
}

// --- Order, against a model --------------------------------------------------------------------------

// Chains as lists of keys, by the rules: a new key is added at the end. When the table is more than three
// quarters full, it doubles: the old chains are visited in order, and each key goes to the front of its new
// chain.
class OrderModel {
  public:
    explicit OrderModel(size_t buckets) : chains_(buckets) {}

    void put(uintptr_t key) {
        for (uintptr_t there : chain_of(key)) {
            if (there == key)
                return;
        }
        chain_of(key).push_back(key);
        if (++size_ > chains_.size() * 3 / 4)
            grow();
    }
    void remove(uintptr_t key) { size_ -= std::erase(chain_of(key), key); }
    std::vector<uintptr_t> order() const {
        std::vector<uintptr_t> keys;
        for (const auto& chain : chains_)
            keys.insert(keys.end(), chain.begin(), chain.end());
        return keys;
    }
    size_t collisions() const {
        size_t count = 0;
        for (const auto& chain : chains_)
            count += chain.empty() ? 0 : chain.size() - 1;
        return count;
    }

  private:
    std::vector<uintptr_t>& chain_of(uintptr_t key) {
        return chains_[wiq_hash_int(reinterpret_cast<void*>(key)) & (chains_.size() - 1)];
    }
    void grow() {
        std::vector<std::vector<uintptr_t>> old(2 * chains_.size());
        old.swap(chains_);
        for (const auto& chain : old) {
            for (uintptr_t key : chain)
                chain_of(key).insert(chain_of(key).begin(), key);
        }
    }

    std::vector<std::vector<uintptr_t>> chains_;
    size_t size_ = 0;
};

std::vector<uintptr_t> order_of(const wiq_map& map) {
    std::vector<uintptr_t> keys;
    wiq_map_foreach(
        &map,
        [](void* key, void*, void* user) {
            static_cast<std::vector<uintptr_t>*>(user)->push_back(reinterpret_cast<uintptr_t>(key));
            return true;
        },
        &keys);
    return keys;
}

TEST_F(Map, OrderFollowsTheModel) {
    std::mt19937 random(5);
    for (u64 capacity : {0, 1, 5, 50}) {
        wiq_map map;
        ASSERT_EQ(wiq_map_init(&map, capacity, wiq_hash_int, wiq_cmp_int, nullptr, nullptr), 0);
        OrderModel model(map.bucket_count);
        for (int step = 0; step < 2000; ++step) {
            const uintptr_t key = random() % 300;
            if (random() % 4 == 0) {
                wiq_map_remove(&map, reinterpret_cast<void*>(key));
                model.remove(key);
            } else {
                ASSERT_EQ(wiq_map_put(&map, reinterpret_cast<void*>(key), nullptr), 0);
                model.put(key);
            }
            if (step % 50 == 0) {
                ASSERT_EQ(order_of(map), model.order()) << "step " << step;
                ASSERT_EQ(wiq_map_collisions(&map), model.collisions());
            }
        }
        EXPECT_EQ(order_of(map), model.order());
        EXPECT_EQ(wiq_map_size(&map), model.order().size());
        wiq_map_finalize(&map);
    }
}

// Walks over large tables fetch ahead.
TEST_F(Map, OrderInLargeTables) {
    std::mt19937 random(6);
    wiq_map map;
    ASSERT_EQ(wiq_map_init(&map, 0, wiq_hash_int, wiq_cmp_int, nullptr, nullptr), 0);
    OrderModel model(map.bucket_count);
    std::vector<uintptr_t> keys;
    for (int i = 0; i < 13000; ++i) {
        keys.push_back(random());
        ASSERT_EQ(wiq_map_put(&map, reinterpret_cast<void*>(keys.back()), nullptr), 0);
        model.put(keys.back());
    }
    EXPECT_EQ(map.bucket_count, 32768u);
    EXPECT_EQ(order_of(map), model.order());
    // Few entries are left, far from each other; at last none.
    for (size_t i = 0; i < keys.size(); ++i) {
        wiq_map_remove(&map, reinterpret_cast<void*>(keys[i]));
        model.remove(keys[i]);
        if (i + 5 >= keys.size()) {
            EXPECT_EQ(order_of(map), model.order()) << i;
        }
    }
    EXPECT_EQ(order_of(map), std::vector<uintptr_t>());
    wiq_map_finalize(&map);
}

TEST_F(Map, UnrefDestroysWithTheLastOwner) {
    wiq_map* map = wiq_map_new(0, wiq_hash_str, wiq_cmp_str, release_key, nullptr);
    ASSERT_NE(map, nullptr);
    wiq_map_put(map, text("k"), nullptr);
    wiq_map_ref(map);
    EXPECT_EQ(map->refcount, 2);
    wiq_map_unref(map);
    EXPECT_TRUE(g_released.empty());
    wiq_map_unref(map);
    EXPECT_EQ(g_released, (Log{"key k"}));
}

TEST_F(Map, DeleteIgnoresTheCount) {
    wiq_map* map = wiq_map_new(0, wiq_hash_str, wiq_cmp_str, release_key, nullptr);
    wiq_map_put(map, text("k"), nullptr);
    wiq_map_ref(map);
    wiq_map_delete(map);
    EXPECT_EQ(g_released, (Log{"key k"}));
}

TEST(MapThreads, OwnersOnEightThreads) {
    wiq_map* map = wiq_map_new(0, wiq_hash_str, wiq_cmp_str, nullptr, nullptr);
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        wiq_map_ref(map);
        threads.emplace_back([map] {
            for (int k = 0; k < 1000; ++k) {
                wiq_map_ref(map);
                wiq_map_unref(map);
            }
            wiq_map_unref(map);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(map->refcount, 1);
    wiq_map_unref(map);
}

}  // namespace
