// Trimming, upper case, replacement, bounded length, comparison and fixed-width fields.
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>

#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "support/pch.h"

namespace {

std::string trimmed(std::string text) {
    trim_in_place(text.data());
    return text.c_str();
}

TEST(Trim, Table) {
    const struct {
        const char* text;
        const char* expected;
    } rows[] = {{"  a b \n", "a b"},
                {"   ", ""},
                {"", ""},
                {"a", "a"},
                {" \t\n\v\f\ra\r\f\v\n\t ", "a"},
                {"a ", "a"},
                {" a", "a"},
                {"\xa0"
                 "a\xa0",
                 "\xa0"
                 "a\xa0"},
                {"a  b", "a  b"}};
    for (const auto& row : rows)
        EXPECT_EQ(trimmed(row.text), row.expected);
    trim_in_place(nullptr);
}

TEST(Trim, EveryByteAroundALetter) {
    for (int byte = 1; byte < 256; ++byte) {
        const std::string text =
            std::string(1, static_cast<char>(byte)) + "m" + static_cast<char>(byte);
        const bool space = byte == ' ' || (byte >= 9 && byte <= 13);
        EXPECT_EQ(trimmed(text), space ? "m" : text) << byte;
    }
}

TEST(Upper, All) {
    for (int byte = 1; byte < 256; ++byte) {
        char text[] = {static_cast<char>(byte), '\0'};
        EXPECT_EQ(wiq_upper_all(text), text);
        const bool lower = byte >= 'a' && byte <= 'z';
        EXPECT_EQ(static_cast<u8>(text[0]), lower ? byte - 32 : byte);
    }
    char text[] = "aZ9 \xc3\xa9 z";
    EXPECT_STREQ(wiq_upper_all(text), "AZ9 \xc3\xa9 Z");
    char empty[] = "";
    EXPECT_STREQ(wiq_upper_all(empty), "");
    EXPECT_EQ(wiq_upper_all(nullptr), nullptr);
}

TEST(Upper, First) {
    const struct {
        const char* text;
        const char* expected;
    } rows[] = {{"hello  wide\tworld", "Hello  Wide\tworld"},
                {" x", " X"},
                {"1a b", "1a B"},
                {"a-b c\nd", "A-b C\nd"},
                {"ABC dEF", "ABC DEF"},
                {"", ""},
                {"\xe9 \xe9 a", "\xe9 \xe9 A"}};
    for (const auto& row : rows) {
        std::string text = row.text;
        EXPECT_EQ(wiq_upper_first(text.data()), text.data());
        EXPECT_EQ(text, row.expected);
    }
    EXPECT_EQ(wiq_upper_first(nullptr), nullptr);
}

TEST(Replace, Table) {
    char path[] = "a/b//c";
    EXPECT_EQ(wiq_strchr_replace(path, '/', '\\'), path);
    EXPECT_STREQ(path, "a\\b\\\\c");
    EXPECT_STREQ(wiq_strchr_replace(path, 'x', 'y'), "a\\b\\\\c");
    char high[] =
        "\xff"
        "a\xff";
    EXPECT_STREQ(wiq_strchr_replace(high, '\xff', 'b'), "bab");
    // The terminator is not part of the string; replacing a character by a terminator does not end the
    // replacement.
    char text[] = "abab";
    wiq_strchr_replace(text, '\0', 'x');
    EXPECT_STREQ(text, "abab");
    wiq_strchr_replace(text, 'b', '\0');
    EXPECT_EQ(memcmp(text, "a\0a\0", 5), 0);
    EXPECT_EQ(wiq_strchr_replace(nullptr, 'a', 'b'), nullptr);
}

TEST(Strnlen, Table) {
    EXPECT_EQ(wiq_strnlen(nullptr, 5), 0u);
    EXPECT_EQ(wiq_strnlen("abc", 0), 0u);
    EXPECT_EQ(wiq_strnlen("abc", 2), 2u);
    EXPECT_EQ(wiq_strnlen("abc", 3), 3u);
    EXPECT_EQ(wiq_strnlen("abc", 100), 3u);
    EXPECT_EQ(wiq_strnlen("abc", UINT64_MAX), 3u);
    EXPECT_EQ(wiq_strnlen("", 5), 0u);
    const char unterminated[] = {'a', 'b'};
    EXPECT_EQ(wiq_strnlen(unterminated, 2), 2u);
}

int sign(int value) {
    return (value > 0) - (value < 0);
}

TEST(Strcasecmp, Table) {
    const struct {
        const char* a;
        const char* b;
        int expected;
    } rows[] = {{"abc", "ABC", 0},   {"abc", "abd", -1}, {"ABD", "abc", 1},     {"ab", "abc", -1},
                {"", "", 0},         {"", "a", -1},      {"a_", "aZ", -1},      {"a[", "aA", -1},
                {"\xe9", "\xc9", 1}, {"\x80", "z", 1},   {nullptr, nullptr, 0}, {nullptr, "", -1},
                {"", nullptr, 1}};
    for (const auto& row : rows)
        EXPECT_EQ(sign(wiq_strcasecmp(row.a, row.b)), row.expected) << (row.a ? row.a : "NULL");
}

TEST(Strcasecmp, EveryPairOfBytes) {
    for (int a = 0; a < 256; ++a) {
        for (int b = 0; b < 256; ++b) {
            const char x[] = {static_cast<char>(a), '\0'};
            const char y[] = {static_cast<char>(b), '\0'};
            const int fold_a = a >= 'A' && a <= 'Z' ? a + 32 : a;
            const int fold_b = b >= 'A' && b <= 'Z' ? b + 32 : b;
            ASSERT_EQ(sign(wiq_strcasecmp(x, y)), sign(fold_a - fold_b)) << a << " " << b;
        }
    }
}

class StructStr : public testing::Test {
  protected:
    void TearDown() override { free(block_); }
    char* block_ = nullptr;
    u64 size_ = 0;
};

TEST_F(StructStr, Table) {
    const struct {
        const char* field;
        u64 width;
        bool trim;
        const char* expected;
    } rows[] = {
        {"ab  ", 4, true, "ab"},        {"ab  ", 4, false, "ab  "}, {"  ab", 4, true, "ab"},
        {"  ab", 4, false, "  ab"},     {"    ", 4, true, ""},      {"    ", 4, false, "    "},
        {"a\0zz", 4, false, "a"},       {"a \0z", 4, true, "a"},    {"abcdefgh", 3, true, "abc"},
        {"   abc", 3, true, ""},        {"", 0, true, ""},          {"abc", 0, false, ""},
        {"\t\na b\r ", 7, true, "a b"}, {"\0abc", 4, true, ""}};
    for (const auto& row : rows) {
        EXPECT_EQ(wiq_struct_str(row.field, row.width, &block_, &size_, row.trim), 0);
        EXPECT_STREQ(block_, row.expected);
        EXPECT_GE(size_, row.width + 1);
    }
}

TEST_F(StructStr, GrowsOnlyWhenItMust) {
    ASSERT_EQ(wiq_struct_str("ab  ", 4, &block_, &size_, true), 0);
    EXPECT_EQ(size_, 5u);
    const char* before = block_;
    ASSERT_EQ(wiq_struct_str("cdef", 4, &block_, &size_, true), 0);
    EXPECT_EQ(block_, before);
    EXPECT_EQ(size_, 5u);
    ASSERT_EQ(wiq_struct_str("x", 1, &block_, &size_, true), 0);
    EXPECT_EQ(size_, 5u) << "a block does not shrink";
    ASSERT_EQ(wiq_struct_str("ghijk", 5, &block_, &size_, true), 0);
    EXPECT_EQ(size_, 6u);
    EXPECT_STREQ(block_, "ghijk");
}

TEST_F(StructStr, WithoutASizeItAlwaysReallocates) {
    ASSERT_EQ(wiq_struct_str("abcdefgh", 8, &block_, nullptr, false), 0);
    EXPECT_STREQ(block_, "abcdefgh");
    ASSERT_EQ(wiq_struct_str("xy", 2, &block_, nullptr, false), 0);
    EXPECT_STREQ(block_, "xy");
}

TEST_F(StructStr, ANullBlockWithASizeIsAllocated) {
    size_ = 100;
    ASSERT_EQ(wiq_struct_str("xy", 2, &block_, &size_, false), 0);
    EXPECT_STREQ(block_, "xy");
    EXPECT_EQ(size_, 3u);
}

TEST_F(StructStr, TheFieldMayLieInTheBlock) {
    ASSERT_EQ(wiq_struct_str("  ab", 4, &block_, &size_, false), 0);
    ASSERT_EQ(wiq_struct_str(block_, 4, &block_, &size_, true), 0);
    EXPECT_STREQ(block_, "ab");
}

TEST_F(StructStr, BadArguments) {
    EXPECT_EQ(wiq_struct_str("a", 1, nullptr, &size_, true), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_struct_str(nullptr, 1, &block_, &size_, true), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(size_, 0u);
    EXPECT_EQ(block_, nullptr);
    EXPECT_EQ(wiq_struct_str(nullptr, 0, &block_, &size_, true), 0);
    EXPECT_STREQ(block_, "");
    char* block = nullptr;
    u64 size = 0;
    EXPECT_EQ(wiq_struct_str("a", UINT64_MAX, &block, &size, true), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(wiq_struct_str("a", UINT64_MAX - 1, &block, &size, true), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(size, 0u);
}

}  // namespace
