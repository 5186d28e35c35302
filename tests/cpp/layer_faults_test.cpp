// Sweeps of the C++ layer: each allocation of the library inside a call of a class fails once. The call must
// report the status, leave what it would have changed unchanged, and leak nothing. Allocations that the layer
// itself makes with `operator new`, for a std::string or an array, are made to fail in
// standard_faults_test.cpp.
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ke_utils.hpp"
#include "support/alloc_faults.h"

using namespace ke::literals;

namespace {

const char kText[] = "{\"list\":[3,1,2],\"o\":{\"a\":1,\"text\":\"a text that is stored\"}}";

struct drive {
    std::string name;
    int hours = 0;
    std::optional<int> celsius;
    std::vector<int> temps;
    KE_JSON_MEMBERS(drive, name, hours, celsius, temps)
};

i32 code_of(const ke::status& status) {
    return status.code();
}
template <class T>
i32 code_of(const ke::result<T>& result) {
    return result.code();
}

// Sweeps `call(ke::json&)` on a fresh document, which must be unchanged after a failure.
template <class Call>
void SweepDocument(Call call, const char* text = kText) {
    {
        // Make what the library allocates once and keeps (class records) here.
        ke::json warm = *ke::json::parse(text);
        ASSERT_EQ(code_of(call(warm)), 0);
        ASSERT_TRUE(warm.dump());
    }
    const size_t points = SweepAllocations([&](AllocFaults& faults) {
        ke::json document = *ke::json::parse(text);
        const ke::json before = *document.clone();
        faults.arm();
        i32 code;
        {
            const auto done = call(document);
            faults.disarm();
            code = code_of(done);
        }
        EXPECT_EQ(code, faults.fired() ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : 0) << faults.nth();
        if (faults.fired()) {
            EXPECT_EQ(document, before) << faults.nth();
        }
    });
    EXPECT_GT(points, 0u);
}

TEST(CppFaults, Making) {
    SweepDocument([](ke::json&) { return ke::json::parse("{\"a\":[1,\"b\",{}]}"); });
    SweepDocument([](ke::json&) { return ke::parse_utf8("{\"\xC3\xA9\":1}"); });
    SweepDocument([](ke::json&) { return ke::json::make(12); });
    SweepDocument([](ke::json&) { return ke::json::make(nullptr); });
    SweepDocument([](ke::json&) { return ke::json::make("text"); });
    SweepDocument([](ke::json&) { return ke::json::make(std::vector<int>{1, 2, 3}); });
    SweepDocument([](ke::json&) {
        return ke::json::make(std::map<std::string, std::vector<int>>{{"a", {1}}, {"b", {}}});
    });
    SweepDocument([](ke::json&) { return ke::json::make(std::make_pair(1, "two")); });
    SweepDocument([](ke::json&) { return ke::json::make(drive{"sda", 1, 2, {3, 4}}); });
    SweepDocument([](ke::json& document) { return document.clone(); });
}

TEST(CppFaults, ABracedListIsWholeOrEmpty) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        faults.arm();
        const ke::json made{{"a", 1}, {"b", {1, "two", {{"c", nullptr}}}}};
        faults.disarm();
        EXPECT_EQ(static_cast<bool>(made), !faults.fired());
    });
    EXPECT_GT(points, 5u);
}

TEST(CppFaults, Writing) {
    SweepDocument([](ke::json& document) { return document.dump(); });
    SweepDocument([](ke::json& document) { return ke::dump_ascii(document); });
    SweepDocument([](ke::json& document) { return document["o"]["a"].location(); });
}

TEST(CppFaults, Setting) {
    SweepDocument([](ke::json& document) { return document.set("new", 1); });
    SweepDocument([](ke::json& document) { return document.set("o", "a text"); });
    SweepDocument([](ke::json& document) { return document.set("copy", document["o"]); });
    SweepDocument([](ke::json& document) { return document.set("own", drive{"sda", 1, 2, {3}}); });
    SweepDocument([](ke::json& document) { return document["list"].push_back(4); });
    SweepDocument([](ke::json& document) { return document["list"].set(1, "text"); });
    SweepDocument([](ke::json& document) { return document["list"].insert(1, "text"); });
    SweepDocument([](ke::json& document) { return document.set("/o/b"_ptr, "text"); });
    SweepDocument([](ke::json& document) { return document.object_at("made"); });
    SweepDocument([](ke::json& document) { return document.array_at("made"); });
    SweepDocument([](ke::json& document) { return document["o"].replace("text"); });
    const std::string key(1000, 'k');  // a view of it is copied to the heap
    SweepDocument([&](ke::json& document) { return document.set(std::string_view(key), 1); });
}

