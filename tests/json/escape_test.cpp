// Tests of string escaping.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "ke_utils/core.h"
#include "ke_utils/json.h"

namespace {

// Returns the escaped text, or "(status)".
std::string escaped(const char* text) {
    wiq_strbuf buf;
    EXPECT_EQ(wiq_strbuf_init(&buf, 0), 0);
    const i32 length = wiq_json_escape_str_ext(text, &buf);
    std::string result = length < 0 ? "(" + std::to_string(length) + ")" : std::string(buf.data);
    if (length >= 0) {
        EXPECT_EQ(static_cast<u64>(length), buf.len);
    }
    wiq_strbuf_finalize(&buf);
    return result;
}

TEST(Escape, Texts) {
    struct Row {
        const char *text, *escaped;
    };
    for (const Row& row : {
             Row{"", ""},
             Row{"plain text", "plain text"},
             Row{"a/b", "a/b"},
             Row{"\"", "\\\""},
             Row{"\\", "\\\\"},
             Row{"\b\f\n\r\t", "\\b\\f\\n\\r\\t"},
             Row{"\x01\x1f", "\\u0001\\u001F"},
             Row{"\x0b", "\\u000B"},
             Row{"\x7f", "\x7f"},
             Row{"\t\"x\"", "\\t\\\"x\\\""},
             Row{"\xc3\xa9", "\xc3\xa9"},
             Row{"\xe2\x82\xac", "\xe2\x82\xac"},
             Row{"\xf0\x9f\x98\x80", "\xf0\x9f\x98\x80"},
             Row{"\xf4\x8f\xbf\xbf", "\xf4\x8f\xbf\xbf"},
             // invalid UTF-8
             Row{"\xff", "(-7003)"},
             Row{"\x80", "(-7003)"},
             Row{"\xc3", "(-7003)"},
             Row{"\xc3x", "(-7003)"},
             Row{"\xc0\x80", "(-7003)"},
             Row{"\xe0\x80\x80", "(-7003)"},
             Row{"\xed\xa0\x80", "(-7003)"},
             Row{"\xf0\x80\x80\x80", "(-7003)"},
             Row{"\xf4\x90\x80\x80", "(-7003)"},
             Row{"\xf0\x9f\x98", "(-7003)"},
         })
        EXPECT_EQ(escaped(row.text), row.escaped) << row.text;
}

TEST(Escape, EveryPlaceInALongRun) {
    // Long runs are scanned in blocks; the special character can be anywhere in a block.
    for (size_t position = 0; position < 70; ++position) {
        std::string text(70, 'x');
        std::string expected = text;
        text[position] = '"';
        expected.replace(position, 1, "\\\"");
        EXPECT_EQ(escaped(text.c_str()), expected) << position;
        text[position] = '\x01';
        expected.replace(position, 2, "\\u0001");
        EXPECT_EQ(escaped(text.c_str()), expected) << position;
        text[position] = '\xff';
        EXPECT_EQ(escaped(text.c_str()), "(-7003)") << position;
    }
}

TEST(Escape, TextBeforeAFailureIsWritten) {
    wiq_strbuf buf;
    ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
    wiq_strbuf_write(&buf, "> ", 2);
    EXPECT_EQ(wiq_json_escape_str_ext("ab\n\xff rest", &buf), WIQ_ERR_BAD_FORMAT);
    EXPECT_STREQ(buf.data, "> ab\\n");
    EXPECT_EQ(wiq_json_escape_str_ext("c", &buf), 7) << "the length of the whole text";
    EXPECT_EQ(wiq_json_escape_str_ext(nullptr, &buf), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_escape_str_ext("c", nullptr), WIQ_ERR_INVALID_ARG);
    wiq_strbuf_finalize(&buf);
}

TEST(Escape, NewString) {
    char* text = wiq_json_escape_str("a\"b");
    EXPECT_STREQ(text, "a\\\"b");
    free(text);
    EXPECT_EQ(wiq_json_escape_str(nullptr), nullptr);
    EXPECT_EQ(wiq_json_escape_str("\xff"), nullptr);
}

}  // namespace
