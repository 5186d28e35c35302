// What the layer does differently in C++17 than in C++20.
#define KE_UTILS_EXCEPTIONS
#include <gtest/gtest.h>

#include "ke_utils.hpp"

#if __cplusplus >= 202002L
#error "to be compiled as C++17"
#endif

namespace {

using namespace ke::literals;

TEST(Cpp17, AFormatIsCheckedAtRunTime) {
    ke::strbuf text;
    EXPECT_EQ(text.append_format("{} {}", 1), WIQ_ERR_BAD_FORMAT);
    EXPECT_EQ(text.append_format("{", 1), WIQ_ERR_BAD_FORMAT);
    EXPECT_EQ(text.append_format("none", 1), WIQ_ERR_BAD_FORMAT);
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.append_format("{}", 1), 0);
    EXPECT_EQ(text.view(), "1");
}

TEST(Cpp17, Comparisons) {
    const ke::json root = ke::json{{"n", 5}, {"t", "x"}};
    EXPECT_TRUE(5 == root["n"]);
    EXPECT_TRUE(6 != root["n"]);
    EXPECT_TRUE("x" == root["t"]);
    EXPECT_TRUE(root["n"] == 5);
    EXPECT_TRUE(1_u128 < 2_u128);
    EXPECT_TRUE(2_u128 >= 2_u128);
    EXPECT_TRUE(1_u128 != 2_u128);
    EXPECT_TRUE(nullptr == root["none"]);
    EXPECT_TRUE(nullptr != root["n"]);
}

#if defined(__SIZEOF_INT128__)
// These types are integers to std::is_integral if the compiler's extensions are enabled.
TEST(Cpp17, TheCompilersOwnIntegersOf128Bits) {
    __extension__ typedef __int128
        wide;  // NOLINT(modernize-use-using): which has no place for the word
    const wide value = (wide{1} << 100) + 5;
    const ke::uint128 copy = value;
    EXPECT_EQ(copy, (1_u128 << 100) + 5u);
    EXPECT_TRUE(static_cast<wide>(copy) == value);
    EXPECT_EQ(ke::uint128(wide{-1}), ~0_u128);
    EXPECT_TRUE(static_cast<wide>(~0_u128) == -1);
}
#endif

}  // namespace
