// Objects whose keys all have the same hash: results, order and cost are those of any other object. The number of
// members is so large that the tests would exceed their time limit if searches walked the chain.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <thread>

#include "json/tree.h"
#include "support/colliding_keys.h"
#include "support/start_line.h"

namespace {

using tree::keys_of;
using tree::Tree;

#if defined(KE_ADDRESS_SANITIZER)
constexpr size_t kMany = 50000;  // in other builds, enough to notice a walk through the chain
#else
constexpr size_t kMany = 200000;
#endif

std::vector<std::string> shuffled(std::vector<std::string> keys) {
    std::shuffle(keys.begin(), keys.end(), std::mt19937(7));
    return keys;
}

Tree parse(const std::vector<std::string>& keys, i32 flags = 0) {
    return Tree(wiq_json_loads(colliding::object_text(keys).c_str(), flags, nullptr));
}

class JsonCollidingKeysMany : public ::testing::Test {
  public:
    void SetUp() override {
        keys = colliding::keys(kMany + 1);
        absent = keys.back();
        keys.pop_back();
    }

    std::vector<std::string> keys;
    std::string absent;  // has the same hash
};

// A duplicate key makes a member replace another one in a long chain.
TEST(JsonCollidingKeys, WhenDuplicated) {
    const std::vector<std::string> keys = colliding::keys(300);
    std::string text = colliding::object_text(keys);
    text.back() = ',';
    text += colliding::object_text({keys[5], keys[150], keys[299]}).substr(1);
    const Tree obj(wiq_json_loads(text.c_str(), 0, nullptr));
    ASSERT_NE(obj, nullptr);
    EXPECT_EQ(wiq_json_obj_size(obj.get()), 300);
    for (size_t i = 0; i < keys.size(); ++i) {
        const char* key = keys[i].c_str();
        const i64 value = i == 5 ? 0 : i == 150 ? 1 : i == 299 ? 2 : static_cast<i64>(i);
        ASSERT_EQ(wiq_json_obj_get_i64(obj.get(), key, nullptr), value) << i;
        ASSERT_STREQ(wiq_json_parent_key(wiq_json_obj_get_ext(obj.get(), key, 0, nullptr)), key);
        ASSERT_EQ(wiq_json_obj_remove(obj.get(), key), 0);
    }
}

TEST(JsonCollidingKeys, HaveOneHash) {
    for (const u32 hash : {0u, 12345u, 0xffffffffu}) {
        std::vector<std::string> keys = colliding::keys(1000, hash);
        ASSERT_EQ(keys.size(), 1000u);
        for (const std::string& key : keys)
            ASSERT_EQ(wiq_hash_str(key.c_str()), hash);
        std::sort(keys.begin(), keys.end());
        EXPECT_EQ(std::unique(keys.begin(), keys.end()), keys.end());
    }
}

// The lengths must be compared, too: otherwise the shorter key would find the longer one, and a search for the
// longer one would read beyond the end of the shorter.
TEST(JsonCollidingKeys, OneBeginsWithTheOther) {
    const std::string shorter = colliding::keys(1)[0];
    for (const size_t count : {1, 150}) {  // in a plain chain, and in one with an index
        const std::vector<std::string> longer = colliding::longer_keys(shorter, count);
        ASSERT_EQ(longer.size(), count);
        for (const std::string& key : longer) {
            ASSERT_EQ(wiq_hash_str(key.c_str()), wiq_hash_str(shorter.c_str()));
            ASSERT_TRUE(key.starts_with(shorter) && key != shorter);
        }
        std::vector<std::string> keys = longer;
        const Tree without = parse(keys);
        EXPECT_FALSE(wiq_json_obj_has_key(without.get(), shorter.c_str()));
        EXPECT_EQ(wiq_json_obj_remove(without.get(), shorter.c_str()), WIQ_ERR_INVALID_ARG);
        keys.insert(keys.begin(), shorter);
        ASSERT_NE(wiq_json_obj_put_i64(without.get(), shorter.c_str(), 0, nullptr), nullptr);
        const Tree parsed = parse(keys);
        for (const Tree* obj : {&without, &parsed}) {
            EXPECT_EQ(wiq_json_obj_size(obj->get()), static_cast<i32>(keys.size()));
            for (const std::string& key : keys) {
                const wiq_json_t* child = wiq_json_obj_get_ext(obj->get(), key.c_str(), 0, nullptr);
                ASSERT_STREQ(wiq_json_parent_key(child), key.c_str());
            }
        }
        const Tree only = parse({shorter});
        for (const std::string& key : longer)
            ASSERT_FALSE(wiq_json_obj_has_key(only.get(), key.c_str()));
    }
}

TEST_F(JsonCollidingKeysMany, ParsedReadAndRemoved) {
    const Tree obj = parse(keys);
    ASSERT_EQ(wiq_json_obj_size(obj.get()), static_cast<i32>(kMany));
    for (size_t i = 0; i < kMany; ++i) {
        u32 err = 0;
        ASSERT_EQ(wiq_json_obj_get_i64(obj.get(), keys[i].c_str(), &err), static_cast<i64>(i));
        ASSERT_EQ(err, 0u);
        ASSERT_NE(wiq_json_ptr_get(obj.get(), ("/" + keys[i]).c_str(), nullptr, nullptr), nullptr);
        ASSERT_FALSE(wiq_json_obj_has_key(obj.get(), absent.c_str()));
    }
    for (const std::string& key : shuffled(keys)) {
        ASSERT_EQ(wiq_json_obj_remove(obj.get(), key.c_str()), 0);
        ASSERT_FALSE(wiq_json_obj_has_key(obj.get(), key.c_str()));
    }
    EXPECT_EQ(wiq_json_obj_size(obj.get()), 0);
}

TEST_F(JsonCollidingKeysMany, BuiltReplacedAndCompared) {
    const Tree unique = parse(keys, WIQ_JSON_REJECT_DUPLICATES);
    Tree built(wiq_json_obj_new(0, nullptr));
    const std::vector<std::string> other_order = shuffled(keys);
    for (const std::string& key : other_order)
        ASSERT_NE(wiq_json_obj_put_null(built.get(), key.c_str(), nullptr), nullptr);
    EXPECT_FALSE(wiq_json_equal(unique.get(), built.get()));
    for (const std::string& key : other_order) {
        const i64 value = wiq_json_obj_get_i64(unique.get(), key.c_str(), nullptr);
        ASSERT_NE(wiq_json_obj_put_i64(built.get(), key.c_str(), value, nullptr), nullptr);
    }
    EXPECT_TRUE(wiq_json_equal(unique.get(), built.get()));
    EXPECT_TRUE(wiq_json_subset(built.get(), unique.get(), 0));
    const Tree copy(wiq_json_copy(built.get(), nullptr));
    EXPECT_TRUE(wiq_json_equal(copy.get(), unique.get()));
    ASSERT_EQ(wiq_json_obj_remove(unique.get(), keys[0].c_str()), 0);
    EXPECT_FALSE(wiq_json_subset(copy.get(), unique.get(), 0));
    EXPECT_TRUE(wiq_json_subset(unique.get(), copy.get(), 0));
}

TEST_F(JsonCollidingKeysMany, ChildrenLeaveAndAreSwapped) {
    const Tree obj = parse(keys);
    const Tree weak(wiq_json_obj_weak_new(0, nullptr));
    for (size_t i = 0; i < kMany; ++i) {
        wiq_json_t* child = wiq_json_obj_get_ext(obj.get(), keys[i].c_str(), 0, nullptr);
        ASSERT_EQ(wiq_json_obj_put_ext(weak.get(), keys[i].c_str(), child, nullptr), 0);
        if (i % 2 == 0) {
            ASSERT_EQ(wiq_json_make_orphan(child), 0);
        } else {
            ASSERT_EQ(wiq_json_swap_child(child, wiq_json_null_new(nullptr)), 0);
        }
    }
    EXPECT_EQ(wiq_json_obj_size(obj.get()), static_cast<i32>(kMany / 2));
    EXPECT_EQ(wiq_json_obj_size(weak.get()), static_cast<i32>(kMany));
    EXPECT_EQ(wiq_json_obj_get_i64(weak.get(), keys[8].c_str(), nullptr), 8);
}

// A duplicate key keeps its first position and gets its second value.
TEST_F(JsonCollidingKeysMany, DuplicatesInADocument) {
    std::string text = colliding::object_text(keys);
    text.back() = ',';
    text += colliding::object_text({keys[5], keys[kMany / 2]}).substr(1);
    const Tree obj(wiq_json_loads(text.c_str(), 0, nullptr));
    EXPECT_EQ(keys_of(obj), keys_of(parse(keys)));
    EXPECT_EQ(wiq_json_obj_get_i64(obj.get(), keys[5].c_str(), nullptr), 0);
    EXPECT_EQ(wiq_json_obj_get_i64(obj.get(), keys[kMany / 2].c_str(), nullptr), 1);
    EXPECT_EQ(wiq_json_obj_get_i64(obj.get(), keys[6].c_str(), nullptr), 6);
    EXPECT_EQ(wiq_json_loads(text.c_str(), WIQ_JSON_REJECT_DUPLICATES, nullptr), nullptr);
}

// An object and a map with the same history; the object must have the map's order.
class JsonCollidingKeysAsAMap : public ::testing::Test {
  public:
    void SetUp() override { wiq_map_init(&map_, 0, wiq_hash_str, wiq_cmp_str, free, nullptr); }
    void TearDown() override { wiq_map_finalize(&map_); }

