// Tests of the string buffer: text, length and capacity after each operation.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"

namespace {

class Strbuf : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(wiq_strbuf_init(&buf_, 0), 0); }
    void TearDown() override { wiq_strbuf_finalize(&buf_); }

    // Checks the invariant and returns the text.
    std::string text() const {
        EXPECT_LT(buf_.len, buf_.capacity);
        EXPECT_EQ(buf_.data[buf_.len], '\0');
        EXPECT_EQ(strlen(buf_.data), buf_.len);
        return buf_.data;
    }
    void set(const char* content) { wiq_strbuf_rwrite(&buf_, content, strlen(content)); }

    wiq_strbuf buf_;
};

TEST_F(Strbuf, RecordLayout) {
    EXPECT_EQ(offsetof(wiq_strbuf, data), 0u);
    EXPECT_EQ(offsetof(wiq_strbuf, len), 8u);
    EXPECT_EQ(offsetof(wiq_strbuf, capacity), 16u);
    EXPECT_EQ(sizeof(wiq_strbuf), 24u);
}

TEST_F(Strbuf, Init) {
    EXPECT_EQ(buf_.capacity, 64u);
    EXPECT_EQ(text(), "");
    wiq_strbuf other;
    EXPECT_EQ(wiq_strbuf_init(&other, 1), 0);
    EXPECT_EQ(other.capacity, 1u);
    EXPECT_STREQ(other.data, "");
    wiq_strbuf_finalize(&other);
    EXPECT_EQ(other.data, nullptr);
    EXPECT_EQ(other.capacity, 0u);
    wiq_strbuf_finalize(&other);
    wiq_strbuf_finalize(nullptr);
    EXPECT_EQ(wiq_strbuf_init(nullptr, 0), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_strbuf_init(&other, SIZE_MAX / 2), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(other.data, nullptr);
}

TEST_F(Strbuf, PutcAppendsAndGrows) {
    wiq_strbuf small;
    ASSERT_EQ(wiq_strbuf_init(&small, 1), 0);
    std::string expected;
    u64 last_capacity = 1;
    for (int i = 0; i < 100; ++i) {
        const char c = static_cast<char>('a' + i % 26);
        EXPECT_EQ(wiq_strbuf_putc(&small, c), 0);
        expected += c;
        EXPECT_EQ(small.data, expected);
        if (small.capacity != last_capacity) {
            EXPECT_EQ(small.capacity, std::max<u64>(2 * last_capacity, small.len + 1));
        }
        last_capacity = small.capacity;
    }
    wiq_strbuf_finalize(&small);
    EXPECT_EQ(wiq_strbuf_putc(nullptr, 'a'), WIQ_ERR_INVALID_ARG);
}

TEST_F(Strbuf, PutcOfNulAppendsNothing) {
    set("abc");
    EXPECT_EQ(wiq_strbuf_putc(&buf_, '\0'), 0);
    EXPECT_EQ(text(), "abc");
    EXPECT_EQ(buf_.len, 3u);
}

template <int A, int B>
char letter() {
    return static_cast<char>('a' + A + B);
}

template <int A, int B>
wiq_strbuf* pass(wiq_strbuf* buf) {
    return buf;
}

// The macro accepts any expression, even one with commas.
TEST_F(Strbuf, PutcTakesAnyExpression) {
    EXPECT_EQ(wiq_strbuf_putc(&buf_, letter<1, 2>()), 0);
    EXPECT_EQ((wiq_strbuf_putc(pass<1, 2>(&buf_), letter<2, 2>())), 0);
    EXPECT_EQ(::wiq_strbuf_putc(&buf_, 'f'), 0);
    EXPECT_EQ(wiq_strbuf_putc_inline(&buf_, 'g'), 0);
    EXPECT_EQ(text(), "defg");
}

// Compares the function with the inline version.
TEST_F(Strbuf, PutcAsAFunction) {
    i32 (*const putc)(wiq_strbuf*, char) = wiq_strbuf_putc;
    wiq_strbuf one;
    wiq_strbuf two;
    ASSERT_EQ(wiq_strbuf_init(&one, 3), 0);
    ASSERT_EQ(wiq_strbuf_init(&two, 3), 0);
    for (int i = 0; i < 200; ++i) {
        const char c = i % 7 == 0 ? '\0' : static_cast<char>('a' + i % 26);
        EXPECT_EQ(putc(&one, c), wiq_strbuf_putc_inline(&two, c));
        EXPECT_STREQ(one.data, two.data);
        EXPECT_EQ(one.len, two.len);
        EXPECT_EQ(one.capacity, two.capacity);
    }
    EXPECT_EQ(putc(nullptr, 'a'), WIQ_ERR_INVALID_ARG);
    wiq_strbuf_finalize(&one);
    wiq_strbuf_finalize(&two);
}

TEST_F(Strbuf, WriteStopsAtNul) {
    EXPECT_EQ(wiq_strbuf_write(&buf_, "abc\0def", 7), 3);
    EXPECT_EQ(text(), "abc");
    EXPECT_EQ(wiq_strbuf_write(&buf_, "xyz", 2), 2);
    EXPECT_EQ(text(), "abcxy");
    EXPECT_EQ(wiq_strbuf_write(&buf_, "x", 0), 0);
    EXPECT_EQ(wiq_strbuf_write(&buf_, nullptr, 1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_strbuf_write(&buf_, nullptr, 0), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_strbuf_write(nullptr, "x", 1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_strbuf_write(&buf_, "x", UINT64_MAX), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(wiq_strbuf_write(&buf_, "x", SIZE_MAX / 2), WIQ_ERR_NO_MEMORY);
    // With what the buffer holds, these sizes are more than 64 bits can express.
    for (const u64 less : {1, 2, 3, 5, 6, 7})
        EXPECT_EQ(wiq_strbuf_write(&buf_, "x", UINT64_MAX - less), WIQ_ERR_NO_MEMORY) << less;
    EXPECT_EQ(text(), "abcxy");
}

TEST_F(Strbuf, WriteGrowsToTheLargerOfNeedAndDouble) {
    const std::string run(100, 'x');
    EXPECT_EQ(wiq_strbuf_write(&buf_, run.c_str(), 63), 63);
    EXPECT_EQ(buf_.capacity, 64u);
    EXPECT_EQ(wiq_strbuf_write(&buf_, run.c_str(), 1), 1);
    EXPECT_EQ(buf_.capacity, 128u);
    const std::string longer(1000, 'y');
    EXPECT_EQ(wiq_strbuf_write(&buf_, longer.c_str(), 1000), 1000);
    EXPECT_EQ(buf_.capacity, 64u + 1000 + 1);
}

TEST_F(Strbuf, RwriteReplacesTheText) {
    set("before");
    EXPECT_EQ(wiq_strbuf_rwrite(&buf_, "after", 5), 5);
    EXPECT_EQ(text(), "after");
    EXPECT_EQ(wiq_strbuf_rwrite(&buf_, nullptr, 5), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text(), "") << "emptied before the bytes are checked";
    EXPECT_EQ(wiq_strbuf_rwrite(nullptr, "x", 1), WIQ_ERR_INVALID_ARG);
}

TEST_F(Strbuf, PrintfAppends) {
    set("> ");
    EXPECT_EQ(wiq_strbuf_printf(&buf_, "%d-%s", 7, "x"), 3);
    EXPECT_EQ(text(), "> 7-x");
    const char* positional = "%2$s%1$s";  // a variable, because compilers warn about such a literal
    EXPECT_EQ(wiq_strbuf_printf(&buf_, positional, "b", "a"), 2);
    EXPECT_EQ(text(), "> 7-xab");
    const std::string longer(200, 'z');
    EXPECT_EQ(wiq_strbuf_printf(&buf_, "%s", longer.c_str()), 200);
    EXPECT_EQ(text(), "> 7-xab" + longer);
    EXPECT_EQ(wiq_strbuf_printf(&buf_, "%s", ""), 0);
    EXPECT_EQ(wiq_strbuf_printf(nullptr, "x"), WIQ_ERR_INVALID_ARG);
    const char* no_format = nullptr;
    EXPECT_EQ(wiq_strbuf_printf(&buf_, no_format, 1), WIQ_ERR_INVALID_ARG);
}

// Texts around the size of the buffer in which they are formatted first, in blocks of every size.
TEST_F(Strbuf, PrintfOfTextsOfEveryLength) {
    for (const u64 length : {0, 1, 62, 63, 64, 511, 512, 513, 1023, 1024, 2000}) {
        const std::string longer(length, 'l');
        for (const u64 capacity : {u64{4}, length + 3, length + 4, length + 5, 2 * length + 700}) {
            wiq_strbuf buf;
            ASSERT_EQ(wiq_strbuf_init(&buf, capacity), 0);
            ASSERT_EQ(wiq_strbuf_write(&buf, "old", 3), 3);
            EXPECT_EQ(wiq_strbuf_printf(&buf, "%s", longer.c_str()), static_cast<i32>(length));
            EXPECT_EQ(std::string(buf.data, buf.len + 1), "old" + longer + '\0');
            const u64 needed = 3 + length + 1;
            EXPECT_EQ(buf.capacity, needed <= capacity ? capacity : std::max(needed, 2 * capacity));
            wiq_strbuf_finalize(&buf);
        }
    }
}

TEST_F(Strbuf, RprintfReplacesTheText) {
    set("before");
    EXPECT_EQ(wiq_strbuf_rprintf(&buf_, "%u", 42u), 2);
    EXPECT_EQ(text(), "42");
    EXPECT_EQ(wiq_strbuf_rprintf(nullptr, "x"), WIQ_ERR_INVALID_ARG);
    const char* no_format = nullptr;
    EXPECT_EQ(wiq_strbuf_rprintf(&buf_, no_format, 1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text(), "") << "emptied before the format is checked";
}

TEST_F(Strbuf, ResetAndTruncate) {
    set("abcdef");
    EXPECT_EQ(wiq_strbuf_reset_pos(&buf_, 7), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_strbuf_reset_pos(&buf_, 6), 0);
    EXPECT_EQ(text(), "abcdef");
    EXPECT_EQ(wiq_strbuf_reset_pos(&buf_, 2), 0);
    EXPECT_EQ(text(), "ab");
    EXPECT_EQ(wiq_strbuf_reset(&buf_), 0);
    EXPECT_EQ(text(), "");
    EXPECT_EQ(buf_.capacity, 64u);
    EXPECT_EQ(wiq_strbuf_reset(nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_strbuf_reset_pos(nullptr, 0), WIQ_ERR_INVALID_ARG);
}

TEST_F(Strbuf, EraseAndPop) {
    set("abcdef");
    EXPECT_EQ(wiq_strbuf_erase(&buf_, 2), 0);
    EXPECT_EQ(text(), "abcd");
    EXPECT_EQ(wiq_strbuf_pop(&buf_), 0);
    EXPECT_EQ(text(), "abc");
    EXPECT_EQ(wiq_strbuf_erase(&buf_, 0), 0);
    EXPECT_EQ(text(), "abc");
    EXPECT_EQ(wiq_strbuf_erase(&buf_, 100), 0);
    EXPECT_EQ(text(), "");
    EXPECT_EQ(wiq_strbuf_pop(&buf_), 0);
    EXPECT_EQ(text(), "");
}

TEST_F(Strbuf, GetcCountsFromBothEnds) {
    set("abc");
    struct Row {
        i32 index;
        char c;
    };
    for (const Row& row : {Row{0, 'a'}, Row{2, 'c'}, Row{3, '\0'}, Row{-1, 'c'}, Row{-3, 'a'},
                           Row{-4, '\0'}, Row{INT32_MAX, '\0'}, Row{INT32_MIN, '\0'}})
        EXPECT_EQ(wiq_strbuf_getc(&buf_, row.index), row.c) << row.index;
    wiq_strbuf_reset(&buf_);
    EXPECT_EQ(wiq_strbuf_getc(&buf_, -1), '\0');
    EXPECT_EQ(wiq_strbuf_getc(&buf_, 0), '\0');
    EXPECT_EQ(wiq_strbuf_getc(nullptr, 0), '\0');
}

// A length that no test could allocate. The results are those of 32-bit arithmetic, which wraps; no other
// byte is read.
TEST_F(Strbuf, GetcOfMoreThanTwoGibibytes) {
    struct Row {
        u64 len;
        i32 index;
        u64 place;  // of the character; 0 means none
    };
    for (const Row& row :
         {Row{(u64{1} << 32) - 5, INT32_MIN, (u64{1} << 31) - 5}, Row{(u64{1} << 32) - 5, -6, 0},
          Row{(u64{1} << 32) - 5, -1, 0}, Row{(u64{1} << 32) - 5, 0, 0},
          Row{u64{1} << 31, INT32_MIN, 0}, Row{u64{1} << 31, -1, 0}, Row{u64{1} << 31, 0, 0},
          Row{(u64{1} << 32) + 9, -1, 8}, Row{(u64{1} << 32) + 9, 9, 0},
          Row{(u64{1} << 31) - 1, INT32_MIN, 0}}) {
        const char byte = 'c';
        wiq_strbuf buf = {nullptr, row.len, row.len + 1};
        const uintptr_t data = reinterpret_cast<uintptr_t>(&byte) - row.place;
        memcpy(&buf.data, &data, sizeof(data));
        EXPECT_EQ(wiq_strbuf_getc(&buf, row.index), row.place == 0 ? '\0' : 'c')
            << row.len << ", " << row.index;
    }
}

TEST_F(Strbuf, StructStrOfEmptyAndOversizedFields) {
    set("before");
    EXPECT_EQ(wiq_strbuf_struct_str(&buf_, nullptr, 0, true), 0);
    EXPECT_EQ(text(), "");
    set("before");
    EXPECT_EQ(wiq_strbuf_struct_str(&buf_, nullptr, 1, true), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text(), "before");
    EXPECT_EQ(wiq_strbuf_struct_str(&buf_, "x", UINT64_MAX, true), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(text(), "") << "emptied first";
    for (const size_t blanks : {1, 2, 15, 16, 17}) {
        const std::string field(blanks, ' ');
        EXPECT_EQ(wiq_strbuf_struct_str(&buf_, field.data(), blanks, true), 0);
        EXPECT_EQ(text(), "");
    }
}

TEST_F(Strbuf, PrinthexFitsTheBlockExactly) {
    set("id=");
    EXPECT_EQ(wiq_strbuf_printhex(&buf_, "\x0a\xff", 2), 0);
    EXPECT_EQ(text(), "id=0AFF");
    EXPECT_EQ(buf_.capacity, 3u + 6);
    EXPECT_EQ(wiq_strbuf_printhex(&buf_, "", 0), 0);
    EXPECT_EQ(text(), "id=0AFF");
    EXPECT_EQ(buf_.capacity, 7u + 2);
    EXPECT_EQ(wiq_strbuf_printhex(&buf_, nullptr, 5), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(buf_.capacity, 7u + 12) << "the block is resized first";
    EXPECT_EQ(text(), "id=0AFF");
    EXPECT_EQ(wiq_strbuf_printhex(nullptr, "x", 1), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_strbuf_printhex(&buf_, "x", UINT64_MAX / 2), WIQ_ERR_NO_MEMORY);
    u8 all[256];
    for (size_t i = 0; i < 256; ++i)
        all[i] = static_cast<u8>(i);
    wiq_strbuf_reset(&buf_);
    EXPECT_EQ(wiq_strbuf_printhex(&buf_, all, 256), 0);
    std::string expected;
    char digits[3];
    for (u8 byte : all) {
        snprintf(digits, sizeof(digits), "%02X", byte);
        expected += digits;
    }
    EXPECT_EQ(text(), expected);
}

TEST_F(Strbuf, ExtraCapacityIsExact) {
    set("abc");
    EXPECT_EQ(wiq_strbuf_extra_capacity(&buf_, 100), 0);
    EXPECT_EQ(buf_.capacity, 104u);
    EXPECT_EQ(wiq_strbuf_extra_capacity(&buf_, 0), 0);
    EXPECT_EQ(buf_.capacity, 4u);
    EXPECT_EQ(text(), "abc");
    EXPECT_EQ(wiq_strbuf_extra_capacity(nullptr, 0), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_strbuf_extra_capacity(&buf_, SIZE_MAX / 2), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(wiq_strbuf_extra_capacity(&buf_, UINT64_MAX), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(buf_.capacity, 4u);
}

TEST_F(Strbuf, ReleaseTransfersTheText) {
    set("abc");
    char* released = wiq_strbuf_release(&buf_);
    EXPECT_STREQ(released, "abc");
    free(released);
    EXPECT_EQ(buf_.data, nullptr);
    EXPECT_EQ(buf_.len, 0u);
    EXPECT_EQ(buf_.capacity, 0u);
    EXPECT_EQ(wiq_strbuf_release(nullptr), nullptr);
    // A record without a block is an empty text, and can be written to.
    released = wiq_strbuf_release(&buf_);
    EXPECT_STREQ(released, "");
    free(released);
    EXPECT_EQ(wiq_strbuf_reset(&buf_), 0);
    EXPECT_EQ(wiq_strbuf_pop(&buf_), 0);
    EXPECT_EQ(wiq_strbuf_write(&buf_, "again", 5), 5);
    EXPECT_EQ(text(), "again");
}

TEST_F(Strbuf, StructStr) {
    struct Row {
        std::string field;
        u64 width;
        bool trim;
        const char* expected;
    };
    for (const Row& row : {
             Row{{"  ab  \0\0", 8}, 8, true, "ab"},
             Row{{"  ab  \0\0", 8}, 8, false, "  ab  "},
             Row{"abcd", 4, true, "abcd"},
             Row{"abcd", 2, false, "ab"},
             Row{"    ", 4, true, ""},
             Row{"    ", 4, false, "    "},
             Row{" a b ", 5, true, "a b"},
             Row{"\t\r\n\v\fx", 6, true, "x"},
             Row{{"a\0b", 3}, 3, true, "a"},
             Row{{" \0x", 3}, 3, true, ""},
             Row{"x", 0, true, ""},
         }) {
        set("before");
        EXPECT_EQ(wiq_strbuf_struct_str(&buf_, row.field.data(), row.width, row.trim), 0);
        EXPECT_EQ(text(), row.expected) << row.field;
    }
    EXPECT_EQ(wiq_strbuf_struct_str(nullptr, "a", 1, true), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_strbuf_struct_str(&buf_, nullptr, 1, true), WIQ_ERR_INVALID_ARG);
    const std::string wide(300, 'w');
    EXPECT_EQ(wiq_strbuf_struct_str(&buf_, wide.data(), 300, true), 0);
    EXPECT_EQ(text(), wide);
    EXPECT_EQ(buf_.capacity, 301u);
    EXPECT_EQ(wiq_strbuf_struct_str(&buf_, wide.data(), 300, true), 0);
    EXPECT_EQ(buf_.capacity, 301u);
    EXPECT_EQ(wiq_strbuf_extra_capacity(&buf_, 0), 0);
    EXPECT_EQ(wiq_strbuf_struct_str(&buf_, (wide + "+").data(), 301, true), 0);
    EXPECT_EQ(buf_.capacity, 602u) << "at least twice as large";
}

// A text that, with its NUL, fits exactly does not make the block grow; with one more byte, the block
// doubles.
TEST(StrbufCapacity, PrintedTextUsesTheBlockToItsEnd) {
    wiq_strbuf buf;
    ASSERT_EQ(wiq_strbuf_init(&buf, 16), 0);
    const u64 capacity = buf.capacity;
    ASSERT_GE(capacity, 16u);
    const std::string text(capacity - 1, 'x');
    EXPECT_EQ(wiq_strbuf_printf(&buf, "%s", text.c_str()), static_cast<i32>(text.size()));
    EXPECT_EQ(buf.capacity, capacity);
    EXPECT_EQ(wiq_strbuf_printf(&buf, "y"), 1);
    EXPECT_EQ(buf.capacity, 2 * capacity);
    EXPECT_STREQ(buf.data, (text + "y").c_str());
    wiq_strbuf_finalize(&buf);
}

}  // namespace
