// Formatted strings: lengths, truncation, positional arguments, fresh strings and reused blocks.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <string>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "support/pch.h"

#if defined(__GNUC__)
// These tests deliberately use positional arguments and formats that the runtime must refuse.
#pragma GCC diagnostic ignored "-Wformat"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-zero-length"
#pragma GCC diagnostic ignored "-Wformat-extra-args"
#pragma GCC diagnostic ignored "-Wformat-truncation"
#endif

namespace {

i32 count(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const i32 result = wiq_vscprintf(format, args);
    va_end(args);
    return result;
}

i32 format_into(char* buf, u64 size, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const i32 result = wiq_vsprintf(buf, size, format, args);
    va_end(args);
    return result;
}

i32 vasprintf_of(char** out, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const i32 result = wiq_vasprintf(out, format, args);
    va_end(args);
    return result;
}

i32 vrasprintf_of(char** block, u64* size, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const i32 result = wiq_vrasprintf(block, size, format, args);
    va_end(args);
    return result;
}

// Returns a format that this platform's runtime refuses.
const char* bad_format() {
#ifdef _WIN32
    return "abc%";
#else
    return "%lc";  // the argument below is a character that the "C" locale lacks
#endif
}
constexpr wint_t kBadCharacter = 0x20ac;

TEST(Snprintf, CutsAndReportsTheFullLength) {
    char buf[8];
    memset(buf, '#', sizeof buf);
    EXPECT_EQ(wiq_snprintf(buf, 4, "%s", "abcdef"), 6);
    EXPECT_EQ(std::string(buf, sizeof buf), std::string("abc\0####", 8));
    EXPECT_EQ(wiq_snprintf(buf, 1, "%s", "abcdef"), 6);
    EXPECT_EQ(buf[0], '\0');
    EXPECT_EQ(wiq_snprintf(buf, 8, "%s", "abcdefg"), 7);
    EXPECT_STREQ(buf, "abcdefg");
    EXPECT_EQ(wiq_snprintf(buf, 8, "%s", "abcdefgh"), 8);
    EXPECT_STREQ(buf, "abcdefg");
    EXPECT_EQ(wiq_snprintf(buf, 8, "%s", ""), 0);
    EXPECT_STREQ(buf, "");
}

TEST(Snprintf, OnlyCountsWithoutABuffer) {
    char buf[4] = "###";
    EXPECT_EQ(wiq_snprintf(nullptr, 0, "%d", 12345), 5);
    EXPECT_EQ(wiq_snprintf(nullptr, 100, "%d", 12345), 5);
    EXPECT_EQ(wiq_snprintf(buf, 0, "%d", 12345), 5);
    EXPECT_STREQ(buf, "###");
}

TEST(Snprintf, RefusedFormat) {
    char buf[8] = "#######";
    EXPECT_LT(wiq_snprintf(buf, sizeof buf, nullptr), 0);
    EXPECT_STREQ(buf, "");
    const i32 length = wiq_snprintf(buf, sizeof buf, bad_format(), kBadCharacter);
#ifdef _WIN32
    EXPECT_EQ(length, 3);  // without positional arguments, this runtime ignores the "%"
    EXPECT_STREQ(buf, "abc");
#else
    EXPECT_LT(length, 0);
    EXPECT_STREQ(buf, "");
#endif
}

TEST(Format, ConversionsThatBothPlatformsWriteAlike) {
    const auto text = [](const char* format, auto... args) {
        char buf[512];
        const i32 length = format_into(buf, sizeof buf, format, args...);
        EXPECT_EQ(length, static_cast<i32>(strlen(buf))) << format;
        EXPECT_EQ(count(format, args...), length) << format;
        EXPECT_EQ(wiq_snprintf(nullptr, 0, format, args...), length) << format;
        return std::string(buf);
    };
    EXPECT_EQ(text("%lld", LLONG_MIN), "-9223372036854775808");
    EXPECT_EQ(text("%llu", ULLONG_MAX), "18446744073709551615");
    EXPECT_EQ(text("%llx", ULLONG_MAX), "ffffffffffffffff");
    EXPECT_EQ(text("%zu", static_cast<size_t>(77)), "77");
    EXPECT_EQ(text("%d|%5d|%-5d|%05d|%+d", 3, 3, 3, 3, 3), "3|    3|3    |00003|+3");
    EXPECT_EQ(text("%x %X %o %u", 255u, 255u, 8u, 7u), "ff FF 10 7");
    EXPECT_EQ(text("%c%%%s", 'a', "b"), "a%b");
    EXPECT_EQ(text("%*d|%.*s", 4, 7, 2, "abc"), "   7|ab");
    EXPECT_EQ(text("%f", 1.5), "1.500000");
    EXPECT_EQ(text("%.2f", -0.126), "-0.13");
    EXPECT_EQ(text("%10.3f|", 3.14159), "     3.142|");
    EXPECT_EQ(text("%f", 1e15), "1000000000000000.000000");
    EXPECT_EQ(text("%02i:%.3i", 3, 4), "03:004");
    EXPECT_EQ(text(""), "");
    EXPECT_EQ(text("%s", std::string(400, 'x').c_str()), std::string(400, 'x'));
}

// The table in text.h, as far as it can be tested; nullptr means refused.
TEST(Format, WhereTheRuntimesDiffer) {
    const struct {
        const char* format;
        double value;
        const char *linux_text, *ucrt, *msvcrt;
    } rows[] = {
        {"%f", INFINITY, "inf", "inf", "1.#INF00"},
        {"%e", -INFINITY, "-inf", "-inf", "-1.#INF00e+000"},
        {"%5.1f", INFINITY, "  inf", "  inf", "  1.$"},
        {"%f", static_cast<double>(NAN), "nan", "nan", "1.#QNAN0"},
        {"%F", INFINITY, "INF", "INF", nullptr},
        {"%F", 1.5, "1.500000", "1.500000", nullptr},
        {"%e", 1.5, "1.500000e+00", "1.500000e+00", "1.500000e+000"},
        {"%g", 1e-5, "1e-05", "1e-05", "1e-005"},
        {"%g", 1e300, "1e+300", "1e+300", "1e+300"},
        {"%a", 1.5, "0x1.8p+0", "0x1.8000000000000p+0", "0x1.8000000000000p+0"},
        {"%y", 1, "%y", nullptr, nullptr},
        {"%", 1, nullptr, nullptr, nullptr},
    };
    for (const auto& row : rows) {
#if defined(_UCRT)
        const char* expected = row.ucrt;
#elif defined(_WIN32)
        const char* expected = row.msvcrt;
#else
        const char* expected = row.linux_text;
#endif
        char buf[64];
        const i32 length = format_into(buf, sizeof buf, row.format, row.value);
        if (expected == nullptr) {
            EXPECT_EQ(length, WIQ_ERR_FAILED) << row.format;
        } else {
            EXPECT_EQ(length, static_cast<i32>(strlen(expected))) << row.format;
            EXPECT_STREQ(buf, expected) << row.format;
        }
    }
    // Ties are rounded to the even digit or up, but never down to an odd digit.
    char buf[64];
    EXPECT_EQ(format_into(buf, sizeof buf, "%.0f %.0f %.0f %.0f", 0.5, 1.5, 2.5, 3.5), 7);
#ifdef _WIN32
    EXPECT_TRUE(std::string(buf) == "0 2 2 4" || std::string(buf) == "1 2 3 4") << buf;
#else
    EXPECT_STREQ(buf, "0 2 2 4");
#endif
    EXPECT_EQ(format_into(buf, sizeof buf, "%.2f|%.1f", 0.126, 0.26), 8);
    EXPECT_STREQ(buf, "0.13|0.3");
}

TEST(Format, PositionalArguments) {
    char buf[64];
    EXPECT_EQ(format_into(buf, sizeof buf, "%2$s-%1$s", "a", "b"), 3);
    EXPECT_STREQ(buf, "b-a");
    EXPECT_EQ(format_into(buf, sizeof buf, "%1$s%1$s", "ab"), 4);
    EXPECT_STREQ(buf, "abab");
    EXPECT_EQ(format_into(buf, sizeof buf, "%3$lld %1$d %2$s", 1, "x", 1LL << 40), 17);
    EXPECT_STREQ(buf, "1099511627776 1 x");
    EXPECT_EQ(format_into(buf, sizeof buf, "%1$.2f", 2.5), 4);
    EXPECT_STREQ(buf, "2.50");
    EXPECT_EQ(count("%2$s-%1$s", "a", "b"), 3);
}

TEST(Vsprintf, FailsWhenTheTextDoesNotFit) {
    for (u64 size = 0; size <= 6; ++size) {
        char buf[8];
        memset(buf, '#', sizeof buf);
        EXPECT_EQ(format_into(buf, size, "%s", "abcdef"), WIQ_ERR_FAILED);
        EXPECT_EQ(buf[size], '#');
        EXPECT_EQ(buf[7], '#');
        EXPECT_TRUE(size == 0 || wiq_strnlen(buf, size) < size) << "not terminated";
    }
    char buf[7];
    EXPECT_EQ(format_into(buf, sizeof buf, "%s", "abcdef"), 6);
    EXPECT_STREQ(buf, "abcdef");
}

TEST(Vsprintf, RefusedFormat) {
    char buf[16];
    EXPECT_LT(count(bad_format(), kBadCharacter), 0);
    EXPECT_LT(count(nullptr), 0);
    EXPECT_EQ(format_into(buf, sizeof buf, bad_format(), kBadCharacter), WIQ_ERR_FAILED);
    EXPECT_EQ(format_into(buf, sizeof buf, nullptr), WIQ_ERR_FAILED);
    EXPECT_EQ(format_into(nullptr, 16, "%d", 1), WIQ_ERR_FAILED);
}

// This is the library's own rule: such a format never reaches a runtime, and nothing is stored or appended.
TEST(Format, FormatsThatStoreOrSkipPositionsAreRefusedByAll) {
    for (const char* format :
         {"%n", "ab%n", "%1$n", "%lln", "%*n", "%I64n", "%2$d", "%1$d %3$d", "%0$d", "%s %2$d"}) {
        SCOPED_TRACE(format);
        i64 stored[3] = {77, 77, 77};
        char buf[16] = "###";
        EXPECT_LT(wiq_snprintf(buf, sizeof buf, format, &stored[0], &stored[1], &stored[2]), 0);
        EXPECT_STREQ(buf, "");
        EXPECT_LT(wiq_snprintf(nullptr, 0, format, &stored[0], &stored[1], &stored[2]), 0);
        EXPECT_LT(count(format, &stored[0], &stored[1], &stored[2]), 0);
        EXPECT_EQ(format_into(buf, sizeof buf, format, &stored[0], &stored[1], &stored[2]),
                  WIQ_ERR_FAILED);
        char* text = nullptr;
        EXPECT_EQ(wiq_asprintf(&text, format, &stored[0], &stored[1], &stored[2]), WIQ_ERR_FAILED);
        EXPECT_EQ(text, nullptr);
        EXPECT_EQ(vasprintf_of(&text, format, &stored[0], &stored[1], &stored[2]), WIQ_ERR_FAILED);
        u64 size = 0;
        ASSERT_EQ(wiq_rastrcat(&text, &size, "kept"), 4);
        EXPECT_EQ(wiq_rasprintf(&text, &size, format, &stored[0], &stored[1], &stored[2]),
                  WIQ_ERR_FAILED);
        EXPECT_EQ(vrasprintf_of(&text, &size, format, &stored[0], &stored[1], &stored[2]),
                  WIQ_ERR_FAILED);
        EXPECT_EQ(wiq_rapsprintf(&text, &size, format, &stored[0], &stored[1], &stored[2]),
                  WIQ_ERR_FAILED);
        EXPECT_STREQ(text, "kept");
        free(text);
        wiq_strbuf line;
        ASSERT_EQ(wiq_strbuf_init(&line, 0), 0);
        ASSERT_EQ(wiq_strbuf_write(&line, "kept", 4), 4);
        EXPECT_EQ(wiq_strbuf_printf(&line, format, &stored[0], &stored[1], &stored[2]),
                  WIQ_ERR_FAILED);
        EXPECT_EQ(line.len, 4u);
        EXPECT_STREQ(line.data, "kept");
        EXPECT_EQ(wiq_strbuf_rprintf(&line, format, &stored[0], &stored[1], &stored[2]),
                  WIQ_ERR_FAILED);
        EXPECT_STREQ(line.data, "");
        wiq_strbuf_finalize(&line);
        wiq_strv strv;
        ASSERT_EQ(wiq_strv_init(&strv), 0);
        EXPECT_EQ(wiq_strv_pushf(&strv, format, &stored[0], &stored[1], &stored[2]),
                  WIQ_ERR_FAILED);
        wiq_strv_finalize(&strv);
        for (i64 value : stored)
            EXPECT_EQ(value, 77);
    }
}

TEST(Format, FormatsThatOnlyLookInvalidAreAccepted) {
    char buf[32];
    EXPECT_EQ(format_into(buf, sizeof buf, "%%n"), 2);
    EXPECT_STREQ(buf, "%n");
    EXPECT_EQ(format_into(buf, sizeof buf, "%*dn", 4, 7), 5);
    EXPECT_STREQ(buf, "   7n");
    EXPECT_EQ(wiq_snprintf(buf, sizeof buf, "%d%%n", 5), 3);
    EXPECT_STREQ(buf, "5%n");
    EXPECT_EQ(format_into(buf, sizeof buf, "%2$d%%n%1$d", 1, 2), 4);
    EXPECT_STREQ(buf, "2%n1");
}

TEST(Asprintf, FreshStrings) {
    char* out = nullptr;
    EXPECT_EQ(wiq_asprintf(&out, "%2$s-%1$s", "a", "b"), 3);
    EXPECT_STREQ(out, "b-a");
    free(out);
    EXPECT_EQ(wiq_asprintf(&out, ""), 0);
    EXPECT_STREQ(out, "");
    free(out);
    EXPECT_EQ(vasprintf_of(&out, "%s", std::string(100000, 'x').c_str()), 100000);
    EXPECT_EQ(strlen(out), 100000u);
    free(out);
}

TEST(Asprintf, Failures) {
    char text[] = "kept";
    char* out = text;
    EXPECT_EQ(wiq_asprintf(nullptr, "x"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_asprintf(&out, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(vasprintf_of(nullptr, "x"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(vasprintf_of(&out, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(out, text);
    EXPECT_EQ(wiq_asprintf(&out, bad_format(), kBadCharacter), WIQ_ERR_FAILED);
    EXPECT_EQ(out, nullptr);
}

// A reusable block as its user holds it.
class Block : public testing::Test {
  protected:
    void TearDown() override { free(text_); }
    char* text_ = nullptr;
    u64 size_ = 0;
};

TEST_F(Block, OverwriteGrowsAlsoWhenTheTextFitsExactly) {
    text_ = static_cast<char*>(malloc(10));
    size_ = 10;
    EXPECT_EQ(vrasprintf_of(&text_, &size_, "%s", "12345678"), 8);
    EXPECT_EQ(size_, 10u) << "grown without need";
    EXPECT_EQ(vrasprintf_of(&text_, &size_, "%s", "123456789"), 9);
    EXPECT_EQ(size_, 10u);
    EXPECT_EQ(vrasprintf_of(&text_, &size_, "%s", "1234567890"), 10);
    EXPECT_EQ(size_, 11u);
    EXPECT_STREQ(text_, "1234567890");
    EXPECT_EQ(wiq_rasprintf(&text_, &size_, "%d", 5), 1);
    EXPECT_STREQ(text_, "5");
    EXPECT_EQ(size_, 11u);
}

TEST_F(Block, OverwriteStartsFromNothing) {
    EXPECT_EQ(wiq_rasprintf(&text_, &size_, "%2$s-%1$s", "a", "b"), 3);
    EXPECT_STREQ(text_, "b-a");
    EXPECT_EQ(size_, 4u);
}

TEST_F(Block, AppendFormatted) {
    EXPECT_EQ(wiq_rapsprintf(&text_, &size_, "x=%d", 1), 3);
    EXPECT_EQ(size_, 4u);
    EXPECT_EQ(wiq_rapsprintf(&text_, &size_, "y"), 1);
    EXPECT_STREQ(text_, "x=1y");
    EXPECT_EQ(size_, 5u);
    EXPECT_EQ(wiq_rapsprintf(&text_, &size_, "%2$d%1$d", 1, 2), 2);
    EXPECT_STREQ(text_, "x=1y21");
    EXPECT_EQ(wiq_rapsprintf(&text_, &size_, ""), 0);
    EXPECT_EQ(size_, 7u);
}

TEST_F(Block, AppendString) {
    EXPECT_EQ(wiq_rastrcat(&text_, &size_, "abc"), 3);
    EXPECT_EQ(size_, 4u);
    EXPECT_EQ(wiq_rastrcat(&text_, &size_, ""), 0);
    EXPECT_EQ(size_, 4u);
    EXPECT_EQ(wiq_rastrcat(&text_, &size_, "%d"), 2);
    EXPECT_STREQ(text_, "abc%d");
    EXPECT_EQ(size_, 6u);
}

TEST_F(Block, AppendingUsesTheFreeRoom) {
    text_ = static_cast<char*>(malloc(100));
    size_ = 100;
    text_[0] = '\0';
    const char* before = text_;
    EXPECT_EQ(wiq_rastrcat(&text_, &size_, "abc"), 3);
    EXPECT_EQ(wiq_rapsprintf(&text_, &size_, "%d", 7), 1);
    EXPECT_EQ(text_, before);
    EXPECT_EQ(size_, 100u);
    EXPECT_STREQ(text_, "abc7");
}

TEST_F(Block, ASizeOfZeroMeansNoString) {
    text_ = static_cast<char*>(malloc(4));
    memcpy(text_, "old", 4);
    EXPECT_EQ(wiq_rapsprintf(&text_, &size_, "new"), 3);
    EXPECT_STREQ(text_, "new");
    size_ = 0;
    EXPECT_EQ(wiq_rastrcat(&text_, &size_, "newer"), 5);
    EXPECT_STREQ(text_, "newer");
}

// Texts around the size of the buffer in which they are formatted first, in blocks of every size.
TEST_F(Block, TextsOfEveryLength) {
    for (const u64 length : {0, 1, 511, 512, 513, 1023, 1024, 2000}) {
        const std::string text(length, 't');
        for (const u64 size :
             {u64{1}, length, length + 1, length + 2, length + 3, 2 * length + 700}) {
            if (size == 0)
                continue;
            text_ = static_cast<char*>(realloc(text_, size));
            size_ = size;
            text_[0] = '\0';
            EXPECT_EQ(wiq_rapsprintf(&text_, &size_, "%s", text.c_str()), static_cast<i32>(length));
            EXPECT_EQ(text_, text);
            EXPECT_EQ(size_, std::max(size, length + 1));
            text_ = static_cast<char*>(realloc(text_, size));
            size_ = size;
            EXPECT_EQ(wiq_rasprintf(&text_, &size_, "%s", text.c_str()), static_cast<i32>(length));
            EXPECT_EQ(text_, text);
            EXPECT_EQ(size_, std::max(size, length + 1));
        }
        char* fresh = nullptr;
        EXPECT_EQ(wiq_asprintf(&fresh, "%s", text.c_str()), static_cast<i32>(length));
        EXPECT_EQ(fresh, text);
        free(fresh);
    }
}

TEST_F(Block, ANullBlockWithASize) {
    size_ = 1000;
    const std::string text(600, 't');
    EXPECT_EQ(wiq_rapsprintf(&text_, &size_, "%s", text.c_str()), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(size_, 1000u);
    EXPECT_EQ(wiq_rasprintf(&text_, &size_, "a"), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(wiq_rapsprintf(&text_, &size_, "a"), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(wiq_rastrcat(&text_, &size_, "a"), WIQ_ERR_NO_MEMORY);
    EXPECT_EQ(text_, nullptr);
    size_ = 0;
    EXPECT_EQ(wiq_rastrcat(&text_, &size_, "a"), 1);
}

TEST_F(Block, Failures) {
    EXPECT_EQ(wiq_rasprintf(nullptr, &size_, "x"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_rasprintf(&text_, nullptr, "x"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_rasprintf(&text_, &size_, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(vrasprintf_of(nullptr, &size_, "x"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(vrasprintf_of(&text_, &size_, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_rapsprintf(nullptr, &size_, "x"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_rapsprintf(&text_, nullptr, "x"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_rapsprintf(&text_, &size_, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_rastrcat(nullptr, &size_, "x"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_rastrcat(&text_, nullptr, "x"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_rastrcat(&text_, &size_, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(text_, nullptr);
    EXPECT_EQ(size_, 0u);
    ASSERT_EQ(wiq_rastrcat(&text_, &size_, "kept"), 4);
    EXPECT_EQ(wiq_rasprintf(&text_, &size_, bad_format(), kBadCharacter), WIQ_ERR_FAILED);
    EXPECT_EQ(wiq_rapsprintf(&text_, &size_, bad_format(), kBadCharacter), WIQ_ERR_FAILED);
    EXPECT_STREQ(text_, "kept");
    EXPECT_EQ(size_, 5u);
}

}  // namespace