    void put(const std::string& key, i64 value) {
        ASSERT_NE(wiq_json_obj_put_i64(obj_.get(), key.c_str(), value, nullptr), nullptr);
        if (wiq_map_test_key(&map_, key.c_str()))
            return;
        char* text = static_cast<char*>(malloc(key.size() + 1));
        memcpy(text, key.c_str(), key.size() + 1);
        ASSERT_EQ(wiq_map_put(&map_, text, nullptr), 0);
    }
    void remove(const std::string& key, bool orphan) {
        const bool known = wiq_map_test_key(&map_, key.c_str());
        wiq_json_t* child = wiq_json_obj_get_ext(obj_.get(), key.c_str(), 0, nullptr);
        ASSERT_EQ(child != nullptr, known);
        if (orphan && known) {
            ASSERT_EQ(wiq_json_make_orphan(child), 0);
            wiq_json_ref(child);
            wiq_json_unref(child);
        } else {
            ASSERT_EQ(wiq_json_obj_remove(obj_.get(), key.c_str()),
                      known ? 0 : WIQ_ERR_INVALID_ARG);
        }
        wiq_map_remove(&map_, key.c_str());
    }
    static bool add_key(void* key, void*, void* user) {
        static_cast<std::vector<std::string>*>(user)->push_back(static_cast<const char*>(key));
        return true;
    }
    void compare() {
        std::vector<std::string> expected;
        wiq_map_foreach(&map_, add_key, &expected);
        ASSERT_EQ(keys_of(obj_), expected);
    }

