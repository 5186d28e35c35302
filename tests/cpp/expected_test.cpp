// The conversion of ke::result to std::expected, which is new in C++23. CMake compiles this file as C++23.
#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <version>

#include "ke_utils.hpp"

#if !defined(__cpp_lib_expected)
#error "to be compiled with a standard library that has std::expected"
#endif

namespace {

std::expected<ke::json, ke::status> read(const char* text) {
    return ke::json::parse(text);
}

TEST(CppExpected, HoldsTheValue) {
    const auto root = read("{\"a\":1}");
    ASSERT_TRUE(root.has_value());
    EXPECT_EQ((*root)["a"], 1);
}

TEST(CppExpected, HoldsTheStatusWithItsPlace) {
    const auto root = read("{\n\"a\":x}");
    ASSERT_FALSE(root.has_value());
    EXPECT_EQ(root.error().line(), 2);
    EXPECT_TRUE(root.error().failed());
}

TEST(CppExpected, MovesWhatCannotBeCopied) {
    ke::result<std::unique_ptr<int>> made(std::make_unique<int>(4));
    const std::expected<std::unique_ptr<int>, ke::status> moved = std::move(made);
    ASSERT_TRUE(moved.has_value());
    EXPECT_EQ(**moved, 4);
    ke::result<int> failed = ke::result<int>::failure(WIQ_ERR_RANGE);
    const std::expected<int, ke::status> copied = failed;
    ASSERT_FALSE(copied.has_value());
    EXPECT_EQ(copied.error(), WIQ_ERR_RANGE);
}

}  // namespace