// There are enough containers and references for the counter's tables to grow several times.
TEST(CppFaults, MeasuringExpansions) {
    std::string text = "{\"a\":[1,2],\"list\":[[3]";
    for (int i = 0; i < 300; ++i)
        text += ",{\"b\":[{\"$ref\":\"/a\"}]}";
    text += "]}";
    SweepDocument([](ke::json& document) { return document.expanded_size(); }, text.c_str());
    const size_t points = SweepAllocations([&](AllocFaults& faults) {
        ke::json document = *ke::json::parse(text);
        const ke::json before = *document.clone();
        faults.arm();
        const ke::status status = document.expand(1000);
        faults.disarm();
        EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : WIQ_ERR_RANGE);
        EXPECT_EQ(document, before);
    });
    EXPECT_GT(points, 10u);
}

TEST(CppFaults, RemovingAndSortingNeedNoMemory) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        ke::json document = *ke::json::parse(kText);
        faults.arm();
        EXPECT_TRUE(document["list"].erase_if([](ke::json_view v) { return v == 1; }));
        EXPECT_TRUE(document["list"]
                        .sort([](ke::json_view a, ke::json_view b) {
                            return a.to<int>().value_or(0) < b.to<int>().value_or(0);
                        })
                        .ok());
        EXPECT_TRUE(document.take("o"));
        EXPECT_TRUE(document["list"].clear().ok());
        EXPECT_TRUE(document.clear().ok());
        faults.disarm();
        EXPECT_FALSE(faults.fired());
        EXPECT_TRUE(document.empty());
    });
    EXPECT_EQ(points, 0u);
}

// Elements that only a weak array holds are released when they are removed from it.
TEST(CppFaults, WeakArraysRelease) {
    const auto few = [] {
        ke::json weak = ke::json::weak_array();
        for (int i = 0; i < 4; ++i)
            EXPECT_TRUE(weak.push_back(i).ok());
        return weak;
    };
    { const ke::json warm = few(); }
    const long before = live_blocks();
    {
        ke::json weak = few();
        const long full = live_blocks();
        EXPECT_TRUE(weak.erase(1).ok());
        EXPECT_EQ(live_blocks(), full - 1);
        EXPECT_EQ(*weak.erase_if([](ke::json_view v) { return v == 0 || v == 2; }), 2);
        EXPECT_EQ(live_blocks(), full - 3);
        EXPECT_EQ(weak.size(), 1);
    }
    EXPECT_EQ(live_blocks(), before);
}

TEST(CppFaults, MergingAndPatching) {
    const ke::json patch{{"o", {{"a", nullptr}, {"b", {1, 2}}}}};
    // A merge that fails may be partly done; this test checks only its status, and that nothing leaks.
    const size_t points = SweepAllocations([&](AllocFaults& faults) {
        ke::json document = *ke::json::parse(kText);
        faults.arm();
        const ke::status merged = ke::merge_patch(document, patch);
        faults.disarm();
        EXPECT_EQ(merged.code(), faults.fired() ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : 0);
    });
    EXPECT_GT(points, 0u);
    const ke::json steps = *ke::json::parse(
        "[{\"op\":\"add\",\"path\":\"/o/n\",\"value\":[1]},{\"op\":\"remove\",\"path\":\"/list/"
        "0\"}]");
    SweepDocument([&](ke::json& document) { return ke::apply_patch(document, steps); });
}

TEST(CppFaults, Containers) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        ke::vector<int> numbers;
        ke::string_list names;
        ke::strbuf text;
        i32 failures = 0;
        faults.arm();
        for (int i = 0; i < 40; ++i) {
            const i32 size = numbers.size();
            const ke::status pushed = numbers.push_back(i);
            failures += pushed.failed();
            EXPECT_EQ(numbers.size(), size + pushed.ok());
            const i32 listed = names.size();
            const ke::status named = names.push_back("a name");
            failures += named.failed();
            EXPECT_EQ(names.size(), listed + named.ok());
            const auto length = text.size();
            const ke::status appended = text.append("text ", i);
            failures += appended.failed();
            if (appended.failed()) {
                EXPECT_EQ(text.size(), length);
            }
        }
        faults.disarm();
        EXPECT_EQ(failures > 0, faults.fired());
    });
    EXPECT_GT(points, 40u);
}

TEST(CppFaults, TaggedValues) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        ke::tagged value;
        faults.arm();
        const ke::status text = value.set("a text");
        const ke::status wide = value.set(0xFFFFFFFFFFFFFFFFFF_u128);
        faults.disarm();
        EXPECT_EQ(text.failed() || wide.failed(), faults.fired());
    });
    EXPECT_GT(points, 0u);
}

}  // namespace
