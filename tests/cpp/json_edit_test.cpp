// Tests of changing documents: what is copied and what is moved in, what is removed, and which failures
// change nothing.
#include "parsed.h"

#include <stdexcept>
#include <vector>

namespace {

using namespace ke::literals;
using ke::json;
using ke::json_ref;
using ke::json_view;

TEST(CppJson, HandlesShareAndMove) {
    json a = json::object();
    const json b = a;
    EXPECT_EQ(a.set("k", 1), 0);
    EXPECT_EQ(b["k"], 1);
    json c = std::move(a);
    EXPECT_FALSE(a);  // NOLINT(bugprone-use-after-move): a moved-from handle is empty
    EXPECT_EQ(c.node(), b.node());
    c = c.clone().value();
    EXPECT_NE(c.node(), b.node());
    EXPECT_EQ(c, b);
    EXPECT_EQ(c.set("k", 2), 0);
    EXPECT_NE(c, b);
}

TEST(CppJson, SelfAssignment) {
    json a = parsed("[1]");
    json& same = a;
    a = same;
    EXPECT_EQ(text_of(a), "[1]");
    a = std::move(same);
    EXPECT_EQ(text_of(a), "[1]");
    a = a[0];
    EXPECT_EQ(a, 1) << "the element outlives its array";
    swap(a, same);
    EXPECT_EQ(a, 1);
}

TEST(CppJson, AChildOutlivesItsContainer) {
    json child;
    {
        json root = parsed(R"({"a":{"b":[1,2,3]}})");
        child = root.at("/a/b"_ptr);
        EXPECT_STREQ(child.parent_key(), "b");
    }
    EXPECT_EQ(child.parent_key(), nullptr);
    EXPECT_EQ(child[-1], 3);
}

TEST(CppJson, ARemovedMemberLivesAsLongAsItsHandle) {
    json root = parsed(R"({"a":"text"})");
    const json a = root["a"];
    const std::string_view text = a.to<std::string_view>().value();
    EXPECT_EQ(root.erase("a"), 0);
    EXPECT_EQ(root.erase("a"), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(text, "text");
}

TEST(CppSet, ScalarsOfEveryKind) {
    json root = json::object();
    EXPECT_EQ(root.set("null", nullptr), 0);
    EXPECT_EQ(root.set("true", true), 0);
    EXPECT_EQ(root.set("i8", static_cast<signed char>(-8)), 0);
    EXPECT_EQ(root.set("long", -5L), 0);
    EXPECT_EQ(root.set("min", INT64_MIN), 0);
    EXPECT_EQ(root.set("max", UINT64_MAX), 0);
    EXPECT_EQ(root.set("float", 0.5f), 0);
    EXPECT_EQ(root.set("wide", 1_u128 << 64u), 0);
    EXPECT_EQ(root.set("text", "literal"), 0);
    EXPECT_EQ(root.set("view", std::string_view("viewed").substr(0, 4)), 0);
    char buffer[8] = "buffer";
    EXPECT_EQ(root.set("buffer", buffer), 0);
    EXPECT_EQ(
        text_of(root),
        R"({"buffer":"buffer","float":0.500000,"i8":-8,"long":-5,"max":18446744073709551615,)"
        R"("min":-9223372036854775808,"null":null,"text":"literal","true":true,"view":"view",)"
        R"("wide":18446744073709551616})");
}

TEST(CppSet, ListsInBraces) {
    json root = json::object();
    EXPECT_EQ(root.set("list", {1, "two", nullptr}), 0);
    EXPECT_EQ(root.set("/deep/object"_ptr, {{"a", 1}, {"b", {2, 3}}}), 0);
    EXPECT_EQ(root["list"].push_back({4, 5}), 0);
    EXPECT_EQ(root["list"].insert(0, {{"first", true}}), 0);
    EXPECT_EQ(root["list"].set(1, {6, 7}), 0);
    EXPECT_EQ(text_of(root), R"({"deep":{"object":{"a":1,"b":[2,3]}},)"
                             R"("list":[{"first":true},[6,7],"two",null,[4,5]]})");
    EXPECT_EQ(root.set("empty", {}), ke::err_empty) << "{} is neither an object nor an array";
    EXPECT_FALSE(root.contains("empty"));
}

TEST(CppSet, AValueWithAParentIsCopied) {
    json root = parsed(R"({"a":{"n":1}})");
    json other = json::object();
    EXPECT_EQ(other.set("x", root["a"]), 0);
    EXPECT_EQ(other.set("y", std::as_const(root)["a"]), 0);
    EXPECT_EQ(text_of(other), R"({"x":{"n":1},"y":{"n":1}})");
    EXPECT_NE(other["x"].node(), root["a"].node());
    EXPECT_EQ(text_of(root), R"({"a":{"n":1}})");

    const json owner = root["a"];
    EXPECT_EQ(other.set("z", owner), 0);
    EXPECT_EQ(other.set("moved", json(root["a"])), 0) << "it has a parent, so it is copied";
    EXPECT_EQ(text_of(root), R"({"a":{"n":1}})");
    EXPECT_EQ(root.set("own", root["a"]), 0);
    EXPECT_EQ(root.set("all", root), 0) << "a copy of itself as it was";
    EXPECT_EQ(root["all"].size(), 2);
}

TEST(CppSet, AValueWithoutAParentIsCopiedOrMoved) {
    json root = json::object();
    json list = json::array();
    EXPECT_EQ(list.push_back(1), 0);
    EXPECT_EQ(root.set("copy", list), 0);
    EXPECT_EQ(list.push_back(2), 0);
    const wiq_json_t* const node = list.node();
    EXPECT_EQ(root.set("moved", std::move(list)), 0);
    EXPECT_FALSE(list);  // NOLINT(bugprone-use-after-move): it was moved in
    EXPECT_EQ(root["moved"].node(), node) << "without a copy";
    EXPECT_EQ(text_of(root), R"({"copy":[1],"moved":[1,2]})");
    EXPECT_EQ(root.set("fresh", json::array({1, 2})), 0);
    EXPECT_EQ(root["fresh"].push_back(root.take("copy")), 0) << "a result passes its value on";
    EXPECT_EQ(text_of(root), R"({"fresh":[1,2,[1]],"moved":[1,2]})");
}

TEST(CppSet, AMovedValueStaysWithItsHandleAfterAFailure) {
    json list = json::array();
    json value = parsed("[1]");
    EXPECT_EQ(list.set("key", std::move(value)), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text_of(value), "[1]");  // NOLINT(bugprone-use-after-move): it was not moved
    EXPECT_EQ(list.set(3, std::move(value)), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(text_of(value), "[1]");  // NOLINT(bugprone-use-after-move): it was not moved
    json ring = json::array();
    json_ref inside = ring.ref();
    EXPECT_EQ(inside.push_back(std::move(ring)), WIQ_ERR_INVALID_ARG);
    EXPECT_TRUE(ring);  // NOLINT(bugprone-use-after-move): it was not moved
}

TEST(CppSet, AnEmptyHandleHasItsOwnStatus) {
    json root = parsed(R"({"a":1})");
    json nothing;
    EXPECT_EQ(root.set("y", root["missing"]), ke::err_empty);
    EXPECT_EQ(root.set("y", json()), ke::err_empty);
    EXPECT_EQ(root.set("y", ke::result<json>::failure(WIQ_ERR_RANGE)), WIQ_ERR_RANGE);
    EXPECT_EQ(nothing.set("a", 1), ke::err_empty);
    EXPECT_EQ(nothing.set("/a"_ptr, 1), ke::err_empty);
    EXPECT_EQ(nothing.set(0, 1), ke::err_empty);
    EXPECT_EQ(nothing.push_back(1), ke::err_empty);
    EXPECT_EQ(nothing.pop_back(), ke::err_empty);
    EXPECT_EQ(nothing.insert(0, 1), ke::err_empty);
    EXPECT_EQ(nothing.expand(), ke::err_empty);
    EXPECT_EQ(nothing.clear(), ke::err_empty);
    EXPECT_EQ(nothing.erase("a"), ke::err_empty);
    EXPECT_EQ(nothing.take("a").status(), ke::err_empty);
    EXPECT_EQ(nothing.take_back().status(), ke::err_empty);
    EXPECT_EQ(nothing.replace(1).status(), ke::err_empty);
    EXPECT_EQ(nothing.orphan(), ke::err_empty);
    EXPECT_EQ(nothing.object_at("a").status(), ke::err_empty);
    EXPECT_EQ(nothing.sort([](json_view, json_view) { return false; }), ke::err_empty);
    EXPECT_EQ(nothing.erase_if([](json_view) { return true; }).status(), ke::err_empty);
    EXPECT_EQ(text_of(root), R"({"a":1})");
}

TEST(CppSet, ByPointer) {
    json root = json::object();
    EXPECT_EQ(root.set("/drive/serials/-"_ptr, "A1"), 0);
    EXPECT_EQ(root.set("/drive/serials/-"_ptr, "B2"), 0);
    EXPECT_EQ(root.set("/drive/hours"_ptr, 12u), 0);
    EXPECT_EQ(root.set("/drive/ratio"_ptr, 0.5), 0);
    EXPECT_EQ(root.set(ke::path() / "drive" / "a/b", true), 0);
    EXPECT_EQ(root.set("drive"_ptr, 1), WIQ_ERR_PTR_SYNTAX);
    EXPECT_EQ(root.set("/drive/hours/x"_ptr, 1), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(text_of(root),
              R"({"drive":{"a/b":true,"hours":12,"ratio":0.500000,"serials":["A1","B2"]}})");
}

TEST(CppSet, ALiteralPointerWithoutItsSuffixIsRefused) {
    json root = json::object();
    EXPECT_EQ(root.set("/a/b", 1), WIQ_ERR_PTR_SYNTAX);
    EXPECT_TRUE(root.empty());
    EXPECT_EQ(root.set(ke::key("/a/b"), 1), 0);
    EXPECT_EQ(root.set(std::string("/c"), 2), 0)
        << "a key that is not a literal is never a pointer";
    EXPECT_EQ(root["/a/b"], 1) << "a look-up takes any key";
    EXPECT_EQ(root["/c"], 2);
}

TEST(CppSet, ByIndex) {
    json list = parsed("[1,2]");
    EXPECT_EQ(list.set(0, "one"), 0);
    EXPECT_EQ(list.set(2u, "three"), 0);
    EXPECT_EQ(list.set(-1, 3), 0);
    EXPECT_EQ(list[-1].parent_index(), 2);
    EXPECT_EQ(list.set(9, 1), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(list.set(-4, 1), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(list.set(INT32_MIN, 1), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(json::object().set(INT32_MIN, 1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(list.set(ke::u64{1} << 32, 1), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(text_of(list), R"(["one",2,3])");
    EXPECT_EQ(list.insert(0, 0), 0);
    EXPECT_EQ(list.insert(4, list[1]), 0);
    EXPECT_EQ(list.insert(2, parsed("[]")), 0);
    EXPECT_EQ(list.insert(7, 1), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(list.insert(-1, 1), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(list.insert(ke::u64{1} << 32, 1), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(list.insert(static_cast<std::size_t>(list.size()), "one"), 0);
    EXPECT_EQ(list.pop_back(), 0);
    EXPECT_EQ(text_of(list), R"([0,"one",[],2,3,"one"])");
    for (int i = 0; i < list.size(); ++i)
        EXPECT_EQ(list[i].parent_index(), i);
    EXPECT_EQ(json::object().insert(0, 1), WIQ_ERR_INVALID_ARG);
}

TEST(CppSet, MissingContainersAreMade) {
    json root = parsed(R"({"n":1})");
    EXPECT_EQ(root.object_at("a")->set("x", 1), 0);
    EXPECT_EQ(root.object_at("a")->set("y", 2), 0);
    EXPECT_EQ(root.array_at("l")->push_back(3), 0);
    EXPECT_EQ(root.array_at("a").status(), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(root.object_at("n").status(), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(text_of(root), R"({"a":{"x":1,"y":2},"l":[3],"n":1})");
}

TEST(CppTake, MembersElementsAndPointers) {
    json root = parsed(R"({"a":{"b":1,"x/y":9},"l":[1,2,3,2]})");
    const json b = root.take("/a/b"_ptr).value();
    EXPECT_EQ(b, 1);
    EXPECT_FALSE(b.parent());
    EXPECT_EQ(root.take(ke::path() / "a" / "x/y").value(), 9);
    EXPECT_EQ(root["l"].take(1).value(), 2);
    EXPECT_EQ(text_of(root["l"]), "[1,3,2]");
    EXPECT_EQ(root["l"].take(-3).value(), 1);
    EXPECT_EQ(root.take("/l/1"_ptr).value(), 2);
    EXPECT_EQ(root["l"].take_back().value(), 3);
    EXPECT_EQ(root["l"].take_back().status(), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(root.take_back().status(), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(root.take("none").status(), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(root["l"].take(0).status(), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(root.take(""_ptr).status(), WIQ_ERR_INVALID_ARG) << "the root has no position";
    json a = root.take("a").value();
    EXPECT_EQ(root.set("again", std::move(a)), 0);
    EXPECT_EQ(text_of(root), R"({"again":{},"l":[]})");
}

TEST(CppErase, ByIndexAndPointer) {
    json root = parsed(R"({"a":{"b":1},"l":[1,2,3,4,5]})");
    EXPECT_EQ(root.erase("/a/b"_ptr), 0);
    EXPECT_EQ(root["l"].erase(0), 0);
    EXPECT_EQ(root["l"].erase(-1), 0);
    EXPECT_EQ(root["l"].erase(1u), 0);
    EXPECT_EQ(root["l"].erase(7), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(text_of(root), R"({"a":{},"l":[2,4]})");
    EXPECT_EQ(root["l"].pop_back(), 0);
    EXPECT_EQ(root["l"].pop_back(2), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(root["l"].clear(), 0);
    EXPECT_EQ(root.clear(), 0);
    EXPECT_EQ(text_of(root), "{}");
}

TEST(CppErase, ByPredicate) {
    json list = parsed("[1,2,3,4,5,6]");
    EXPECT_EQ(list.erase_if([](json_view v) { return *v.to<int>() % 2 == 0; }).value(), 3);
    EXPECT_EQ(text_of(list), "[1,3,5]");
    EXPECT_EQ(list.erase_if([](json_view) { return false; }).value(), 0);
    json root = parsed(R"({"a":1,"b":2,"c":3})");
    EXPECT_EQ(root.erase_if([](json_view v) { return v != 2; }).value(), 2);
    EXPECT_EQ(text_of(root), R"({"b":2})");
    EXPECT_EQ(root["b"].erase_if([](json_view) { return true; }).status(), WIQ_ERR_INVALID_ARG);
    EXPECT_THROW(
        (void)parsed("[1,2]").erase_if([](json_view) -> bool { throw std::runtime_error("no"); }),
        std::runtime_error);
    EXPECT_THROW((void)list.erase_if([](json_view v) -> bool {
        return v == 5 ? throw std::runtime_error("no") : true;
    }),
                 std::runtime_error);
    EXPECT_EQ(text_of(list), "[1,3,5]")
        << "nothing is erased before the predicate has seen all elements";
}

TEST(CppErase, ByTestKeepsTheOrderOfElementsSetFromTheEnd) {
    json list = parsed("[1,2,3,4,5]");
    EXPECT_EQ(list.set(-1, 6), 0);
    EXPECT_EQ(list.set(-3, 7), 0);
    EXPECT_EQ(list.push_back(8), 0);
    EXPECT_EQ(list.erase_if([](json_view v) { return v == 2; }).value(), 1);
    EXPECT_EQ(text_of(list), "[1,7,4,6,8]");
}

TEST(CppSort, IsStableAndMayThrow) {
    json list = parsed(R"([{"k":2,"n":0},{"k":1,"n":1},{"k":2,"n":2},{"k":1,"n":3}])");
    const json_view before = list[0];
    EXPECT_EQ(
        list.sort([](json_view a, json_view b) { return *a["k"].to<int>() < *b["k"].to<int>(); }),
        0);
    EXPECT_EQ(text_of(list), R"([{"k":1,"n":1},{"k":1,"n":3},{"k":2,"n":0},{"k":2,"n":2}])");
    EXPECT_EQ(before.parent_index(), 2) << "the elements themselves move";
    EXPECT_THROW((void)list.sort([](json_view, json_view) -> bool { throw 1; }), int);
    EXPECT_EQ(list.size(), 4);
    for (int size = 0; size < 40; ++size) {
        json numbers = json::array();
        for (int i = 0; i < size; ++i)
            EXPECT_EQ(numbers.push_back(i * 7 % 11), 0);
        EXPECT_EQ(
            numbers.sort([](json_view a, json_view b) { return *a.to<int>() < *b.to<int>(); }), 0);
        EXPECT_EQ(numbers.size(), size);
        for (int i = 1; i < size; ++i)
            EXPECT_LE(*numbers[i - 1].to<int>(), *numbers[i].to<int>());
    }
    EXPECT_EQ(json::object().sort([](json_view, json_view) { return false; }), WIQ_ERR_INVALID_ARG);
}

TEST(CppReplace, InPlace) {
    json root = parsed(R"({"a":[1,2]})");
    const json old = root["a"].replace("new").value();
    EXPECT_EQ(text_of(old), "[1,2]");
    EXPECT_FALSE(old.parent());
    EXPECT_EQ(text_of(root), R"({"a":"new"})");
    EXPECT_EQ(root.replace(1).status(), WIQ_ERR_INVALID_ARG)
        << "a node without a parent cannot be replaced";
    json a = root["a"];
    EXPECT_EQ(a.orphan(), 0);
    EXPECT_EQ(text_of(root), "{}");
    EXPECT_EQ(a, "new");
}

TEST(CppWeak, RefersToValuesThatKeepTheirParents) {
    json root = parsed(R"({"a":{"n":1},"b":[2]})");
    json weak = json::weak_array();
    json named = json::weak_object();
    EXPECT_EQ(weak.link_back(root["a"]), 0);
    EXPECT_EQ(weak.link_back(root["b"]), 0);
    EXPECT_EQ(named.link("first", root["a"]), 0);
    EXPECT_EQ(weak[0].node(), root["a"].node());
    EXPECT_EQ(weak[0].parent().node(), root.node());
    EXPECT_TRUE(weak.is_weak());
    EXPECT_EQ(root.link("c", root["a"]), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(json::array().link_back(root["a"]), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(weak.link_back(json_ref()), ke::err_empty);
    EXPECT_EQ(named.erase("first"), 0);
    EXPECT_EQ(weak.erase(0), 0);
    EXPECT_EQ(text_of(root), R"({"a":{"n":1},"b":[2]})")
        << "erased from the weak list, not from its parent";
    EXPECT_EQ(text_of(weak), "[[2]]");
    EXPECT_EQ(weak.link_back(root["a"]), 0);
    EXPECT_EQ(weak.link_back(root["b"]), 0);
    EXPECT_EQ(weak.erase_if([](json_view v) { return v.is_object(); }).value(), 1);
    EXPECT_EQ(text_of(weak), "[[2],[2]]");
    EXPECT_EQ(text_of(root), R"({"a":{"n":1},"b":[2]})");
}

TEST(CppWeak, ErasesTheElementThatAPointerNames) {
    json root = parsed("[1,2]");
    json lists = json::weak_object();
    json weak = json::weak_array();
    EXPECT_EQ(lists.link("list", weak), 0);
    for (const int place : {0, 1, 0})
        EXPECT_EQ(weak.link_back(root[place]), 0);
    EXPECT_EQ(lists.erase("/list/2"_ptr), 0);
    EXPECT_EQ(text_of(weak), "[1,2]");
    EXPECT_EQ(weak.link_back(root[0]), 0);
    EXPECT_EQ(lists.take("/list/0x2"_ptr).value(), 1);
    EXPECT_EQ(text_of(weak), "[1,2]");
    EXPECT_EQ(lists.erase("/list/2"_ptr), WIQ_ERR_INDEX_OUT_OF_RANGE);
}

TEST(CppWeak, ElementsThatAPredicateAppendsRemain) {
    json weak = json::weak_array();
    json strong = json::array();
    for (json_ref list : {json_ref(weak), json_ref(strong)}) {
        EXPECT_EQ(list.push_back(1), 0);
        EXPECT_EQ(list.push_back(2), 0);
        const auto test = [&](json_view v) {
            EXPECT_EQ(list.push_back("new"), 0);
            return v == 1;
        };
        EXPECT_EQ(list.erase_if(test).value(), 1);
        EXPECT_EQ(text_of(list), R"([2,"new","new"])");
    }
}

}  // namespace
