// Trees of a million levels, built, compared, copied and released on a stack of 256 KiB. Functions built on
// these walks are tested with fewer levels: one for each byte of the stack.
#include <gtest/gtest.h>

#include <chrono>

#include "json/tree.h"
#include "support/small_stack.h"

namespace {

using tree::Tree;

constexpr int kMillion = 1000000;

wiq_json_t* add_array(wiq_json_t* parent) {
    return wiq_json_is_array(parent) ? wiq_json_array_push_array(parent, nullptr)
                                     : wiq_json_obj_put_array(parent, "k", nullptr);
}
wiq_json_t* add_object(wiq_json_t* parent) {
    return wiq_json_is_array(parent) ? wiq_json_array_push_obj(parent, nullptr)
                                     : wiq_json_obj_put_obj(parent, "k", nullptr);
}

enum Shape { kArrays, kObjects, kMixed };

// Builds from the root down; the innermost container holds one number.
wiq_json_t* build(Shape shape, int depth, i64 innermost) {
    wiq_json_t* root =
        shape == kArrays ? wiq_json_array_new(0, nullptr) : wiq_json_obj_new(0, nullptr);
    wiq_json_t* node = root;
    for (int level = 1; level < depth; ++level) {
        const bool array = shape == kArrays || (shape == kMixed && level % 3 == 0);
        node = array ? add_array(node) : add_object(node);
    }
    if (wiq_json_is_array(node)) {
        wiq_json_array_push_i64(node, innermost, nullptr);
    } else {
        wiq_json_obj_put_i64(node, "k", innermost, nullptr);
    }
    return root;
}

int levels(const wiq_json_t* node) {
    int count = 0;
    while (node != nullptr && !wiq_json_is_int(node)) {
        node = wiq_json_is_array(node) ? wiq_json_array_get_ext(node, 0, 0, nullptr)
                                       : wiq_json_obj_get_ext(node, "k", 0, nullptr);
        ++count;
    }
    return count;
}

class JsonDeep : public testing::TestWithParam<Shape> {};

TEST_P(JsonDeep, Release) {
    run_on_small_stack([&] {
        wiq_json_t* root = build(GetParam(), kMillion, 1);
        EXPECT_EQ(levels(root), kMillion);
        wiq_json_unref(root);
    });
}

TEST_P(JsonDeep, CopyAndCompare) {
    run_on_small_stack([&] {
        Tree root(build(GetParam(), kMillion, 1));
        Tree other(build(GetParam(), kMillion, 2));
        Tree copy(wiq_json_copy(root.get(), nullptr));
        EXPECT_EQ(levels(copy.get()), kMillion);
        EXPECT_TRUE(wiq_json_equal(root.get(), copy.get()));
        EXPECT_TRUE(wiq_json_subset(root.get(), copy.get(), 0));
        EXPECT_TRUE(wiq_json_subset(root.get(), copy.get(), 1));
        EXPECT_FALSE(wiq_json_equal(root.get(), other.get()));
        EXPECT_FALSE(wiq_json_subset(root.get(), other.get(), 0));
    });
}

// Attaching a node does not search all levels above it for a cycle each time.
TEST_P(JsonDeep, AttachManyContainersFarDown) {
    Tree root(build(GetParam(), kMillion / 5, 1));
    wiq_json_t* deepest = root.get();
    for (wiq_json_t* node = deepest; !wiq_json_is_int(node);) {
        deepest = node;
        node = wiq_json_is_array(node) ? wiq_json_array_get_ext(node, 0, 0, nullptr)
                                       : wiq_json_obj_get_ext(node, "k", 0, nullptr);
    }
    const auto before = std::chrono::steady_clock::now();
    for (int i = 0; i < 20000; ++i) {
        wiq_json_t* child = tree::node(i % 2 == 0 ? "[[1],{\"a\":2}]" : "{\"a\":[1],\"b\":[]}");
        const i32 status = wiq_json_is_array(deepest)
                               ? wiq_json_array_push_ext(deepest, child, nullptr)
                               : wiq_json_obj_put_ext(deepest, "x", child, nullptr);
        ASSERT_EQ(status, 0);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(60));
}

TEST_P(JsonDeep, ReplaceAndRemove) {
    run_on_small_stack([&] {
        Tree array = tree::make("[0]");
        EXPECT_EQ(wiq_json_array_put(array.get(), 0, build(GetParam(), kSmallStack, 1)), 0);
        wiq_json_t* pattern = build(GetParam(), kSmallStack, 1);
        EXPECT_EQ(wiq_json_array_find(array.get(), pattern),
                  wiq_json_array_get_ext(array.get(), 0, 0, nullptr));
        EXPECT_EQ(wiq_json_array_put(array.get(), 0, pattern), 0) << "releases the old one";
        EXPECT_EQ(wiq_json_array_pop(array.get(), 1), 0);

        Tree obj = tree::make("{}");
        EXPECT_EQ(
            wiq_json_obj_put_ext(obj.get(), "deep", build(GetParam(), kSmallStack, 1), nullptr), 0);
        EXPECT_NE(wiq_json_obj_put_null(obj.get(), "deep", nullptr), nullptr);
    });
}

std::string shape_name(const testing::TestParamInfo<Shape>& info) {
    const char* names[] = {"Arrays", "Objects", "Mixed"};
    return names[info.param];
}

INSTANTIATE_TEST_SUITE_P(Shapes, JsonDeep, testing::Values(kArrays, kObjects, kMixed), shape_name);

TEST(JsonDeepBottomUp, FullContainersUnderNewOnes) {
    run_on_small_stack([] {
        wiq_json_t* node = wiq_json_i64_new(1, nullptr);
        for (int level = 0; level < kMillion; ++level) {
            wiq_json_t* outer = wiq_json_array_new(1, nullptr);
            ASSERT_EQ(wiq_json_array_push_ext(outer, node, nullptr), 0);
            node = outer;
        }
        EXPECT_EQ(levels(node), kMillion);
        wiq_json_unref(node);
    });
}

}  // namespace
