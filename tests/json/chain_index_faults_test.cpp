// When an index covers a chain, and what happens when allocations fail: if the index cannot be allocated, the chain is
// searched member by member, and nothing else fails.
#include <gtest/gtest.h>

#include <bit>
#include <cstring>

#include "json/model/chain_index.h"
#include "json/model/members.h"
#include "json/model/node.h"
#include "json/model/table.h"
#include "json/tree.h"
#include "support/alloc_faults.h"
#include "support/colliding_keys.h"

namespace {

using ke::json::index_of;
using tree::Tree;

bool has_index(const Tree& obj) {
    return index_of(ke::json::to_object(obj.get())->members) != nullptr;
}

bool has_index_over(const Tree& obj, const std::string& key) {
    const ke::json::Members& members = ke::json::to_object(obj.get())->members;
    const ke::json::Key searched(key.c_str(), key.size());
    return index_over(members, ke::bucket_of(searched.hash, members.mask)) != nullptr;
}

void expect_all(const wiq_json_t* obj, const std::vector<std::string>& keys, size_t count) {
    ASSERT_EQ(wiq_json_obj_size(obj), static_cast<i32>(count));
    for (size_t i = 0; i < keys.size(); ++i)
        ASSERT_EQ(wiq_json_obj_has_key(obj, keys[i].c_str()), i < count) << i;
}

// A suite of its own, and so a process of its own: this index is the first one for which the key is needed. Of 64
// random bits, fewer than 10 or more than 54 are set once in 10^8 times.
TEST(JsonChainIndexSecret, IsDrawnForTheFirstIndex) {
    const Tree obj(
        wiq_json_loads(colliding::object_text(colliding::keys(200)).c_str(), 0, nullptr));
    ASSERT_TRUE(has_index(obj));
    ke::SipKey held;
    memcpy(&held, index_of(ke::json::to_object(obj.get())->members), sizeof(held));
    const ke::SipKey secret = ke::json::ChainIndex::process_secret();
    EXPECT_EQ(held.k0, secret.k0);
    EXPECT_EQ(held.k1, secret.k1);
    for (const u64 word : {held.k0, held.k1, held.k0 ^ held.k1}) {
        EXPECT_GE(std::popcount(word), 10);
        EXPECT_LE(std::popcount(word), 54);
    }
}

TEST(JsonChainIndexFaults, OnlyLongChainsAreCovered) {
    std::vector<std::string> keys = colliding::keys(17);
    for (const std::string& key : colliding::ordinary_keys(2000))
        keys.push_back(key);
    const std::string chain_at_16 = colliding::object_text({keys.begin() + 1, keys.end()});
    const Tree ordinary(wiq_json_loads(chain_at_16.c_str(), 0, nullptr));
    EXPECT_FALSE(has_index(ordinary));
    const Tree copy(wiq_json_copy(ordinary.get(), nullptr));
    EXPECT_FALSE(has_index(copy));
    // Adding the 17th member only walks the chain; adding the next one finds that the chain is long, and
    // makes the index.
    ASSERT_NE(wiq_json_obj_put_null(copy.get(), keys[0].c_str(), nullptr), nullptr);
    ASSERT_NE(wiq_json_obj_put_null(copy.get(), colliding::keys(18)[17].c_str(), nullptr), nullptr);
    EXPECT_TRUE(has_index(copy));
    const Tree again(wiq_json_copy(copy.get(), nullptr));
    EXPECT_TRUE(has_index(again));
}

TEST(JsonChainIndexFaults, GrowingKeepsIt) {
    const std::vector<std::string> keys = colliding::keys(97);
    const Tree obj(wiq_json_obj_new(0, nullptr));
    for (const std::string& key : keys)
        ASSERT_NE(wiq_json_obj_put_null(obj.get(), key.c_str(), nullptr), nullptr);
    EXPECT_TRUE(has_index_over(obj, keys[0])) << "the 97th member made the table grow";
}

// A table that is built at once has the same order as one that has grown, and its index works.
TEST(JsonChainIndexFaults, BuiltAtOnce) {
    for (const size_t count : {97u, 98u, 192u, 193u, 500u}) {
        SCOPED_TRACE(count);
        const std::vector<std::string> keys = colliding::keys(count);
        const Tree obj(wiq_json_obj_new(0, nullptr));
        for (const std::string& key : keys)
            ASSERT_NE(wiq_json_obj_put_null(obj.get(), key.c_str(), nullptr), nullptr);
        const std::vector<std::string> order = tree::keys_of(obj);
        ke::json::ObjectNode* node = ke::json::to_object(obj.get());
        std::vector<ke::json::Member*> list;
        for (const std::string& key : keys)
            list.push_back(find(node->members, ke::json::Key(key.c_str(), key.size())));

        drop_table(node);
        ASSERT_EQ(make_table(node, ke::json::grown_buckets(count)), 0);
        EXPECT_EQ(build_table(&node->members, list.data(), count),
                  ke::json::TableStatus::kLongChain);
        drop_table(node);
        ASSERT_EQ(make_table(node, ke::json::grown_buckets(count)), 0);
        ASSERT_TRUE(build_indexed_table(&node->members, list.data(), count));
        EXPECT_TRUE(has_index_over(obj, keys[0]));
        EXPECT_EQ(tree::keys_of(obj), order);
        for (const std::string& key : keys) {
            ASSERT_EQ(wiq_json_obj_remove(obj.get(), key.c_str()), 0);
            ASSERT_FALSE(wiq_json_obj_has_key(obj.get(), key.c_str()));
        }
    }
}

// Fails every allocation while an object is built member by member. If a member cannot be allocated, the
// object is unchanged; if the index cannot be allocated, the member is added all the same.
TEST(JsonChainIndexFaults, Building) {
    const std::vector<std::string> keys = colliding::keys(150);
    size_t without_index = 0;
    SweepAllocations([&](AllocFaults& faults) {
        const Tree obj(wiq_json_obj_new(0, nullptr));
        size_t count = 0;
        faults.arm();
        while (count < keys.size() &&
               wiq_json_obj_put_i64(obj.get(), keys[count].c_str(), 1, nullptr) != nullptr)
            ++count;
        faults.disarm();
        expect_all(obj.get(), keys, count);
        if (faults.fired() && count == keys.size())
            ++without_index;
        else
            EXPECT_EQ(count == keys.size(), !faults.fired());
        EXPECT_TRUE(has_index(obj) || count < 97 || faults.fired());
        // The next addition to the chain makes the missing index.
        for (; count < keys.size(); ++count)
            ASSERT_NE(wiq_json_obj_put_i64(obj.get(), keys[count].c_str(), 1, nullptr), nullptr);
        ASSERT_NE(wiq_json_obj_put_i64(obj.get(), "ordinary", 1, nullptr), nullptr);
        for (size_t i = keys.size(); i-- > 0;) {
            ASSERT_EQ(wiq_json_obj_remove(obj.get(), keys[i].c_str()), 0);
            ASSERT_FALSE(wiq_json_obj_has_key(obj.get(), keys[i].c_str()));
        }
        EXPECT_EQ(wiq_json_obj_size(obj.get()), 1);
    });
    EXPECT_GE(without_index, 2u) << "at least the first index and that of the grown table fail";
}

TEST(JsonChainIndexFaults, ParsingAndCopying) {
    const std::vector<std::string> keys = colliding::keys(200);
    const std::string text = colliding::object_text(keys);
    size_t without_index = 0;
    SweepAllocations([&](AllocFaults& faults) {
        faults.arm();
        const Tree obj(wiq_json_loads(text.c_str(), 0, nullptr));
        faults.disarm();
        ASSERT_TRUE(obj != nullptr || faults.fired());
        if (obj != nullptr)
            expect_all(obj.get(), keys, keys.size());
        without_index += faults.fired() && obj != nullptr ? 1 : 0;
    });
    EXPECT_GE(without_index, 2u);
    const Tree obj(wiq_json_loads(text.c_str(), 0, nullptr));
    without_index = 0;
    SweepAllocations([&](AllocFaults& faults) {
        u32 err = 0;
        faults.arm();
        const Tree copy(wiq_json_copy(obj.get(), &err));
        faults.disarm();
        ASSERT_EQ(err == 0, copy != nullptr);
        if (copy != nullptr) {
            EXPECT_TRUE(wiq_json_equal(copy.get(), obj.get()));
            EXPECT_EQ(has_index(copy), !faults.fired() || faults.mode() == AllocFaults::kTransient);
        }
        without_index += faults.fired() && copy != nullptr ? 1 : 0;
    });
    EXPECT_GE(without_index, 1u);
}

// An object in a document gets an index, but there is no memory for the child. Releasing the document frees the
// index, which is not in its record.
TEST(JsonChainIndexFaults, AnIndexWithoutAChildIsReleased) {
    std::vector<std::string> keys = colliding::keys(18);
    const std::string added = keys.back();
    keys.pop_back();
    for (const std::string& key : colliding::ordinary_keys(60)) {
        if (((wiq_hash_str(key.c_str()) ^ wiq_hash_str(added.c_str())) & 127) != 0)
            keys.push_back(key);
    }
    const std::string text = "[" + colliding::object_text(keys) + "]";
    size_t with_index = 0;
    SweepAllocations([&](AllocFaults& faults) {
        const Tree root(wiq_json_loads(text.c_str(), 0, nullptr));
        wiq_json_t* obj = wiq_json_array_get_ext(root.get(), 0, 0, nullptr);
        ASSERT_EQ(index_of(ke::json::to_object(obj)->members), nullptr);
        faults.arm();
        const wiq_json_t* child = wiq_json_obj_put_null(obj, added.c_str(), nullptr);
        faults.disarm();
        const bool has_one = index_of(ke::json::to_object(obj)->members) != nullptr;
        with_index += child == nullptr && has_one ? 1 : 0;
    });
    EXPECT_EQ(with_index, 2u) << "the node fails, in both ways";
}

// If a table cannot grow, the chain and its index are unchanged.
TEST(JsonChainIndexFaults, GrowingFails) {
    const std::vector<std::string> keys = colliding::keys(98);
    const Tree obj(wiq_json_obj_new(0, nullptr));
    for (size_t i = 0; i < 96; ++i)
        ASSERT_NE(wiq_json_obj_put_i64(obj.get(), keys[i].c_str(), 1, nullptr), nullptr);
    ASSERT_TRUE(has_index(obj));
    AllocFaults faults(2, AllocFaults::kPersistent);
    faults.arm();
    const wiq_json_t* node = wiq_json_obj_put_i64(obj.get(), keys[96].c_str(), 1, nullptr);
    faults.disarm();
    EXPECT_EQ(node, nullptr);
    EXPECT_TRUE(has_index(obj));
    expect_all(obj.get(), keys, 96);
    ASSERT_NE(wiq_json_obj_put_i64(obj.get(), keys[97].c_str(), 1, nullptr), nullptr);
    EXPECT_TRUE(wiq_json_obj_has_key(obj.get(), keys[97].c_str()));
    EXPECT_FALSE(wiq_json_obj_has_key(obj.get(), keys[96].c_str()));
    EXPECT_TRUE(has_index(obj));
}

}  // namespace
