// Attaching a container to one of its descendants is refused, however deep that is and however many nodes
// there are; no other attachment is.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "json/tree.h"

namespace {

using tree::Tree;

const wiq_json_t* root_of(const wiq_json_t* node) {
    while (tree::parent(node) != nullptr)
        node = tree::parent(node);
    return node;
}

i32 attach(wiq_json_t* container, wiq_json_t* child, const char* key = "k") {
    return wiq_json_is_array(container) ? wiq_json_array_push_ext(container, child, nullptr)
                                        : wiq_json_obj_put_ext(container, key, child, nullptr);
}

// Adds a chain of containers, each with siblings before and after the one that leads further down. Where the
// members of an object come depends on their keys.
std::vector<wiq_json_t*> grow(wiq_json_t* root, i32 levels, std::mt19937* random) {
    std::vector<wiq_json_t*> chain = {root};
    for (i32 level = 1; level < levels; ++level) {
        wiq_json_t* up = chain.back();
        wiq_json_t* down =
            (*random)() % 2 == 0 ? wiq_json_array_new(0, nullptr) : wiq_json_obj_new(0, nullptr);
        for (auto i = (*random)() % 3; i > 0; --i)
            attach(up, tree::node(i == 1 ? "[[],{\"x\":[1]}]" : "w[{},2]"),
                   std::to_string((*random)() % 10).c_str());
        if (wiq_json_is_array(up)) {
            wiq_json_array_push_i64(up, 1, nullptr);
            // Its recorded index is negative, and with later children it refers to the wrong element.
            wiq_json_unref(wiq_json_array_swap(up, -1, down, nullptr));
        } else {
            wiq_json_obj_put_ext(up, "down", down, nullptr);
        }
        if ((*random)() % 2 == 0)
            attach(up, tree::node("{}"));
        chain.push_back(down);
    }
    return chain;
}

TEST(JsonCycle, IsRefusedAtAnyDistance) {
    std::mt19937 random(7);
    for (const i32 levels : {1, 2, 3, 60, 66, 100, 1000}) {
        for (i32 round = 0; round < 20; ++round) {
            Tree root(round % 2 == 0 ? wiq_json_array_new(0, nullptr)
                                     : wiq_json_obj_new(0, nullptr));
            const std::vector<wiq_json_t*> chain = grow(root.get(), levels, &random);
            for (i32 i = 0; i < 20; ++i) {
                wiq_json_t* container = chain[random() % chain.size()];
                const std::string before = levels < 100 ? tree::text_of(root) : "";
                EXPECT_EQ(attach(container, root.get()), WIQ_ERR_INVALID_ARG);
                EXPECT_EQ(tree::parent(root.get()), nullptr);
                EXPECT_EQ(tree::count(root.get()), 0);
                if (levels < 100) {
                    EXPECT_EQ(tree::text_of(root), before);
                }
            }
        }
    }
}

TEST(JsonCycle, AnotherTreeIsAccepted) {
    std::mt19937 random(8);
    for (const i32 levels : {1, 3, 63, 64, 65, 66, 72, 73, 200, 1000}) {
        for (const i32 child_levels : {1, 2, 9, 200}) {
            Tree root(wiq_json_array_new(0, nullptr));
            wiq_json_t* deepest = grow(root.get(), levels, &random).back();
            wiq_json_t* child = wiq_json_array_new(0, nullptr);
            grow(child, child_levels, &random);
            ASSERT_EQ(attach(deepest, child), 0) << levels << " " << child_levels;
            EXPECT_EQ(tree::parent(child), deepest);
            EXPECT_EQ(root_of(child), root.get());
        }
    }
}

// A weak container is nobody's parent, so no cycle can go through it.
TEST(JsonCycle, WeakContainersFormNoCycle) {
    Tree root(wiq_json_array_new(0, nullptr));
    std::mt19937 random(9);
    wiq_json_t* deepest = grow(root.get(), 100, &random).back();
    wiq_json_t* weak = wiq_json_array_weak_new(0, nullptr);
    ASSERT_EQ(wiq_json_array_push_ext(weak, deepest, nullptr), 0);
    EXPECT_EQ(attach(deepest, weak), 0);
    EXPECT_EQ(tree::parent(weak), deepest);
    EXPECT_EQ(wiq_json_array_pop(weak, 1), 0);
}

}  // namespace
