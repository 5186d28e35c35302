// Arrays: attaching, replacing and removing elements at an index.
#include <gtest/gtest.h>

#include "json/tree.h"

namespace {

using tree::count;
using tree::elem;
using tree::make;
using tree::parent;
using tree::status;
using tree::text_of;
using tree::Tree;

TEST(JsonArrayPush, MakesTheArrayTheParent) {
    Tree array = make("[10]");
    wiq_json_t* child = tree::node("20");
    u32 err = 0;
    EXPECT_EQ(wiq_json_array_push_ext(array.get(), child, &err), 0);
    EXPECT_EQ(err, 0u);
    EXPECT_EQ(text_of(array), "[10,20]");
    EXPECT_EQ(count(child), 1);
    EXPECT_EQ(parent(child), array.get());
    EXPECT_EQ(wiq_json_parent_index(child), 1);
}

TEST(JsonArrayPush, RefusesWhatItCannotTake) {
    Tree array = make("[1]");
    Tree obj = make("{}");
    Tree child = make("2");
    Tree other = make("[]");
    const struct {
        const char* what;
        wiq_json_t* array;
        wiq_json_t* child;
    } rows[] = {
        {"no array", nullptr, child.get()},
        {"an object", obj.get(), child.get()},
        {"no child", array.get(), nullptr},
        {"a child with a parent", other.get(), elem(array, 0)},
        {"itself", other.get(), other.get()},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        u32 err = 0;
        EXPECT_EQ(wiq_json_array_push_ext(row.array, row.child, &err), WIQ_ERR_INVALID_ARG);
        EXPECT_EQ(status(err), WIQ_ERR_INVALID_ARG);
        EXPECT_EQ(wiq_json_array_push_ext(row.array, row.child, nullptr), WIQ_ERR_INVALID_ARG);
    }
    u32 err = static_cast<u32>(WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(wiq_json_array_push_ext(array.get(), child.get(), &err), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(text_of(array), "[1]");
    EXPECT_EQ(text_of(other), "[]");
    EXPECT_EQ(count(child.get()), 0);
    EXPECT_EQ(count(elem(array, 0)), 1);
}

TEST(JsonArrayPush, WeakArrayDoesNotSetTheParent) {
    Tree owner = make("[1,2]");
    Tree weak = make("w[]");
    wiq_json_t* child = elem(owner, 1);
    EXPECT_EQ(wiq_json_array_push_ext(weak.get(), child, nullptr), 0);
    EXPECT_EQ(wiq_json_array_push_ext(weak.get(), child, nullptr), 0);
    EXPECT_EQ(count(child), 3);
    EXPECT_EQ(parent(child), owner.get());
    EXPECT_EQ(wiq_json_parent_index(child), 1);
    EXPECT_EQ(wiq_json_array_pop(weak.get(), 1), 0);
    EXPECT_EQ(count(child), 2);
    weak.reset();
    EXPECT_EQ(count(child), 1);
}

TEST(JsonArrayBuild, BuildersAttachWhatTheyMake) {
    Tree array = make("[]");
    const wiq_uint128 big = {0, 1};
    u32 err = 0;
    wiq_json_t* const built[] = {
        wiq_json_array_push_bool(array.get(), true, &err),
        wiq_json_array_push_bool(array.get(), false, &err),
        wiq_json_array_push_i64(array.get(), -4, &err),
        wiq_json_array_push_u64(array.get(), 4, &err),
        wiq_json_array_push_u128(array.get(), &big, &err),
        wiq_json_array_push_double(array.get(), 0.5, &err),
        wiq_json_array_push_str(array.get(), "text", &err),
        wiq_json_array_push_obj(array.get(), &err),
        wiq_json_array_push_array(array.get(), &err),
    };
    EXPECT_EQ(err, 0u);
    i32 index = 0;
    for (const wiq_json_t* node : built) {
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(count(node), 1);
        EXPECT_EQ(parent(node), array.get());
        EXPECT_EQ(wiq_json_parent_index(node), index);
        EXPECT_EQ(elem(array, index++), node);
    }
    EXPECT_EQ(text_of(array), "[true,false,-4,4u,18446744073709551616w,0.5,\"text\",{},[]]");
}

TEST(JsonArrayBuild, BuildersRefuseAndChain) {
    using Build = wiq_json_t* (*)(wiq_json_t*, u32*);
    const Build builders[] = {
        [](wiq_json_t* a, u32* e) { return wiq_json_array_push_bool(a, true, e); },
        [](wiq_json_t* a, u32* e) { return wiq_json_array_push_i64(a, 1, e); },
        [](wiq_json_t* a, u32* e) { return wiq_json_array_push_u64(a, 1, e); },
        [](wiq_json_t* a, u32* e) {
            const wiq_uint128 value = {1, 1};
            return wiq_json_array_push_u128(a, &value, e);
        },
        [](wiq_json_t* a, u32* e) { return wiq_json_array_push_double(a, 1, e); },
        [](wiq_json_t* a, u32* e) { return wiq_json_array_push_str(a, "s", e); },
        [](wiq_json_t* a, u32* e) { return wiq_json_array_push_obj(a, e); },
        [](wiq_json_t* a, u32* e) { return wiq_json_array_push_array(a, e); },
    };
    Tree array = make("[]");
    for (const Build build : builders) {
        u32 err = 0;
        EXPECT_EQ(build(make("{}").get(), &err), nullptr);
        EXPECT_EQ(status(err), WIQ_ERR_INVALID_ARG);
        EXPECT_EQ(build(array.get(), &err), nullptr) << "chained";
        err = 0;
        EXPECT_EQ(build(nullptr, &err), nullptr);
        EXPECT_EQ(status(err), WIQ_ERR_INVALID_ARG);
    }
    u32 err = 0;
    EXPECT_EQ(wiq_json_array_push_str(array.get(), nullptr, &err), nullptr);
    EXPECT_EQ(status(err), WIQ_ERR_INVALID_ARG);
    err = 0;
    EXPECT_EQ(wiq_json_array_push_u128(array.get(), nullptr, &err), nullptr);
    EXPECT_EQ(status(err), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text_of(array), "[]");
}

TEST(JsonArraySwap, ReturnsTheOldElement) {
    Tree array = make("[1,[2],3]");
    u32 err = 0;
    wiq_json_t* fresh = tree::node("9");
    Tree old(wiq_json_array_swap(array.get(), 1, fresh, &err));
    EXPECT_EQ(err, 0u);
    EXPECT_EQ(text_of(array), "[1,9,3]");
    EXPECT_EQ(count(fresh), 1);
    EXPECT_EQ(parent(fresh), array.get());
    EXPECT_EQ(wiq_json_parent_index(fresh), 1);
    EXPECT_EQ(text_of(old), "[2]");
    EXPECT_EQ(count(old.get()), 0);
    EXPECT_EQ(parent(old.get()), nullptr);
}

TEST(JsonArraySwap, RecordsTheIndexAsGiven) {
    Tree array = make("[1,2]");
    wiq_json_t* fresh = tree::node("9");
    Tree old(wiq_json_array_swap(array.get(), -1, fresh, nullptr));
    EXPECT_EQ(text_of(array), "[1,9]");
    EXPECT_EQ(tree::header(fresh)->position.index, UINT32_MAX);

    // The element is found even if its recorded index now refers to another element.
    wiq_json_array_push_i64(array.get(), 3, nullptr);
    EXPECT_EQ(wiq_json_make_orphan(fresh), 0);
    Tree orphan(fresh);
    EXPECT_EQ(parent(fresh), nullptr);
    EXPECT_EQ(text_of(array), "[1,null,3]");
}

TEST(JsonArraySwap, RefusesAndChains) {
    Tree array = make("[1]");
    Tree child = make("2");
    Tree owner = make("[7]");
    const struct {
        const char* what;
        wiq_json_t* array;
        i32 index;
        wiq_json_t* child;
        i32 status;
    } rows[] = {
        {"no array", nullptr, 0, child.get(), WIQ_ERR_INVALID_ARG},
        {"no array in kind", child.get(), 0, child.get(), WIQ_ERR_INVALID_ARG},
        {"no child", array.get(), 0, nullptr, WIQ_ERR_INVALID_ARG},
        {"a child with a parent", array.get(), 0, elem(owner, 0), WIQ_ERR_INVALID_ARG},
        {"itself", array.get(), 0, array.get(), WIQ_ERR_INVALID_ARG},
        {"after the end", array.get(), 1, child.get(), WIQ_ERR_INDEX_OUT_OF_RANGE},
        {"before the start", array.get(), -2, child.get(), WIQ_ERR_INDEX_OUT_OF_RANGE},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        u32 err = 0;
        EXPECT_EQ(wiq_json_array_swap(row.array, row.index, row.child, &err), nullptr);
        EXPECT_EQ(status(err), row.status);
        EXPECT_EQ(wiq_json_array_swap(row.array, row.index, row.child, nullptr), nullptr);
    }
    u32 err = static_cast<u32>(WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(wiq_json_array_swap(array.get(), 0, child.get(), &err), nullptr);
    EXPECT_EQ(status(err), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(text_of(array), "[1]");
    EXPECT_EQ(count(child.get()), 0);
    EXPECT_EQ(count(elem(owner, 0)), 1);
}

TEST(JsonArraySwap, InAWeakArray) {
    Tree owner = make("[1,2]");
    Tree weak = make("w[]");
    wiq_json_array_push_ext(weak.get(), elem(owner, 0), nullptr);
    wiq_json_t* old = wiq_json_array_swap(weak.get(), 0, elem(owner, 1), nullptr);
    EXPECT_EQ(old, elem(owner, 0));
    EXPECT_EQ(count(old), 1);
    EXPECT_EQ(parent(old), owner.get());
    EXPECT_EQ(count(elem(owner, 1)), 2);
    EXPECT_EQ(wiq_json_parent_index(elem(owner, 1)), 1);
}

// The caller must release the returned element, even if the array holds it again.
TEST(JsonArraySwap, ReplacesAnElementByItself) {
    for (const i32 index : {0, -2}) {
        Tree weak = make("w[1,2]");
        wiq_json_t* one = elem(weak, 0);
        u32 err = 0;
        wiq_json_t* old = wiq_json_array_swap(weak.get(), index, one, &err);
        EXPECT_EQ(err, 0u);
        EXPECT_EQ(old, one);
        EXPECT_EQ(count(one), 2);
        wiq_json_unref(old);
        EXPECT_EQ(count(one), 1);
        EXPECT_EQ(wiq_json_array_put(weak.get(), index, one), 0);
        EXPECT_EQ(count(one), 1);
        EXPECT_EQ(text_of(weak), "w[1,2]");
        // Swapping an element into another position works in the same way.
        old = wiq_json_array_swap(weak.get(), 1, one, nullptr);
        wiq_json_unref(old);
        EXPECT_EQ(text_of(weak), "w[1,1]");
        EXPECT_EQ(count(one), 2);
    }
    Tree strong = make("[1]");
    u32 err = 0;
    EXPECT_EQ(wiq_json_array_swap(strong.get(), 0, elem(strong, 0), &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(count(elem(strong, 0)), 1);
}

TEST(JsonArrayPut, ReplacesOrAppendsAtTheEnd) {
    Tree array = make("[1,2]");
    EXPECT_EQ(wiq_json_array_put(array.get(), 0, tree::node("10")), 0);
    EXPECT_EQ(wiq_json_array_put(array.get(), 2, tree::node("30")), 0);
    EXPECT_EQ(text_of(array), "[10,2,30]");
    EXPECT_EQ(wiq_json_parent_index(elem(array, 2)), 2);
    EXPECT_EQ(count(elem(array, 2)), 1);
    EXPECT_EQ(wiq_json_array_put(array.get(), -1, tree::node("33")), 0);
    EXPECT_EQ(text_of(array), "[10,2,33]");

    Tree child = make("4");
    EXPECT_EQ(wiq_json_array_put(array.get(), 4, child.get()), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(wiq_json_array_put(array.get(), -4, child.get()), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(wiq_json_array_put(nullptr, 0, child.get()), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_array_put(make("{}").get(), 0, child.get()), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_array_put(array.get(), 0, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_array_put(array.get(), 3, elem(array, 0)), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text_of(array), "[10,2,33]");
    EXPECT_EQ(count(child.get()), 0);

    Tree empty = make("[]");
    EXPECT_EQ(wiq_json_array_put(empty.get(), 0, child.release()), 0);
    EXPECT_EQ(text_of(empty), "[4]");
}

TEST(JsonArrayPut, ReplacedElementsSurviveIfReferenced) {
    Tree array = make("[[1],2]");
    wiq_json_t* held = elem(array, 0);
    wiq_json_ref(held);
    EXPECT_EQ(wiq_json_array_put(array.get(), 0, tree::node("5")), 0);
    EXPECT_EQ(count(held), 1);
    EXPECT_EQ(parent(held), nullptr);
    EXPECT_EQ(text_of(held), "[1]");
    wiq_json_unref(held);
}

TEST(JsonArrayPut, InAWeakArray) {
    Tree owner = make("[1,2]");
    Tree weak = make("w[]");
    EXPECT_EQ(wiq_json_array_put(weak.get(), 0, elem(owner, 0)), 0);
    EXPECT_EQ(wiq_json_array_put(weak.get(), 0, elem(owner, 0)), 0) << "the same again";
    EXPECT_EQ(count(elem(owner, 0)), 2);
    EXPECT_EQ(wiq_json_array_put(weak.get(), 0, elem(owner, 1)), 0);
    EXPECT_EQ(count(elem(owner, 0)), 1);
    EXPECT_EQ(count(elem(owner, 1)), 2);
    EXPECT_EQ(text_of(owner), "[1,2]");
}

TEST(JsonArrayPop, ReleasesTheLastElements) {
    Tree array = make("[1,[2],{\"a\":3}]");
    wiq_json_t* held = elem(array, 1);
    wiq_json_ref(held);
    EXPECT_EQ(wiq_json_array_pop(array.get(), 0), 0);
    EXPECT_EQ(wiq_json_array_pop(array.get(), -1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_array_pop(array.get(), 4), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_array_pop(nullptr, 0), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_array_pop(make("{}").get(), 0), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_array_size(array.get()), 3);
    EXPECT_EQ(wiq_json_array_pop(array.get(), 2), 0);
    EXPECT_EQ(text_of(array), "[1]");
    EXPECT_EQ(parent(held), nullptr);
    EXPECT_EQ(count(held), 1);
    wiq_json_unref(held);
    EXPECT_EQ(wiq_json_array_pop(array.get(), 1), 0);
    EXPECT_EQ(text_of(array), "[]");
}

TEST(JsonArrayPop, ReturnsTheLastElement) {
    Tree array = make("[1,[2]]");
    Tree last(wiq_json_array_pop_elem(array.get()));
    EXPECT_EQ(text_of(last), "[2]");
    EXPECT_EQ(count(last.get()), 0);
    EXPECT_EQ(parent(last.get()), nullptr);
    Tree first(wiq_json_array_pop_elem(array.get()));
    EXPECT_EQ(text_of(first), "1");
    EXPECT_EQ(wiq_json_array_pop_elem(array.get()), nullptr);
    EXPECT_EQ(wiq_json_array_pop_elem(nullptr), nullptr);
    EXPECT_EQ(wiq_json_array_pop_elem(make("{}").get()), nullptr);

    // It can be put into another array right away.
    EXPECT_EQ(wiq_json_array_push_ext(array.get(), last.release(), nullptr), 0);
    EXPECT_EQ(text_of(array), "[[2]]");

    Tree weak = make("w[]");
    wiq_json_array_push_ext(weak.get(), elem(array, 0), nullptr);
    wiq_json_t* popped = wiq_json_array_pop_elem(weak.get());
    EXPECT_EQ(popped, elem(array, 0));
    EXPECT_EQ(count(popped), 1);
    EXPECT_EQ(parent(popped), array.get());
}

}  // namespace
