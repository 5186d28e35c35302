// Tests of the string buffer: typed appending and formatting.
#include "parsed.h"

#include <limits>

namespace {

using namespace ke::literals;

TEST(CppStrbuf, BuildsText) {
    ke::strbuf text;
    EXPECT_TRUE(text.empty());
    EXPECT_STREQ(text.c_str(), "");
    EXPECT_EQ(text.append("drive ", '#', 7, ' ', std::string("ok"), std::string_view("!")), 0);
    EXPECT_EQ(text.append_hex("\x0a\xff", 2), 0);
    EXPECT_EQ(text.view(), "drive #7 ok!0AFF");
    EXPECT_EQ(std::string_view(text).size(), text.size());
    EXPECT_EQ(text.str(), text.c_str());
    ke::strbuf moved = std::move(text);
    EXPECT_EQ(moved.size(), 16u);
    EXPECT_TRUE(text.empty());  // NOLINT(bugprone-use-after-move): empty and usable
    EXPECT_EQ(text.append("again"), 0);
    EXPECT_EQ(moved.truncate(5), 0);
    EXPECT_EQ(moved.truncate(6), WIQ_ERR_INVALID_ARG);
    const ke::c_text handed = moved.release();
    EXPECT_STREQ(handed.get(), "drive");
    EXPECT_TRUE(moved.empty());
    text.clear();
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.truncate(0), 0);
    EXPECT_EQ(text.assign_field("  ab  \0xx", 9, true), 0);
    EXPECT_EQ(text.view(), "ab");
}

TEST(CppStrbuf, Numbers) {
    ke::strbuf text;
    EXPECT_EQ(text.append(INT64_MIN, ' ', UINT64_MAX, ' ', static_cast<ke::u8>(200), ' ', true, ' ',
                          1_u128 << 64u),
              0);
    EXPECT_EQ(text.view(),
              "-9223372036854775808 18446744073709551615 200 true 18446744073709551616");
    text.clear();
    EXPECT_EQ(text.append(0.1, ' ', 1.0 / 3, ' ', 1e300, ' ', 2.0f, ' ', -0.5, ' ',
                          std::numeric_limits<double>::infinity()),
              0);
    EXPECT_EQ(text.view().substr(0, 4), "0.1 ");
    EXPECT_EQ(text.view().substr(4, 19), "0.3333333333333333 ");
    EXPECT_NE(text.view().find(" 2 -0.5 inf"), std::string_view::npos) << text.view();
}

TEST(CppStrbuf, Formats) {
    ke::strbuf text;
    EXPECT_EQ(text.append_format("{} of {}: {{{}}} {}%", 1, 2u, "ok", 50.5), 0);
    EXPECT_EQ(text.view(), "1 of 2: {ok} 50.5%");
    text.clear();
    EXPECT_EQ(text.append_format("plain"), 0);
    EXPECT_EQ(text.append_format("{}", std::string("x")), 0);
    EXPECT_EQ(text.append_format("}}{{"), 0);
    EXPECT_EQ(text.view(), "plainx}{");
    static_assert(ke::detail::count_placeholders("{}{{}}{}") == 2);
    static_assert(ke::detail::count_placeholders("{") == -1 &&
                  ke::detail::count_placeholders("a}") == -1);
    static_assert(ke::detail::count_placeholders("{0}") == -1);
}

TEST(CppStrbuf, AppendsAllOrNothing) {
    ke::strbuf text;
    EXPECT_EQ(text.append("kept"), 0);
    EXPECT_EQ(text.append("a", std::string("b\0c", 3)), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text.append('x', '\0'), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text.append("x", static_cast<const char*>(nullptr)), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text.append_format("{}{}", "x", std::string("b\0c", 3)), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text.view(), "kept");
    EXPECT_EQ(text.append(std::string_view{}), 0) << "an empty view is a valid text";
    EXPECT_EQ(text.append(), 0);
    EXPECT_EQ(text.append_hex(nullptr, 0), 0);
    EXPECT_EQ(text.append_hex(nullptr, 1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text.view(), "kept");
}

TEST(CppStrbuf, AppendsItsOwnText) {
    ke::strbuf text;
    EXPECT_EQ(text.append("0123456789"), 0);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(text.append(text.view(), "-", text.view()), 0);
    EXPECT_EQ(text.size(), 10u * 81 + 40);
    EXPECT_EQ(text.view().substr(0, 21), "01234567890123456789-");
    EXPECT_EQ(text.append_format("{}{}", text.view(), text.view()), 0);
    EXPECT_EQ(text.size(), 850u * 3);
}

}  // namespace
