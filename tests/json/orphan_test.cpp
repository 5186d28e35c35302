// Detaching nodes from their parents, and exchanging them.
#include <gtest/gtest.h>

#include "json/tree.h"

namespace {

using tree::count;
using tree::elem;
using tree::make;
using tree::member;
using tree::parent;
using tree::text_of;
using tree::Tree;

void expect_free_standing(const wiq_json_t* node, i32 expected_count) {
    EXPECT_EQ(parent(node), nullptr);
    EXPECT_EQ(wiq_json_parent_index(node), -1);
    EXPECT_EQ(wiq_json_parent_key(node), nullptr);
    EXPECT_EQ(count(node), expected_count);
}

TEST(JsonMakeOrphan, OfAnArray) {
    const struct {
        i32 index;
        const char* after;
    } rows[] = {{0, "[null,[1],2]"}, {1, "[0,null,2]"}, {2, "[0,[1]]"}};
    for (const auto& row : rows) {
        Tree array = make("[0,[1],2]");
        Tree node(elem(array, row.index));
        const std::string text = text_of(node);
        EXPECT_EQ(wiq_json_make_orphan(node.get()), 0);
        expect_free_standing(node.get(), 0);
        EXPECT_EQ(text_of(node), text);
        EXPECT_EQ(text_of(array), row.after);
        for (i32 i = 0; i < wiq_json_array_size(array.get()); ++i) {
            EXPECT_EQ(wiq_json_parent_index(elem(array, i)), i);
            EXPECT_EQ(parent(elem(array, i)), array.get());
            EXPECT_EQ(count(elem(array, i)), 1);
        }
    }
}

TEST(JsonMakeOrphan, OfAnObject) {
    Tree obj = make("{\"a\":[1],\"b\":2}");
    Tree node(member(obj, "a"));
    EXPECT_EQ(wiq_json_make_orphan(node.get()), 0);
    expect_free_standing(node.get(), 0);
    EXPECT_EQ(text_of(node), "[1]");
    EXPECT_EQ(text_of(obj), "{\"b\":2}");
    EXPECT_EQ(wiq_json_make_orphan(node.get()), 0) << "it has no parent now";
    EXPECT_EQ(wiq_json_make_orphan(obj.get()), 0);
    EXPECT_EQ(wiq_json_make_orphan(nullptr), WIQ_ERR_INVALID_ARG);
}

TEST(JsonMakeOrphan, LeavesOtherReferencesAlone) {
    Tree root = make("{\"a\":1,\"b\":[2]}");
    for (wiq_json_t* node :
         {member(root, "a"), wiq_json_array_get_ext(member(root, "b"), 0, 0, nullptr)}) {
        wiq_json_ref(node);
        EXPECT_EQ(wiq_json_make_orphan(node), 0);
        expect_free_standing(node, 1);
        wiq_json_unref(node);
    }
    EXPECT_EQ(text_of(root), "{\"b\":[]}");
}

TEST(JsonMakeOrphan, WithAChainedStatus) {
    Tree array = make("[1,2]");
    u32 err = static_cast<u32>(WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(wiq_json_make_orphan_ex(elem(array, 0), &err), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(text_of(array), "[1,2]");
    err = 0;
    EXPECT_EQ(wiq_json_make_orphan_ex(nullptr, &err), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
    err = 0;
    Tree second(elem(array, 1));
    EXPECT_EQ(wiq_json_make_orphan_ex(second.get(), &err), 0);
    EXPECT_EQ(err, 0u);
    Tree first(elem(array, 0));
    EXPECT_EQ(wiq_json_make_orphan_ex(first.get(), nullptr), 0);
    EXPECT_EQ(text_of(array), "[]");
    EXPECT_EQ(wiq_json_make_orphan_ex(nullptr, nullptr), WIQ_ERR_INVALID_ARG);
}

TEST(JsonSwapChild, InAnObject) {
    Tree obj = make("{\"a\":[1],\"b\":2}");
    Tree node(member(obj, "a"));
    wiq_json_t* replacement = tree::node("\"new\"");
    EXPECT_EQ(wiq_json_swap_child(node.get(), replacement), 0);
    expect_free_standing(node.get(), 0);
    EXPECT_EQ(text_of(node), "[1]");
    EXPECT_EQ(text_of(obj), "{\"a\":\"new\",\"b\":2}");
    EXPECT_EQ(parent(replacement), obj.get());
    EXPECT_STREQ(wiq_json_parent_key(replacement), "a");
    EXPECT_EQ(count(replacement), 1);
}

TEST(JsonSwapChild, InAnArray) {
    Tree array = make("[0,1,2]");
    Tree node(elem(array, 1));
    wiq_json_ref(node.get());
    wiq_json_t* replacement = tree::node("\"new\"");
    EXPECT_EQ(wiq_json_swap_child(node.get(), replacement), 0);
    expect_free_standing(node.get(), 1);
    EXPECT_EQ(text_of(array), "[0,\"new\",2]");
    EXPECT_EQ(wiq_json_parent_index(replacement), 1);
    EXPECT_EQ(count(replacement), 1);
}

TEST(JsonSwapChild, RefusesInvalidReplacements) {
    Tree array = make("[0,[1]]");
    Tree obj = make("{\"a\":1}");
    Tree node = make("5");
    EXPECT_EQ(wiq_json_swap_child(nullptr, node.get()), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_swap_child(elem(array, 0), nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_swap_child(array.get(), node.get()), 0) << "no parent, nothing to do";
    EXPECT_EQ(wiq_json_swap_child(array.get(), elem(array, 0)), 0);
    // A replacement must have no parent, and must not contain the child that it replaces.
    EXPECT_EQ(wiq_json_swap_child(elem(array, 0), elem(array, 1)), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_swap_child(elem(array, 0), elem(array, 0)), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_swap_child(elem(array, 0), array.get()), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_swap_child(member(obj, "a"), elem(array, 0)), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_swap_child(member(obj, "a"), obj.get()), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text_of(array), "[0,[1]]");
    EXPECT_EQ(text_of(obj), "{\"a\":1}");
    EXPECT_EQ(count(elem(array, 0)), 1);
    EXPECT_EQ(count(member(obj, "a")), 1);
    EXPECT_EQ(count(node.get()), 0);
    EXPECT_EQ(count(array.get()), 0);
}

}  // namespace
