// Tests of the conversions between UTF-8 and wide text.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "ke_utils/files.h"

namespace {

constexpr u32 kNoUnicodeTranslation = 1113;

// Returns a wide text made from code points, in the platform's encoding.
std::wstring wide(const std::vector<u32>& code_points) {
    std::wstring text;
    for (u32 c : code_points) {
        if (sizeof(wchar_t) == 2 && c >= 0x10000) {
            text += static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
            text += static_cast<wchar_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
        } else {
            text += static_cast<wchar_t>(c);
        }
    }
    return text;
}

TEST(Encoding, RoundTrips) {
    struct Row {
        std::vector<u32> code_points;
        const char* utf8;
    };
    for (const Row& row : {
             Row{{}, ""},
             Row{{'a', 'b'}, "ab"},
             Row{{0x7F, 0x80}, "\x7f\xc2\x80"},
             Row{{0xE9}, "\xc3\xa9"},
             Row{{0x7FF, 0x800}, "\xdf\xbf\xe0\xa0\x80"},
             Row{{0x20AC}, "\xe2\x82\xac"},
             Row{{0xD7FF}, "\xed\x9f\xbf"},
             Row{{0xFFFD}, "\xef\xbf\xbd"},
             Row{{0xE000}, "\xee\x80\x80"},
             Row{{0xFFFF, 0x10000}, "\xef\xbf\xbf\xf0\x90\x80\x80"},
             Row{{0x1F600}, "\xf0\x9f\x98\x80"},
             Row{{0x10FFFF}, "\xf4\x8f\xbf\xbf"},
         }) {
        u32 err = 7;
        char* narrowed = narrow(wide(row.code_points).c_str(), &err);
        EXPECT_STREQ(narrowed, row.utf8);
        EXPECT_EQ(err, 0u);
        free(narrowed);
        err = 7;
        wchar_t* widened = widen(row.utf8, &err);
        EXPECT_EQ(std::wstring(widened), wide(row.code_points));
        EXPECT_EQ(err, 0u);
        free(widened);
    }
}

TEST(Encoding, NullIsNoError) {
    u32 err = 7;
    EXPECT_EQ(narrow(nullptr, &err), nullptr);
    EXPECT_EQ(err, 0u);
    err = 7;
    EXPECT_EQ(widen(nullptr, &err), nullptr);
    EXPECT_EQ(err, 0u);
    EXPECT_EQ(narrow(nullptr, nullptr), nullptr);
    EXPECT_EQ(widen(nullptr, nullptr), nullptr);
}

TEST(Encoding, NarrowRefusesLoneSurrogates) {
    for (const std::wstring& text :
         {std::wstring{static_cast<wchar_t>(0xD800)}, std::wstring{static_cast<wchar_t>(0xDBFF)},
          std::wstring{static_cast<wchar_t>(0xDFFF)},
          std::wstring{L'a', static_cast<wchar_t>(0xDC00), L'b'}}) {
        u32 err = 0;
        EXPECT_EQ(narrow(text.c_str(), &err), nullptr);
        EXPECT_EQ(err, kNoUnicodeTranslation);
        EXPECT_EQ(narrow(text.c_str(), nullptr), nullptr);
    }
    if (sizeof(wchar_t) == 4) {
        u32 err = 0;
        const std::wstring beyond{static_cast<wchar_t>(0x110000)};
        EXPECT_EQ(narrow(beyond.c_str(), &err), nullptr);
        EXPECT_EQ(err, kNoUnicodeTranslation);
    }
}

TEST(Encoding, WidenReplacesWhatIsInvalid) {
    struct Row {
        const char* utf8;
        std::vector<u32> code_points;
    };
    for (const Row& row : {
             Row{"\xff", {0xFFFD}},
             Row{"a\x80z", {'a', 0xFFFD, 'z'}},
             Row{"\xc3", {0xFFFD}},
             Row{"\xc3z", {0xFFFD, 'z'}},
             Row{"\xe2\x82z", {0xFFFD, 'z'}},
             Row{"\xf0\x9f\x98z", {0xFFFD, 'z'}},
             Row{"\xc0\x80", {0xFFFD, 0xFFFD}},
         }) {
        u32 err = 7;
        wchar_t* widened = widen(row.utf8, &err);
        ASSERT_NE(widened, nullptr) << row.utf8;
        EXPECT_EQ(err, 0u);
        EXPECT_EQ(std::wstring(widened), wide(row.code_points)) << row.utf8;
        free(widened);
    }
}

// A sequence ends before the first byte that cannot continue it, and each such piece is replaced by one
// character. Where wide characters are 16-bit units, the system decides what a piece is.
TEST(Encoding, WidenReplacesEachPieceOfAnIllFormedSequence) {
    if (sizeof(wchar_t) != 4)
        return;
    struct Row {
        const char* utf8;
        std::vector<u32> code_points;
    };
    constexpr u32 kBad = 0xFFFD;
    for (
        const Row& row : {
            // The second byte makes the sequence overlong, a surrogate, or larger than any code point.
            Row{"\xe0\x80\x80", {kBad, kBad, kBad}},
            Row{"\xe0\x9f\xbf", {kBad, kBad, kBad}},
            Row{"\xe0\xa0\x80", {0x800}},
            Row{"\xed\x9f\xbf", {0xD7FF}},
            Row{"\xed\xa0\x80", {kBad, kBad, kBad}},
            Row{"\xed\xbf\xbf", {kBad, kBad, kBad}},
            Row{"\xf0\x8f\xbf\xbf", {kBad, kBad, kBad, kBad}},
            Row{"\xf0\x90\x80\x80", {0x10000}},
            Row{"\xf4\x8f\xbf\xbf", {0x10FFFF}},
            Row{"\xf4\x90\x80\x80", {kBad, kBad, kBad, kBad}},
            // The neighbouring lead bytes have no such limits.
            Row{"\xe1\x80\x80", {0x1000}},
            Row{"\xec\xbf\xbf", {0xCFFF}},
            Row{"\xee\xbf\xbf", {0xEFFF}},
            Row{"\xf1\x80\x80\x80", {0x40000}},
            Row{"\xf3\xbf\xbf\xbf", {0xFFFFF}},
            // Bytes that cannot begin a sequence.
            Row{"\xc1\xbf", {kBad, kBad}},
            Row{"\xc2\x80", {0x80}},
            Row{"\xf5\x80", {kBad, kBad}},
            // Cut off after two and three bytes, by a character and by the end.
            Row{"\xe1\x80", {kBad}},
            Row{"\xe1\x80\xc2\x80", {kBad, 0x80}},
            Row{"\xf1\x80\x80", {kBad}},
            Row{"\xf1\x80\x80\xf1\x80\x80\x80", {kBad, 0x40000}},
            Row{"\xe1\xc0\x80", {kBad, kBad, kBad}},
        }) {
        u32 err = 7;
        wchar_t* widened = widen(row.utf8, &err);
        ASSERT_NE(widened, nullptr);
        EXPECT_EQ(err, 0u);
        EXPECT_EQ(std::wstring(widened), wide(row.code_points))
            << testing::PrintToString(std::string(row.utf8));
        free(widened);
    }
}

TEST(Encoding, Arrays) {
    const std::wstring a = wide({'a'});
    const std::wstring euro = wide({0x20AC});
    const std::wstring bad{static_cast<wchar_t>(0xD800)};
    const wchar_t* good[] = {a.c_str(), euro.c_str()};
    u32 err = 7;
    char** narrowed = narrow_array(2, good, &err);
    ASSERT_NE(narrowed, nullptr);
    EXPECT_EQ(err, 0u);
    EXPECT_STREQ(narrowed[0], "a");
    EXPECT_STREQ(narrowed[1], "\xe2\x82\xac");
    err = 7;
    free_narrow_array(2, narrowed, &err);
    EXPECT_EQ(err, 0u);

    const wchar_t* with_gap[] = {a.c_str(), bad.c_str(), nullptr, euro.c_str()};
    EXPECT_EQ(narrow_array(4, with_gap, &err), nullptr);
    EXPECT_EQ(err, kNoUnicodeTranslation);
    const wchar_t* with_null[] = {a.c_str(), nullptr};
    EXPECT_EQ(narrow_array(2, with_null, &err), nullptr);
    EXPECT_EQ(err, 0u) << "there is nothing wrong with an item that does not exist";
    narrowed = narrow_array(4, with_gap, nullptr);
    ASSERT_NE(narrowed, nullptr);
    EXPECT_STREQ(narrowed[0], "a");
    EXPECT_EQ(narrowed[1], nullptr);
    EXPECT_EQ(narrowed[2], nullptr);
    EXPECT_STREQ(narrowed[3], "\xe2\x82\xac");
    free_narrow_array(4, narrowed, nullptr);

    err = 7;
    EXPECT_EQ(narrow_array(0, good, &err), nullptr);
    EXPECT_EQ(err, 0u);
    err = 7;
    EXPECT_EQ(narrow_array(2, nullptr, &err), nullptr);
    EXPECT_EQ(err, 0u);
    free_narrow_array(3, nullptr, &err);
}

}  // namespace
