// Tests of the string vector.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"

namespace {

class Strv : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(wiq_strv_init(&strv_), 0); }
    void TearDown() override { EXPECT_EQ(wiq_strv_finalize(&strv_), 0); }

    std::vector<std::string> list() const {
        std::vector<std::string> strings;
        for (i32 i = 0; i < wiq_vector_size(&strv_); ++i) {
            const char* text = wiq_strv_get(&strv_, static_cast<u32>(i));
            strings.push_back(text == nullptr ? "(null)" : text);
        }
        return strings;
    }

    wiq_strv strv_;
};

using Strings = std::vector<std::string>;

TEST_F(Strv, RefusesNull) {
    EXPECT_EQ(wiq_strv_init(nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_strv_finalize(nullptr), WIQ_ERR_INVALID_ARG);
}

TEST_F(Strv, PushCopies) {
    char text[] = "abc";
    EXPECT_EQ(wiq_strv_push(&strv_, text), 0);
    text[0] = 'x';
    EXPECT_EQ(wiq_strv_push(&strv_, nullptr), 0);
    EXPECT_EQ(wiq_strv_push(&strv_, ""), 0);
    EXPECT_EQ(list(), (Strings{"abc", "(null)", ""}));
    EXPECT_EQ(strv_.elem_size, sizeof(char*));
    EXPECT_EQ(wiq_strv_push(nullptr, "x"), WIQ_ERR_NO_MEMORY);
}

TEST_F(Strv, PushfFormats) {
    EXPECT_EQ(wiq_strv_pushf(&strv_, "%d-%s", 7, "x"), 3);
    EXPECT_STREQ(wiq_strv_get(&strv_, static_cast<u32>(-1)), "7-x");
    EXPECT_EQ(wiq_strv_pushf(nullptr, "x"), WIQ_ERR_NO_MEMORY);
    const char* no_format = nullptr;
    EXPECT_EQ(wiq_strv_pushf(&strv_, no_format, 1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(list(), (Strings{"7-x", "(null)"})) << "the slot remains";
}

TEST_F(Strv, GetCountsFromBothEnds) {
    for (const char* text : {"a", "b", "c"})
        wiq_strv_push(&strv_, text);
    EXPECT_STREQ(wiq_strv_get(&strv_, 0), "a");
    EXPECT_STREQ(wiq_strv_get(&strv_, 2), "c");
    EXPECT_STREQ(wiq_strv_get(&strv_, static_cast<u32>(-1)), "c");
    EXPECT_STREQ(wiq_strv_get(&strv_, static_cast<u32>(-3)), "a");
}

// The string of a slot is released, and the slot is set to NULL.
TEST_F(Strv, AFreedSlotIsNull) {
    for (const char* text : {"a", "b", "c"})
        wiq_strv_push(&strv_, text);
    const auto* slots = static_cast<char* const*>(strv_.data);
    EXPECT_EQ(wiq_vector_pop(&strv_, 2), 0);
    EXPECT_STREQ(slots[0], "a");
    EXPECT_EQ(slots[1], nullptr);
    EXPECT_EQ(slots[2], nullptr);
}

TEST_F(Strv, PopReleases) {
    for (const char* text : {"a", "b", "c"})
        wiq_strv_push(&strv_, text);
    EXPECT_EQ(wiq_vector_pop(&strv_, 2), 0);
    EXPECT_EQ(list(), (Strings{"a"}));
    EXPECT_EQ(wiq_vector_resize(&strv_, 3), 0);
    EXPECT_EQ(list(), (Strings{"a", "(null)", "(null)"}));
}

TEST_F(Strv, SortsByUnsignedBytesWithGapsLast) {
    struct Row {
        std::vector<const char*> in;
        Strings out;
    };
    for (const Row& row : {
             Row{{"b", nullptr, "a", "B"}, {"B", "a", "b", "(null)"}},
             Row{{nullptr, nullptr, "x", nullptr}, {"x", "(null)", "(null)", "(null)"}},
             Row{{"\xff", "\x7f", "a"}, {"a", "\x7f", "\xff"}},
             Row{{"ab", "a", "", "abc"}, {"", "a", "ab", "abc"}},
             Row{{}, {}},
             Row{{"one"}, {"one"}},
         }) {
        wiq_vector_resize(&strv_, 0);
        for (const char* text : row.in)
            wiq_strv_push(&strv_, text);
        wiq_strv_sort(&strv_);
        EXPECT_EQ(list(), row.out);
    }
}

// The order must be strict: if a text came before an equal one, std::sort() would look for the end of a run
// of equal texts beyond the vector's block.
TEST_F(Strv, SortsManyEqualTexts) {
    for (const int one_in : {2, 100}) {  // is a NULL slot; these are equal, too
        wiq_vector_resize(&strv_, 0);
        for (int i = 0; i < 300; ++i)
            wiq_strv_push(&strv_, i % one_in == 0 ? nullptr : "same");
        wiq_strv_sort(&strv_);
        Strings sorted(static_cast<size_t>(300 - 300 / one_in), "same");
        sorted.resize(300, "(null)");
        EXPECT_EQ(list(), sorted);
    }
}

}  // namespace
