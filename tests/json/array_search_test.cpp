// Searching, filtering and sorting arrays, strong and weak.
#include <gtest/gtest.h>

#include <numeric>

#include "json/tree.h"

namespace {

using tree::count;
using tree::elem;
using tree::make;
using tree::parent;
using tree::text_of;
using tree::Tree;

void expect_numbered(const Tree& array) {
    for (i32 i = 0; i < wiq_json_array_size(array.get()); ++i) {
        EXPECT_EQ(wiq_json_parent_index(elem(array, i)), i);
    }
}

TEST(JsonArrayFind, FindsTheFirstEqualElement) {
    Tree array = make("[1,\"a\",{\"k\":[1,2.0]},1.0,[],@\"/0\",null,\"b\"]");
    const struct {
        const char* pattern;
        i32 index;  // -1 means not found
    } rows[] = {
        {"1", 0},
        {"1.0", 0},
        {"1u", 0},
        {"2", -1},
        {"\"a\"", 1},
        {"\"b\"", 7},
        {"\"c\"", -1},
        {"null", 6},
        {"true", -1},
        {"[]", 4},
        {"{}", -1},
        {"@\"/0\"", 5},
        {"@\"/1\"", -1},
        {"{\"k\":[1.0,2]}", 2},
        {"{\"k\":[1]}", -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.pattern);
        EXPECT_EQ(wiq_json_array_find(array.get(), make(row.pattern).get()),
                  row.index >= 0 ? elem(array, row.index) : nullptr);
    }
    EXPECT_EQ(wiq_json_array_find(array.get(), elem(array, 4)), elem(array, 4));
    EXPECT_EQ(wiq_json_array_find(array.get(), nullptr), nullptr);
    EXPECT_EQ(wiq_json_array_find(nullptr, make("1").get()), nullptr);
    EXPECT_EQ(wiq_json_array_find(make("{}").get(), make("1").get()), nullptr);
}

TEST(JsonArrayFind, FindsTexts) {
    Tree array = make("[@\"a\",1,\"a\",\"a\",\"\"]");
    EXPECT_EQ(wiq_json_array_find_str(array.get(), "a"), elem(array, 2));
    EXPECT_EQ(wiq_json_array_find_str(array.get(), ""), elem(array, 4));
    EXPECT_EQ(wiq_json_array_find_str(array.get(), "A"), nullptr);
    EXPECT_EQ(wiq_json_array_find_str(array.get(), nullptr), nullptr);
    EXPECT_EQ(wiq_json_array_find_str(nullptr, "a"), nullptr);
    EXPECT_EQ(wiq_json_array_find_str(make("\"a\"").get(), "a"), nullptr);
}

bool is_even(wiq_json_t* node, void*) {
    return wiq_json_i64_get(node) % 2 == 0;
}

TEST(JsonArrayFilter, KeepsTheOrder) {
    const struct {
        const char* before;
        const char* after;
    } rows[] = {
        {"[]", "[]"},
        {"[2,4]", "[2,4]"},
        {"[1]", "[]"},
        {"[1,3,5]", "[]"},
        {"[1,2,3,4,6]", "[2,4,6]"},
        {"[2,1,4,3]", "[2,4]"},
        {"[8,6,7,5,4]", "[8,6,4]"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.before);
        Tree array = make(row.before);
        EXPECT_EQ(wiq_json_array_filter(array.get(), is_even, nullptr), 0);
        EXPECT_EQ(text_of(array), row.after);
        expect_numbered(array);
    }
}

TEST(JsonArrayFilter, DropsTheFirstAndTheThirdOfFive) {
    Tree array = make("[1,2,3,4,6]");
    const wiq_json_t* kept[] = {elem(array, 1), elem(array, 3), elem(array, 4)};
    ASSERT_EQ(wiq_json_array_filter(array.get(), is_even, nullptr), 0);
    EXPECT_EQ(wiq_json_parent_index(kept[0]), 0);
    EXPECT_EQ(wiq_json_parent_index(kept[1]), 1);
    EXPECT_EQ(wiq_json_parent_index(kept[2]), 2);
}

TEST(JsonArrayFilter, CallsThePredicateOncePerElementInOrder) {
    Tree array = make("[3,1,2,5]");
    std::string asked;
    wiq_json_array_filter(
        array.get(),
        [](wiq_json_t* node, void* user) {
            // The array does not change until the last answer.
            EXPECT_EQ(wiq_json_array_size(const_cast<wiq_json_t*>(parent(node))), 4);
            EXPECT_EQ(wiq_json_array_get_ext(parent(node), 1, 0, nullptr) == node,
                      wiq_json_i64_get(node) == 1);
            *static_cast<std::string*>(user) += text_of(node);
            return false;
        },
        &asked);
    EXPECT_EQ(asked, "3125");
    EXPECT_EQ(text_of(array), "[]");
}

TEST(JsonArrayFilter, DroppedElementsSurviveIfReferenced) {
    Tree array = make("[1,2,3]");
    wiq_json_t* held = elem(array, 0);
    wiq_json_ref(held);
    wiq_json_array_filter(array.get(), is_even, nullptr);
    EXPECT_EQ(text_of(array), "[2]");
    EXPECT_EQ(count(held), 1);
    EXPECT_EQ(parent(held), nullptr);
    wiq_json_unref(held);
}

// An element that was swapped in at a negative index records that index, so it comes first.
TEST(JsonArrayFilter, NegativeIndexesComeFirst) {
    const struct {
        const char* before;
        std::vector<i32> swapped;  // for 100, 102, ...
        const char* after;
    } rows[] = {
        {"[1,2,4]", {-1}, "[100,2]"},
        {"[2,1,4]", {-1}, "[100,2]"},
        {"[2,4,6]", {-1}, "[2,4,100]"},  // nothing is removed
        {"[1,2,4,1]", {-4}, "[100,2,4]"},
        {"[1,2,4,6]", {-1, -2}, "[102,100,2]"},
        {"[2,4,6,1]", {-2, -4, 1}, "[102,100,104]"},
        {"[2,4,1,1,1]", {-1, -2}, "[102,100,2,4]"},
        {"[1,3,5]", {-2}, "[100]"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.before);
        Tree array = make(row.before);
        i64 value = 100;
        for (const i32 index : row.swapped) {
            wiq_json_t* node = wiq_json_i64_new(value, nullptr);
            wiq_json_unref(wiq_json_array_swap(array.get(), index, node, nullptr));
            value += 2;
        }
        EXPECT_EQ(wiq_json_array_filter(array.get(), is_even, nullptr), 0);
        EXPECT_EQ(text_of(array), row.after);
        if (std::string(row.after) != "[2,4,100]") {
            expect_numbered(array);
        }
    }
}

TEST(JsonArrayFilter, RefusesWrongArguments) {
    Tree array = make("[1]");
    EXPECT_EQ(wiq_json_array_filter(nullptr, is_even, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_array_filter(make("{}").get(), is_even, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_array_filter(array.get(), nullptr, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text_of(array), "[1]");
}

TEST(JsonArrayFilter, WeakArrayOfNodesWithoutParents) {
    std::vector<Tree> nodes;
    Tree weak = make("w[]");
    for (i64 i = 0; i < 30; ++i) {
        wiq_json_t* node = wiq_json_i64_new(i, nullptr);
        wiq_json_ref(node);
        nodes.emplace_back(node);
        wiq_json_array_push_ext(weak.get(), node, nullptr);
    }
    const auto keep = [](wiq_json_t* node, void* divisor) {
        return wiq_json_i64_get(node) % *static_cast<i64*>(divisor) != 0;
    };
    std::string expected = "w[";
    for (i64 i = 0; i < 30; ++i) {
        expected += i % 3 != 0 && i % 5 != 0 ? std::to_string(i) + "," : "";
    }
    expected.back() = ']';
    i64 divisor = 3;
    EXPECT_EQ(wiq_json_array_filter(weak.get(), keep, &divisor), 0);
    divisor = 5;
    EXPECT_EQ(wiq_json_array_filter(weak.get(), keep, &divisor), 0);
    EXPECT_EQ(text_of(weak), expected);
    for (i64 i = 0; i < 30; ++i) {
        EXPECT_EQ(count(nodes[static_cast<size_t>(i)].get()), i % 3 != 0 && i % 5 != 0 ? 2 : 1);
    }
}

// Keeps or drops an element according to the next letter of a text.
bool keep_as_told(wiq_json_t*, void* user) {
    const char** next = static_cast<const char**>(user);
    return *(*next)++ == 'k';
}

// If a node without a parent is listed twice and one entry is dropped, the other one goes to the end.
TEST(JsonArrayFilter, WeakArrayThatListsANodeTwice) {
    const struct {
        const char* list;  // letters a, b, c: three nodes
        const char* keep;  // k keeps, d drops
        const char* after;
    } rows[] = {
        {"aab", "dkk", "w[1,0]"},         {"aab", "kdk", "w[1,0]"}, {"aab", "ddk", "w[1]"},
        {"aba", "kkd", "w[1,0]"},         {"aba", "dkk", "w[1,0]"}, {"aabc", "dkkd", "w[1,0]"},
        {"aabb", "dkkd", "w[0,0]"},       {"abab", "dddk", "w[1]"}, {"abab", "kkkk", "w[0,1,0,1]"},
        {"bacab", "kdkkk", "w[1,2,1,0]"}, {"aaa", "dkd", "w[0]"},
    };
    for (const auto& row : rows) {
        for (const char owner : {' ', '{'}) {
            SCOPED_TRACE(std::string(row.list) + " " + row.keep + owner);
            // Members of an object have no index in any other container either.
            Tree obj = make("{\"a\":0,\"b\":1,\"c\":2}");
            Tree free[] = {make("0"), make("1"), make("2")};
            Tree weak = make("w[]");
            i32 listed[3] = {};
            for (const char* c = row.list; *c != 0; ++c) {
                const char key[] = {*c, 0};
                wiq_json_t* node = owner == '{' ? wiq_json_obj_get_ext(obj.get(), key, 0, nullptr)
                                                : free[*c - 'a'].get();
                wiq_json_array_push_ext(weak.get(), node, nullptr);
            }
            for (Tree& node : free) {
                wiq_json_ref(node.get());
            }
            const char* keep = row.keep;
            EXPECT_EQ(wiq_json_array_filter(weak.get(), keep_as_told, &keep), 0);
            EXPECT_EQ(text_of(weak), row.after);
            for (i32 i = 0; i < wiq_json_array_size(weak.get()); ++i) {
                ++listed[wiq_json_i64_get(elem(weak, i))];
            }
            for (i32 i = 0; i < 3; ++i) {
                const char key[] = {static_cast<char>('a' + i), 0};
                wiq_json_t* held = wiq_json_obj_get_ext(obj.get(), key, 0, nullptr);
                EXPECT_STREQ(wiq_json_parent_key(held), key);
                EXPECT_EQ(count(held), 1 + (owner == '{' ? listed[i] : 0));
                EXPECT_EQ(count(free[i].get()), 1 + (owner == '{' ? 0 : listed[i]));
            }
        }
    }
}

// A later filter must not see an index that an earlier one left in a dropped node.
TEST(JsonArrayFilter, WeakArrayThatListsADroppedNodeAgain) {
    Tree nodes[] = {make("0"), make("1"), make("2")};
    Tree weak = make("w[]");
    for (Tree& node : nodes) {
        wiq_json_ref(node.get());
        wiq_json_array_push_ext(weak.get(), node.get(), nullptr);
    }
    for (const char* after : {"w[1,2]", "w[2,0]", "w[0,1]"}) {
        const char* keep = "dkk";
        wiq_json_t* dropped = elem(weak, 0);
        EXPECT_EQ(wiq_json_array_filter(weak.get(), keep_as_told, &keep), 0);
        EXPECT_EQ(text_of(weak), after);
        wiq_json_array_push_ext(weak.get(), dropped, nullptr);
    }
}

// The time does not depend on the size of the object that owns the elements.
TEST(JsonArrayFilter, WeakArrayOfManyMembers) {
    constexpr i32 kMembers = 200000;
    Tree obj(wiq_json_obj_new(kMembers, nullptr));
    Tree weak(wiq_json_array_weak_new(kMembers, nullptr));
    for (i32 i = 0; i < kMembers; ++i) {
        const std::string key = "k" + std::to_string(i);
        wiq_json_array_push_ext(weak.get(),
                                wiq_json_obj_put_i64(obj.get(), key.c_str(), i, nullptr), nullptr);
    }
    EXPECT_EQ(wiq_json_array_filter(weak.get(), is_even, nullptr), 0);
    ASSERT_EQ(wiq_json_array_size(weak.get()), kMembers / 2);
    for (i32 i = 0; i < kMembers / 2; ++i) {
        ASSERT_EQ(wiq_json_i64_get(elem(weak, i)), 2 * i);
        ASSERT_EQ(wiq_json_parent_key(elem(weak, i)), "k" + std::to_string(2 * i));
    }
}

TEST(JsonArrayFilter, EmptyArrays) {
    for (const char* text : {"[]", "w[]"}) {
        Tree array = make(text);
        EXPECT_EQ(wiq_json_array_filter(array.get(), is_even, nullptr), 0) << text;
        EXPECT_EQ(text_of(array), text);
    }
}

TEST(JsonArrayFilter, WeakArraySortsByTheIndexesInTheOwner) {
    Tree owner = make("[10,20,31,40]");
    Tree weak = make("w[]");
    for (const i32 index : {3, 2, 0, 1}) {
        wiq_json_array_push_ext(weak.get(), elem(owner, index), nullptr);
    }
    EXPECT_EQ(wiq_json_array_filter(weak.get(), is_even, nullptr), 0);
    EXPECT_EQ(text_of(weak), "w[10,20,40]");
    EXPECT_EQ(wiq_json_parent_index(elem(owner, 0)), 0);
    EXPECT_EQ(wiq_json_parent_index(elem(owner, 3)), 3);
    // The dropped element was given an index after all those of the weak array.
    EXPECT_EQ(wiq_json_parent_index(elem(owner, 2)), 4);
    EXPECT_EQ(parent(elem(owner, 2)), owner.get());
    EXPECT_EQ(count(elem(owner, 2)), 1);
    // Its owner can still find it.
    Tree orphan(elem(owner, 2));
    EXPECT_EQ(wiq_json_make_orphan(orphan.get()), 0);
    EXPECT_EQ(text_of(owner), "[10,20,null,40]");
}

TEST(JsonArrayFilter, WeakArrayLeavesKeysUnchanged) {
    Tree owner = make("{\"a\":1,\"b\":2,\"c\":3}");
    Tree weak = make("w[]");
    for (const char* key : {"a", "b", "c"}) {
        wiq_json_array_push_ext(weak.get(), wiq_json_obj_get_ext(owner.get(), key, 0, nullptr),
                                nullptr);
    }
    EXPECT_EQ(wiq_json_array_filter(weak.get(), is_even, nullptr), 0);
    EXPECT_EQ(text_of(weak), "w[2]");
    for (const char* key : {"a", "b", "c"}) {
        EXPECT_STREQ(wiq_json_parent_key(wiq_json_obj_get_ext(owner.get(), key, 0, nullptr)), key);
    }
}

int by_value(const void* a, const void* b) {
    const i64 left = wiq_json_i64_get(*static_cast<wiq_json_t* const*>(a));
    const i64 right = wiq_json_i64_get(*static_cast<wiq_json_t* const*>(b));
    return (left > right) - (left < right);
}

TEST(JsonArraySort, SortsAndNumbers) {
    Tree array = make("[5,3,9,1,7,2,8]");
    EXPECT_EQ(wiq_json_array_sort(array.get(), by_value), 0);
    EXPECT_EQ(text_of(array), "[1,2,3,5,7,8,9]");
    expect_numbered(array);
    struct Row {
        const char* before;
        const char* after;
    };
    for (const Row& row :
         {Row{"[]", "[]"}, Row{"[1]", "[1]"}, Row{"[2,1]", "[1,2]"}, Row{"[1,2]", "[1,2]"}}) {
        Tree other = make(row.before);
        EXPECT_EQ(wiq_json_array_sort(other.get(), by_value), 0);
        EXPECT_EQ(text_of(other), row.after);
        expect_numbered(other);
    }
    EXPECT_EQ(wiq_json_array_sort(nullptr, by_value), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_array_sort(make("{}").get(), by_value), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_array_sort(array.get(), nullptr), WIQ_ERR_INVALID_ARG);
}

TEST(JsonArraySort, WeakArrayLeavesIndexesUnchanged) {
    Tree owner = make("[5,3,9]");
    Tree weak = make("w[]");
    for (const i32 index : {0, 1, 2}) {
        wiq_json_array_push_ext(weak.get(), elem(owner, index), nullptr);
    }
    EXPECT_EQ(wiq_json_array_sort(weak.get(), by_value), 0);
    EXPECT_EQ(text_of(weak), "w[3,5,9]");
    expect_numbered(owner);
}

}  // namespace
