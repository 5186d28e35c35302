// Tests of the C++ layer: ownership of its handles above all, then each convenience.
#define KE_UTILS_EXCEPTIONS
#include "ke_utils.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "no_exceptions.h"

namespace {

using namespace ke::literals;
using ke::json;

json parsed(const char* text) {
    ke::result<json> root = json::parse(text);
    EXPECT_TRUE(root) << text << ": " << root.message();
    return root ? *root : json();
}

TEST(CppStatus, Texts) {
    EXPECT_STREQ(ke::status_text(0), "success");
    EXPECT_STREQ(ke::status_text(WIQ_ERR_NO_MEMORY), "an allocation failed");
    EXPECT_STREQ(ke::status_text(-9999), "unknown status");
}

TEST(CppResult, HoldsAValueOrAStatus) {
    const ke::result<int> good = 5;
    EXPECT_TRUE(good);
    EXPECT_EQ(*good, 5);
    EXPECT_EQ(good.status(), 0);
    EXPECT_EQ(good.value(), 5);
    EXPECT_EQ(good.value_or(7), 5);

    const auto bad = ke::result<int>::failure(WIQ_ERR_RANGE);
    EXPECT_FALSE(bad);
    EXPECT_EQ(bad.status(), WIQ_ERR_RANGE);
    EXPECT_STREQ(bad.message(), ke::status_text(WIQ_ERR_RANGE));
    EXPECT_EQ(bad.value_or(7), 7);
    try {
        (void)bad.value();
        ADD_FAILURE() << "value() of a failure must throw";
    } catch (const ke::bad_result& error) {
        EXPECT_EQ(error.status(), WIQ_ERR_RANGE);
        EXPECT_STREQ(error.what(), ke::status_text(WIQ_ERR_RANGE));
    }
}

TEST(CppResult, ParserFailuresTellThePlace) {
    const ke::result<json> root = json::parse("[\n x]");
    ASSERT_FALSE(root);
    EXPECT_EQ(root.status(), WIQ_ERR_JSON_BAD_TOKEN);
    EXPECT_EQ(root.line(), 2);
    EXPECT_EQ(root.column(), 2);
    EXPECT_EQ(root.position(), 4);
}

TEST(CppJson, EmptyHandleAnswersEverything) {
    json nothing;
    EXPECT_FALSE(nothing);
    EXPECT_EQ(nothing.get(), nullptr);
    EXPECT_FALSE(nothing.is_null());
    EXPECT_EQ(nothing.size(), 0);
    EXPECT_FALSE(nothing["a"]);
    EXPECT_FALSE(nothing[0]);
    EXPECT_FALSE(nothing.at("/a"_ptr));
    EXPECT_FALSE(nothing.contains("a"));
    EXPECT_TRUE(nothing.members().empty());
    EXPECT_STREQ(nothing.type_name(), "<none>");
    EXPECT_EQ(nothing.to<ke::i64>().status(), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(nothing.dump().status(), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(nothing.clone().status(), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(nothing.set("a", 1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(nothing.push_back(1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(nothing.expand(), WIQ_ERR_INVALID_ARG);
    for (json elem : nothing.elements())
        ADD_FAILURE() << elem.type_name();
    EXPECT_EQ(nothing, json());
}

TEST(CppJson, ScalarsOfEveryKind) {
    EXPECT_TRUE(json::of(nullptr).is_null());
    EXPECT_TRUE(json::null().is_null());
    EXPECT_TRUE(json::of(true).to<bool>().value());
    EXPECT_FALSE(json::of(false).to<bool>().value());
    EXPECT_EQ(json::of(-5).to<ke::i64>().value(), -5);
    EXPECT_EQ(json::of(5u).to<ke::u64>().value(), 5u);
    EXPECT_EQ(json::of(INT64_MIN).to<ke::i64>().value(), INT64_MIN);
    EXPECT_EQ(json::of(UINT64_MAX).to<ke::u64>().value(), UINT64_MAX);
    EXPECT_EQ(json::of(1.5).to<double>().value(), 1.5);
    EXPECT_EQ(json::of("text").to<std::string_view>().value(), "text");
    EXPECT_EQ(json::of(std::string("text")).to<std::string>().value(), "text");
    const wiq_uint128 big = {1, 2};
    EXPECT_EQ(json::of(big).to<wiq_uint128>()->hi, 2u);
    EXPECT_TRUE(json::reference("/a").is_reference());
}

TEST(CppJson, ReadsOnlyWithoutLoss) {
    EXPECT_EQ(json::of(3.0).to<ke::i64>().value(), 3);
    EXPECT_EQ(json::of(3.5).to<ke::i64>().status(), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(json::of(-1).to<ke::u64>().status(), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(json::of("3").to<ke::i64>().status(), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(json::of(1).to<bool>().status(), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(json::of(1).to<std::string>().status(), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(json::of(1.5).to<wiq_uint128>().status(), WIQ_ERR_WRONG_TYPE);
    EXPECT_EQ(json::of("x").to<double>().status(), WIQ_ERR_WRONG_TYPE);
}

TEST(CppJson, HandlesShareAndMove) {
    json a = json::object();
    const json b = a;
    EXPECT_EQ(a.set("k", 1), 0);
    EXPECT_EQ(b["k"].to<ke::i64>().value(), 1);
    json c = std::move(a);
    EXPECT_FALSE(a);  // NOLINT(bugprone-use-after-move): a moved-from handle is empty
    EXPECT_EQ(c.get(), b.get());
    c = c.clone().value();
    EXPECT_NE(c.get(), b.get());
    EXPECT_EQ(c, b);
    EXPECT_EQ(c.set("k", 2), 0);
    EXPECT_NE(c, b);
}

TEST(CppJson, AChildOutlivesItsContainer) {
    json child;
    {
        json root = parsed(R"({"a":{"b":[1,2,3]}})");
        child = root.at("/a/b"_ptr);
        EXPECT_EQ(wiq_json_parent_key(child.get()), std::string("b"));
    }
    EXPECT_EQ(wiq_json_parent_key(child.get()), nullptr);
    EXPECT_EQ(child.size(), 3);
    EXPECT_EQ(child[-1].to<ke::i64>().value(), 3);
}

TEST(CppJson, ARemovedMemberLivesAsLongAsItsHandle) {
    json root = parsed(R"({"a":"text"})");
    const json a = root["a"];
    const std::string_view text = a.to<std::string_view>().value();
    EXPECT_EQ(root.erase("a"), 0);
    EXPECT_EQ(root.erase("a"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text, "text");
}

TEST(CppJson, AContainerOwnsWhatAHandleGaveIt) {
    json root = json::object();
    {
        json list = json::array();
        EXPECT_EQ(list.push_back(1), 0);
        EXPECT_EQ(root.set("list", list), 0);
        EXPECT_EQ(root.set("again", list), WIQ_ERR_INVALID_ARG) << "a value has one place";
        EXPECT_EQ(list.push_back(2), 0);
    }
    EXPECT_EQ(root.dump().value(), R"({"list":[1,2]})");
}

TEST(CppJson, PointersReadAndWrite) {
    json root = json::object();
    EXPECT_EQ(root.set("/drive/serials/-"_ptr, "A1"), 0);
    EXPECT_EQ(root.set("/drive/serials/-"_ptr, "B2"), 0);
    EXPECT_EQ(root.set("/drive/hours"_ptr, 12u), 0);
    EXPECT_EQ(root.set("drive"_ptr, 1), WIQ_ERR_PTR_SYNTAX);
    EXPECT_EQ(root.at("/drive/serials/1"_ptr).to<std::string>().value(), "B2");
    EXPECT_FALSE(root.at("/drive/none"_ptr));
}

TEST(CppJson, RangesVisitEveryChild) {
    const json root = parsed(R"({"a":1,"b":2,"c":[10,20,30]})");
    std::vector<std::string> keys;
    for (auto [key, value] : root.members()) {
        keys.emplace_back(key);
        EXPECT_EQ(value, root[key]);
    }
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(keys, (std::vector<std::string>{"a", "b", "c"}));
    ke::i64 sum = 0;
    for (json elem : root["c"].elements())
        sum += elem.to<ke::i64>().value();
    EXPECT_EQ(sum, 60);
    EXPECT_EQ(root.size(), 3);
    EXPECT_EQ(root["c"].size(), 3);
    EXPECT_EQ(root["a"].size(), 0);
}

TEST(CppJson, LookUpsFollowReferences) {
    json root = parsed(R"({"a":[7],"b":{"$ref":"#/a"}})");
    EXPECT_EQ(root["b"].get(), root["a"].get());
    EXPECT_TRUE(root.at("/b"_ptr).is_reference());
    EXPECT_EQ(root.expand(), 0);
    EXPECT_EQ(root["b"], root["a"]);
    EXPECT_NE(root["b"].get(), root["a"].get());
}

TEST(CppJson, LoadsFromAStreamAndDumps) {
    FILE* stream = tmpfile();
    ASSERT_NE(stream, nullptr);
    fputs(R"({"a":[1,true,null]})", stream);
    rewind(stream);
    const ke::result<json> root = json::load(stream);
    fclose(stream);
    ASSERT_TRUE(root);
    EXPECT_EQ(root->dump(WIQ_JSON_DUMP_PRETTY).value(),
              "{\n  \"a\": [\n    1,\n    true,\n    null\n  ]\n}");
    EXPECT_EQ(json::of("\xff").dump().status(), WIQ_ERR_BAD_FORMAT);
}

TEST(CppVector, GrowsAndIterates) {
    ke::vector<int> numbers;
    EXPECT_TRUE(numbers.empty());
    EXPECT_EQ(numbers.at(0), nullptr);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(numbers.push_back(i), 0);
    EXPECT_EQ(numbers.push_back(numbers[0]), 0)
        << "an element of its own, also when the block moves";
    EXPECT_EQ(numbers.size(), 101);
    EXPECT_EQ(*numbers.at(-2), 99);
    EXPECT_EQ(numbers.pop_back(), 0);
    EXPECT_EQ(numbers.pop_back(1000), WIQ_ERR_INVALID_ARG);
    int sum = 0;
    for (int number : numbers)
        sum += number;
    EXPECT_EQ(sum, 4950);
    ke::vector<int> moved = std::move(numbers);
    EXPECT_EQ(moved.size(), 100);
    EXPECT_TRUE(numbers.empty());  // NOLINT(bugprone-use-after-move): empty and usable
    EXPECT_EQ(numbers.push_back(1), 0);
    moved.clear();
    EXPECT_TRUE(moved.empty());
    EXPECT_EQ(moved.reserve_extra(10), 0);
    EXPECT_EQ(moved.get()->capacity, 10);
}

TEST(CppMap, StoresFindsAndRemoves) {
    ke::map<std::string> names;
    EXPECT_EQ(names.find("a"), nullptr);
    EXPECT_EQ(names.set("a", "first"), 0);
    EXPECT_EQ(names.set("a", "second"), 0);
    EXPECT_EQ(names.set("b", "other"), 0);
    EXPECT_EQ(names.size(), 2u);
    ASSERT_NE(names.find("a"), nullptr);
    EXPECT_EQ(*names.find("a"), "second");
    for (auto [key, value] : names)
        value += std::string("!") + std::string(key);
    EXPECT_EQ(*names.find("b"), "other!b");
    ke::map<std::string> moved = std::move(names);
    EXPECT_TRUE(moved.erase("a"));
    EXPECT_FALSE(moved.erase("a"));
    EXPECT_FALSE(moved.contains("a"));
    EXPECT_TRUE(moved.contains("b"));
    EXPECT_EQ(names.size(), 0u);  // NOLINT(bugprone-use-after-move): empty
    for (auto entry : names)
        ADD_FAILURE() << entry.key;
}

TEST(CppMap, VisitsEveryEntryOnce) {
    ke::map<int> numbers;
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(numbers.set(std::to_string(i), i), 0);
    std::vector<bool> seen(1000);
    for (auto [key, value] : numbers) {
        EXPECT_EQ(std::to_string(value), key);
        EXPECT_FALSE(seen[static_cast<size_t>(value)]);
        seen[static_cast<size_t>(value)] = true;
    }
    EXPECT_EQ(std::count(seen.begin(), seen.end(), true), 1000);
}

TEST(CppStrbuf, BuildsText) {
    ke::strbuf text;
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.append("drive "), 6);
    EXPECT_EQ(text.append('#'), 0);
    EXPECT_EQ(text.printf("%d %s", 7, "ok"), 4);
    EXPECT_EQ(text.append_hex("\x0a\xff", 2), 0);
    EXPECT_EQ(text.view(), "drive #7 ok0AFF");
    EXPECT_EQ(std::string_view(text).size(), text.size());
    ke::strbuf moved = std::move(text);
    EXPECT_EQ(moved.size(), 15u);
    EXPECT_TRUE(text.view().empty());  // NOLINT(bugprone-use-after-move): empty and usable
    EXPECT_EQ(text.append("again"), 5);
    const ke::c_text handed = moved.release();
    EXPECT_STREQ(handed.get(), "drive #7 ok0AFF");
    EXPECT_TRUE(moved.empty());
    text.clear();
    EXPECT_TRUE(text.empty());
}

TEST(CppLayer, WorksAsCpp17WithoutExceptions) {
    EXPECT_EQ(no_exceptions::first_of_a(R"({"a":[42]})"), 42);
    EXPECT_EQ(no_exceptions::first_of_a(R"({"a":[]})"), -1);
    EXPECT_EQ(no_exceptions::first_of_a("{"), -1);
}

}  // namespace
