// Compares the subset test with a plain, recursive implementation that has its own type for values, over
// random pairs of trees and all values of the flags.
#include "json/subset_model.h"

#include <gtest/gtest.h>

#include <random>

#include "json/tree.h"

namespace {

using subset_model::plain_subset;
using subset_model::Value;
using tree::Tree;

// With sanitizers and in debug builds, a pair takes longer but finds no more mistakes, so there are fewer pairs.
#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
constexpr int kPairs = 30000;
#else
constexpr int kPairs = 3000;
#endif

class Generator {
  public:
    u32 below(u32 limit) { return static_cast<u32>(random_() % limit); }

    Value value(int depth) {
        const u32 kind = below(depth > 0 ? 6 : 2);
        if (kind == 0) {
            const char* atoms[] = {"null", "true", "\"a\"", "@\"a\""};
            return {Value::kAtom, atoms[below(4)], 0, {}, {}};
        }
        if (kind == 1) {
            const std::pair<const char*, double> numbers[] = {{"1", 1},     {"1u", 1},   {"1w", 1},
                                                              {"1.0", 1},   {"2", 2},    {"-1", -1},
                                                              {"-1.0", -1}, {"2.5", 2.5}};
            const auto& number = numbers[below(8)];
            return {Value::kNumber, number.first, number.second, {}, {}};
        }
        Value container{kind < 5 ? Value::kArray : Value::kObject, "", 0, {}, {}};
        for (u32 size = below(5); size > 0; --size) {
            add(&container, value(depth - 1));
        }
        return container;
    }

    // Returns the same value with things added, and sometimes with one changed; this produces subsets.
    Value around(const Value& value, int depth) {
        if (below(12) == 0) {
            return this->value(depth);
        }
        Value result{value.kind, value.text, value.number, {}, {}};
        for (const Value& elem : value.elems) {
            while (below(5) == 0) {
                result.elems.push_back(below(2) == 0 ? elem : this->value(depth - 1));
            }
            result.elems.push_back(around(elem, depth - 1));
        }
        for (const auto& [key, member] : value.members) {
            result.members[key] = around(member, depth - 1);
        }
        if (value.kind >= Value::kArray && below(4) == 0) {
            add(&result, this->value(depth - 1));
        }
        return result;
    }

  private:
    void add(Value* container, const Value& child) {
        if (container->kind == Value::kArray) {
            container->elems.push_back(child);
        } else {
            container->members[std::string(1, static_cast<char>('a' + below(5)))] = child;
        }
    }

    std::mt19937 random_{20260101};
};

TEST(JsonSubsetModel, AgreesOnRandomPairs) {
    Generator generator;
    int yes = 0;
    for (int pair = 0; pair < kPairs; ++pair) {
        const Value a = generator.value(4);
        const Value b = generator.below(8) == 0 ? generator.value(4) : generator.around(a, 4);
        Tree left = tree::make(a.notation().c_str());
        Tree right = tree::make(b.notation().c_str());
        for (u32 flags = 0; flags < 16; ++flags) {
            const bool expected = plain_subset(a, b, flags);
            yes += expected ? 1 : 0;
            ASSERT_EQ(wiq_json_subset(left.get(), right.get(), flags), expected)
                << a.notation() << " in " << b.notation() << ", flags " << flags;
            ASSERT_EQ(wiq_json_subset(right.get(), left.get(), flags), plain_subset(b, a, flags))
                << b.notation() << " in " << a.notation() << ", flags " << flags;
        }
        ASSERT_EQ(wiq_json_equal(left.get(), right.get()), plain_subset(a, b, 15));
    }
    // Both answers must be frequent; otherwise the comparison would prove little.
    EXPECT_GT(yes, kPairs * 16 / 10);
    EXPECT_LT(yes, kPairs * 16 * 9 / 10);
}

}  // namespace
