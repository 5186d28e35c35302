// Tests of the C interface's containers as C++ classes.
#include "parsed.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(CppVector, GrowsAndIterates) {
    ke::vector<int> numbers;
    EXPECT_TRUE(numbers.empty());
    EXPECT_EQ(numbers.at(0), nullptr);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(numbers.push_back(i), 0);
    EXPECT_EQ(numbers.push_back(numbers[0]), 0) << "its own element, even if the block moves";
    EXPECT_EQ(numbers.size(), 101);
    EXPECT_EQ(*numbers.at(-2), 99);
    EXPECT_EQ(*std::as_const(numbers).at(0), 0);
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
    EXPECT_EQ(numbers.assign(moved.data() + 10, 3), 0);
    EXPECT_EQ(numbers[2], 12);
    EXPECT_EQ(numbers.resize(5, numbers[0]), 0);
    EXPECT_EQ(numbers[4], 10);
    EXPECT_EQ(numbers.resize(-1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(numbers.assign(nullptr, 0), 0);
    EXPECT_TRUE(numbers.empty());
    moved.clear();
    EXPECT_TRUE(moved.empty());
    EXPECT_EQ(moved.reserve_extra(10), 0);
    EXPECT_EQ(moved.capacity(), 10);
}

TEST(CppMap, StoresFindsAndRemoves) {
    ke::map<std::string> names;
    EXPECT_EQ(names.find("a"), nullptr);
    EXPECT_EQ(names.set("a", "first"), 0);
    EXPECT_EQ(names.set("a", "second"), 0);
    EXPECT_EQ(names.set(std::string_view("bb").substr(1), "other"), 0);
    EXPECT_EQ(names.set(std::string("a\0b", 3), "x"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(names.set(static_cast<const char*>(nullptr), "x"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(names.size(), 2u);
    ASSERT_NE(names.find("a"), nullptr);
    EXPECT_EQ(*names.find("a"), "second");
    for (auto [key, value] : names)
        value += std::string("!") + std::string(key);
    EXPECT_EQ(*std::as_const(names).find("b"), "other!b");
    static_assert(std::is_same_v<decltype(std::as_const(names).find("b")), const std::string*>);
    ke::map<std::string> moved = std::move(names);
    EXPECT_TRUE(moved.erase("a"));
    EXPECT_FALSE(moved.erase("a"));
    EXPECT_FALSE(moved.contains("a"));
    EXPECT_TRUE(moved.contains("b"));
    EXPECT_EQ(names.size(), 0u);  // NOLINT(bugprone-use-after-move): empty and usable
    for (auto entry : names)
        ADD_FAILURE() << entry.key;
    EXPECT_EQ(names.set("new", "life"), 0);
    EXPECT_EQ(*names.find("new"), "life");
    moved.clear();
    EXPECT_TRUE(moved.empty());
}

TEST(CppMap, VisitsEveryEntryOnce) {
    ke::map<int> numbers;
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(numbers.set(std::to_string(i), i), 0);
    std::vector<bool> seen(1000);
    for (auto [key, value] : std::as_const(numbers)) {
        EXPECT_EQ(std::to_string(value), key);
        EXPECT_FALSE(seen[static_cast<size_t>(value)]);
        seen[static_cast<size_t>(value)] = true;
    }
    EXPECT_EQ(std::count(seen.begin(), seen.end(), true), 1000);
}

TEST(CppLockedMap, StoresFindsAndRemoves) {
    ke::locked_map<std::string> names;
    EXPECT_FALSE(names.find("a").has_value());
    EXPECT_FALSE(names.erase("a"));
    EXPECT_EQ(names.set("a", "first"), 0);
    EXPECT_EQ(names.set("a", "second"), 0);
    EXPECT_EQ(names.set("b", "other"), 0);
    EXPECT_EQ(names.set(std::string("a\0b", 3), "x"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(names.set(static_cast<const char*>(nullptr), "x"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(names.size(), 2u);
    EXPECT_EQ(names.find("a"), "second");
    EXPECT_TRUE(names.contains("b"));
    int seen = 0;
    names.for_each([&](std::string_view, std::string& value) {
        value += "!";
        ++seen;
    });
    EXPECT_EQ(seen, 2);
    EXPECT_EQ(names.find("b"), "other!");
    EXPECT_THROW(
        names.for_each([](std::string_view, std::string&) { throw std::runtime_error("no"); }),
        std::runtime_error);
    EXPECT_TRUE(names.erase("a"));
    EXPECT_FALSE(names.erase("a"));
    EXPECT_EQ(names.size(), 1u);
}

TEST(CppLockedMap, MakesWhatIsMissingOnce) {
    ke::locked_map<std::string> names;
    int calls = 0;
    const auto make = [&calls] { return std::to_string(++calls); };
    EXPECT_EQ(names.find_or_make("a", make).value(), "1");
    EXPECT_EQ(names.find_or_make("a", make).value(), "1");
    EXPECT_EQ(names.find_or_make("b", make).value(), "2");
    EXPECT_EQ(names.find("b"), "2");
    const auto failing = [] { return ke::result<std::string>(WIQ_ERR_RANGE); };
    EXPECT_EQ(names.find_or_make("c", failing).status(), WIQ_ERR_RANGE);
    EXPECT_THROW((void)names.find_or_make("c", []() -> std::string { throw 7; }), int);
    EXPECT_EQ(names.size(), 2u) << "a failure stores nothing";
    EXPECT_EQ(names.find_or_make(std::string("x\0y", 3), make).status(), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(names.find_or_make(static_cast<const char*>(nullptr), make).status(),
              WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(calls, 2);
}

TEST(CppLockedMapThreads, MakeAValueOnce) {
    ke::locked_map<int> map;
    std::atomic<int> made{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&map, &made] {
            for (int i = 0; i < 50; ++i)
                ASSERT_TRUE(map.find_or_make(std::to_string(i), [&] {
                    std::this_thread::sleep_for(std::chrono::microseconds(200));
                    return ++made;
                }));
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(made, 50);
    EXPECT_EQ(map.size(), 50u);
}

TEST(CppLockedMapThreads, ShareAMap) {
    ke::locked_map<int> map;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&map, t] {
            for (int i = 0; i < 300; ++i) {
                const std::string key = std::to_string(i % 50);
                ASSERT_EQ(map.set(key, t), 0);
                (void)map.find(key);
                if (i % 7 == 0)
                    map.erase(key);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_LE(map.size(), 50u);
}

TEST(CppJsonThreads, HandlesAreCountedAcrossThreads) {
    const ke::json root = parsed(R"({"a":[1,2,3]})");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([root] {
            for (int i = 0; i < 1000; ++i) {
                const ke::json mine = root;
                const ke::json again = mine.share();
                ASSERT_EQ(again["a"].size(), 3);
                for (auto element : again.at({"/a"}).elements())
                    ASSERT_TRUE(element.is_integer());
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(ke::detail::header_of(root.node()).count, 1);
}

template <class T>
void AssignToItself(T& value) {
    T& same = value;
    value = std::move(same);
}

TEST(CppContainers, KeepWhatTheyHoldWhenAssignedToThemselves) {
    ke::vector<int> numbers;
    ke::map<int> map;
    ke::string_list names;
    ke::strbuf text;
    ke::tagged value;
    ASSERT_EQ(numbers.push_back(1), 0);
    ASSERT_EQ(map.set("a", 2), 0);
    ASSERT_EQ(names.push_back("b"), 0);
    ASSERT_EQ(text.append("c"), 0);
    ASSERT_EQ(value.set("d"), 0);
    AssignToItself(numbers);
    AssignToItself(map);
    AssignToItself(names);
    AssignToItself(text);
    AssignToItself(value);
    EXPECT_EQ(numbers[0], 1);
    EXPECT_EQ(*map.find("a"), 2);
    EXPECT_EQ(names[0], "b");
    EXPECT_EQ(text.view(), "c");
    EXPECT_EQ(value.get<std::string_view>().value(), "d");
    ke::c_text owned = text.release();
    AssignToItself(owned);
    EXPECT_STREQ(owned.get(), "c");
}

TEST(CppStringList, OwnsItsStrings) {
    ke::string_list list;
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.push_back("b"), 0);
    EXPECT_EQ(list.push_back(std::string_view("aa").substr(1)), 0);
    EXPECT_EQ(list.push_back(std::string("x\0y", 3)), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(list.push_back(static_cast<const char*>(nullptr)), WIQ_ERR_INVALID_ARG);
    list.sort();
    std::string all;
    for (std::string_view text : list)
        all += text;
    EXPECT_EQ(all, "ab");
    EXPECT_EQ(list[1], "b");
    ke::string_list moved = std::move(list);
    EXPECT_EQ(moved.size(), 2);
    EXPECT_TRUE(list.empty());  // NOLINT(bugprone-use-after-move): empty and usable
    EXPECT_EQ(moved.pop_back(), 0);
    EXPECT_EQ(moved.pop_back(5), WIQ_ERR_INVALID_ARG);
    moved.clear();
    EXPECT_EQ(list.push_back("again"), 0);
}

}  // namespace
