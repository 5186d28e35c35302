// Reference counts and release: who keeps what alive, that everything is freed exactly once, and counting on
// many threads.
#include <gtest/gtest.h>
#include <uv.h>

#include <thread>

#include "json/tree.h"
#include "support/alloc_faults.h"
#include "support/start_line.h"

namespace {

using tree::count;
using tree::make;
using tree::node;
using tree::parent;
using tree::text_of;
using tree::Tree;

// Every test must end with as many blocks as it began with.
class JsonCount : public testing::Test {
  protected:
    void SetUp() override { before_ = live_blocks(); }
    void TearDown() override { EXPECT_EQ(live_blocks(), before_); }

    long blocks() const { return live_blocks() - before_; }

  private:
    long before_ = 0;
};

TEST_F(JsonCount, NullIsIgnored) {
    wiq_json_ref(nullptr);
    wiq_json_unref(nullptr);
    wiq_json_delete_impl(nullptr);
    wiq_json_finalize(nullptr);
}

TEST_F(JsonCount, AnUnreferencedNodeDiesWithItsFirstUnref) {
    wiq_json_unref(node("1"));
    wiq_json_t* one = node("\"text\"");
    wiq_json_ref(one);
    EXPECT_EQ(count(one), 1);
    EXPECT_EQ(blocks(), 1);
    wiq_json_unref(one);
    EXPECT_EQ(blocks(), 0);
}

TEST_F(JsonCount, ReferencesAddUp) {
    wiq_json_t* one = node("[1,2]");
    wiq_json_ref(one);
    wiq_json_ref(one);
    wiq_json_unref(one);
    EXPECT_EQ(count(one), 1);
    EXPECT_EQ(text_of(one), "[1,2]");
    wiq_json_unref(one);
}

TEST_F(JsonCount, AChildOfAStrongContainerSurvivesAnyNumberOfUnrefs) {
    Tree root = make("{\"a\":1,\"b\":[2]}");
    wiq_json_t* member = wiq_json_obj_get_ext(root.get(), "a", 0, nullptr);
    wiq_json_t* list = wiq_json_obj_get_array(root.get(), "b", nullptr);
    wiq_json_t* elem = wiq_json_array_get_ext(list, 0, 0, nullptr);
    for (int i = 0; i < 5; ++i) {
        for (wiq_json_t* child : {member, list, elem}) {
            wiq_json_unref(child);
            EXPECT_EQ(count(child), 1);
        }
    }
    EXPECT_EQ(text_of(root), "{\"a\":1,\"b\":[2]}");
}

TEST_F(JsonCount, ReleasesEveryKind) {
    Tree root = make("[null,true,false,1,2u,3w,4.5,\"s\",@\"/0\",[],{},w[],w{},[[1]],{\"a\":{}}]");
    root.reset();
    EXPECT_EQ(blocks(), 0);
}

TEST_F(JsonCount, WhatIsHeldElsewhereOutlivesItsContainer) {
    wiq_json_t* root = node("{\"a\":[1,{\"b\":2}]}");
    wiq_json_t* list = wiq_json_obj_get_array(root, "a", nullptr);
    wiq_json_t* inner = wiq_json_array_get_ext(list, 1, 0, nullptr);
    wiq_json_ref(inner);
    wiq_json_unref(root);
    EXPECT_EQ(count(inner), 1);
    EXPECT_EQ(parent(inner), nullptr);
    EXPECT_EQ(wiq_json_parent_index(inner), -1);
    EXPECT_EQ(text_of(inner), "{\"b\":2}");
    wiq_json_unref(inner);
}

// Containers with few and with many children are released in different ways.
TEST_F(JsonCount, WhatIsHeldElsewhereOutlivesAContainerOfAnySize) {
    for (const i32 size : {1, 48, 49, 64, 65, 100, 2048, 2049, 5000}) {
        for (const bool weak : {false, true}) {
            Tree array(weak ? wiq_json_array_weak_new(0, nullptr) : wiq_json_array_new(0, nullptr));
            Tree obj(weak ? wiq_json_obj_weak_new(0, nullptr) : wiq_json_obj_new(0, nullptr));
            std::vector<wiq_json_t*> held;
            for (i32 i = 0; i < size; ++i) {
                const std::string key = std::to_string(i);
                wiq_json_t* elem = i % 3 == 0 ? node("[1,{\"a\":2}]") : node("\"text\"");
                wiq_json_t* member = i % 3 == 1 ? node("{\"b\":[3]}") : node("7");
                ASSERT_EQ(wiq_json_array_push_ext(array.get(), elem, nullptr), 0);
                ASSERT_EQ(wiq_json_obj_put_ext(obj.get(), key.c_str(), member, nullptr), 0);
                if (i % 5 == 0) {
                    wiq_json_ref(elem);
                    wiq_json_ref(member);
                    held.push_back(elem);
                    held.push_back(member);
                }
            }
            array.reset();
            obj.reset();
            for (size_t i = 0; i < held.size(); ++i) {
                EXPECT_EQ(count(held[i]), 1);
                EXPECT_EQ(parent(held[i]), nullptr);
                EXPECT_EQ(wiq_json_parent_index(held[i]), -1);
                EXPECT_EQ(wiq_json_parent_key(held[i]), nullptr);
                wiq_json_unref(held[i]);
            }
            EXPECT_EQ(blocks(), 0) << size;
        }
    }
}

TEST_F(JsonCount, FinalizeLeavesLargeContainersEmpty) {
    for (const i32 size : {10, 100, 3000}) {
        Tree array(wiq_json_array_new(0, nullptr));
        Tree obj(wiq_json_obj_new(size, nullptr));
        for (const int round : {0, 1}) {
            for (i32 i = 0; i < size; ++i) {
                ASSERT_NE(wiq_json_array_push_i64(array.get(), round, nullptr), nullptr);
                ASSERT_NE(wiq_json_obj_put_i64(obj.get(), std::to_string(i).c_str(), i, nullptr),
                          nullptr);
            }
            wiq_json_finalize(array.get());
            wiq_json_finalize(obj.get());
            EXPECT_EQ(text_of(array), "[]");
            EXPECT_EQ(text_of(obj), "{}");
        }
    }
}

TEST_F(JsonCount, DeleteIgnoresTheCount) {
    wiq_json_t* root = node("[1,[2]]");
    wiq_json_ref(root);
    wiq_json_ref(root);
    wiq_json_delete_impl(root);
    EXPECT_EQ(blocks(), 0);
}

TEST_F(JsonCount, FinalizeLeavesTheNodeItself) {
    for (const char* notation : {"null", "1", "3w", "\"text\"", "@\"/a\"", "[1,[2],\"x\"]",
                                 "{\"a\":{\"b\":[1]},\"c\":2}", "[]", "{}"}) {
        SCOPED_TRACE(notation);
        wiq_json_t* one = node(notation);
        wiq_json_ref(one);
        wiq_json_finalize(one);
        EXPECT_EQ(blocks(), 1);
        EXPECT_EQ(count(one), 1);
        // What remains is empty and can be released like any node.
        wiq_json_finalize(one);
        wiq_json_unref(one);
        EXPECT_EQ(blocks(), 0);
    }
    wiq_json_t* one = node("[1,2]");
    wiq_json_finalize(one);
    std::free(one);
}

TEST_F(JsonCount, WeakAndStrongContainersOfOneTree) {
    // The weak index comes before or after the nodes that it lists.
    for (const bool index_first : {true, false}) {
        wiq_json_t* root = node("[]");
        wiq_json_t* index = wiq_json_array_weak_new(0, nullptr);
        if (index_first) {
            wiq_json_array_push_ext(root, index, nullptr);
        }
        wiq_json_t* list = wiq_json_array_push_array(root, nullptr);
        for (i64 i = 0; i < 5; ++i) {
            wiq_json_array_push_ext(index, wiq_json_array_push_i64(list, i, nullptr), nullptr);
        }
        if (!index_first) {
            wiq_json_array_push_ext(root, index, nullptr);
        }
        wiq_json_unref(root);
        EXPECT_EQ(blocks(), 0);
    }
}

TEST_F(JsonCount, AWeakContainerKeepsNodesAliveAfterTheirParent) {
    wiq_json_t* root = node("[[1],2]");
    wiq_json_t* index = wiq_json_array_weak_new(0, nullptr);
    wiq_json_array_push_ext(index, wiq_json_array_get_ext(root, 0, 0, nullptr), nullptr);
    wiq_json_unref(root);
    EXPECT_EQ(text_of(index), "w[[1]]");
    EXPECT_EQ(count(wiq_json_array_get_ext(index, 0, 0, nullptr)), 1);
    wiq_json_unref(index);
}

TEST_F(JsonCount, AForcedReleaseMeetsWeakReferencesToDyingContainers) {
    // A weak index inside the tree lists the containers around it.
    wiq_json_t* root = node("{\"outer\":[w[]]}");
    wiq_json_t* outer = wiq_json_obj_get_array(root, "outer", nullptr);
    wiq_json_t* index = wiq_json_array_get_ext(outer, 0, 0, nullptr);
    for (wiq_json_t* container : {root, outer, index}) {
        EXPECT_EQ(wiq_json_array_push_ext(index, container, nullptr), 0);
    }
    // The index holds itself and the list above it, so only wiq_json_delete_impl() can release them.
    wiq_json_array_pop(index, 2);
    wiq_json_delete_impl(root);
    EXPECT_EQ(blocks(), 0);
}

TEST_F(JsonCount, StrayUnrefsBeforeAWeakReferenceEnds) {
    Tree owner = make("[1]");
    wiq_json_t* child = wiq_json_array_get_ext(owner.get(), 0, 0, nullptr);
    wiq_json_t* index = wiq_json_array_weak_new(0, nullptr);
    wiq_json_array_push_ext(index, child, nullptr);
    wiq_json_unref(child);
    EXPECT_EQ(count(child), 1);
    wiq_json_unref(index);
    EXPECT_EQ(count(child), 1) << "the parent's own";
    EXPECT_EQ(text_of(owner), "[1]");
}

constexpr int kThreads = 8;

// A node that all threads share; each takes and releases references.
struct Shared {
    wiq_json_t* node;
    int rounds;
};

void use(void* arg) {
    const auto* shared = static_cast<const Shared*>(arg);
    for (int i = 0; i < shared->rounds; ++i) {
        wiq_json_ref(shared->node);
        wiq_json_ref(shared->node);
        wiq_json_unref(shared->node);
        wiq_json_unref(shared->node);
    }
    // Release the reference that was taken for this thread.
    wiq_json_unref(shared->node);
}

TEST(JsonCountThreads, ManyThreadsHoldOneNode) {
    Tree root = make("{\"a\":[1]}");
    Shared shared{root.get(), 20000};
    wiq_json_ref(root.get());
    for (int i = 0; i < kThreads; ++i) {
        wiq_json_ref(root.get());
    }
    uv_thread_t threads[kThreads];
    for (uv_thread_t& thread : threads) {
        ASSERT_EQ(uv_thread_create(&thread, use, &shared), 0);
    }
    for (uv_thread_t& thread : threads) {
        uv_thread_join(&thread);
    }
    EXPECT_EQ(count(root.get()), 1);
    EXPECT_EQ(text_of(root), "{\"a\":[1]}");
}

// A member and the node that was made with it share a block. After the node has left its object, each belongs to
// somebody else, and they may be released at the same moment.
TEST(JsonCountThreads, TwoOwnersReleaseOneBlock) {
    const auto built = [] {
        wiq_json_t* obj = wiq_json_obj_new(0, nullptr);
        wiq_json_obj_put_i64(obj, "key", 1, nullptr);
        return obj;
    };
    const auto parsed = [] { return node("{\"key\":1,\"other\":2}"); };
    const long before = live_blocks();
    for (int round = 0; round < 1000; ++round) {
        wiq_json_t* obj = round % 2 == 0 ? built() : parsed();
        wiq_json_t* child = wiq_json_obj_get_ext(obj, "key", 0, nullptr);
        wiq_json_ref(child);
        ASSERT_NE(wiq_json_obj_put_null(obj, "key", nullptr), nullptr);
        ASSERT_EQ(count(child), 1);
        StartLine start(2);
        std::thread other([&] {
            start.arrive_and_wait();
            wiq_json_unref(child);
        });
        start.arrive_and_wait();
        wiq_json_unref(obj);
        other.join();
        ASSERT_EQ(live_blocks(), before) << round;
    }
}

TEST(JsonCountThreads, TheLastThreadReleasesTheNode) {
    const long before = live_blocks();
    for (int round = 0; round < 200; ++round) {
        wiq_json_t* root = node("{\"a\":[1,{\"b\":\"text\"}]}");
        Shared shared{root, 10};
        for (int i = 0; i < kThreads; ++i) {
            wiq_json_ref(root);
        }
        uv_thread_t threads[kThreads];
        for (uv_thread_t& thread : threads) {
            ASSERT_EQ(uv_thread_create(&thread, use, &shared), 0);
        }
        for (uv_thread_t& thread : threads) {
            uv_thread_join(&thread);
        }
        ASSERT_EQ(live_blocks(), before);
    }
}

}  // namespace