  private:
    Tree obj_ = Tree(wiq_json_obj_new(0, nullptr));
    wiq_map map_;
};

TEST_F(JsonCollidingKeysAsAMap, RandomScript) {
    // One long chain, chains that split when the table grows, and ordinary keys; some keys are long.
    std::vector<std::string> pool = colliding::keys(150);
    for (u32 i = 0; i < 200; ++i)
        pool.push_back(colliding::keys(4, 12345 + (i % 50 << 6))[i / 50]);
    for (const std::string& key : colliding::ordinary_keys(200))
        pool.push_back(key + std::string(key.back() == '7' ? 2000 : 0, 'k'));
    std::mt19937 random(3);
    for (int round = 0; round < 60; ++round) {
        // The object grows to hundreds of members, shrinks to a few, and grows again in the same table.
        const u32 adding = round % 20 < 12 ? 7 : 2;
        for (int step = 0; step < 200; ++step) {
            const std::string& key = pool[random() % pool.size()];
            if (random() % 8 < adding)
                put(key, step);
            else
                remove(key, random() % 2 != 0);
        }
        compare();
        if (HasFatalFailure())
            return;
    }
}

// The order of an object that the parser builds at once.
TEST_F(JsonCollidingKeysAsAMap, Parsed) {
    for (const size_t count : {16u, 17u, 18u, 48u, 49u, 96u, 97u, 500u, 800u}) {
        SCOPED_TRACE(count);
        std::vector<std::string> keys = colliding::keys(count / 2);
        for (const std::string& key : colliding::ordinary_keys(count - keys.size()))
            keys.push_back(key);
        const Tree parsed = parse(shuffled(keys));
        const Tree built(wiq_json_obj_new(0, nullptr));
        for (const std::string& key : shuffled(keys))
            ASSERT_NE(wiq_json_obj_put_null(built.get(), key.c_str(), nullptr), nullptr);
        EXPECT_EQ(wiq_json_obj_size(parsed.get()), static_cast<i32>(count));
        EXPECT_EQ(keys_of(parsed), keys_of(built));
        for (const std::string& key : keys) {
            const wiq_json_t* child = wiq_json_obj_get_ext(parsed.get(), key.c_str(), 0, nullptr);
            ASSERT_STREQ(wiq_json_parent_key(child), key.c_str());
        }
    }
}

// The library draws random numbers when it makes its first index. ctest runs this suite in a process of its
// own, so eight threads draw them at once, each for its own object. ThreadSanitizer would report it if the
// numbers were not stored in atomic words.
TEST(JsonCollidingKeysThreads, DrawTheirRandomNumbersOnce) {
    constexpr size_t kThreads = 8;
    const std::vector<std::string> keys = colliding::keys(200);
    const std::string text = colliding::object_text(keys);
    StartLine start(kThreads);
    std::vector<Tree> objects(kThreads);
    std::vector<std::thread> threads;
    for (Tree& object : objects) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            object = tree::parse(text);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const Tree& object : objects) {
        for (const std::string& key : keys)
            EXPECT_TRUE(wiq_json_obj_has_key(object.get(), key.c_str())) << key;
    }
}

}  // namespace
