// Texts whose length exceeds the largest i32. Inside the library the limit, which is 2^31 - 1 bytes for users, is
// an argument, so short texts can reach it.
#include "json/model/text_limits.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "json/navigate/pointer_build.h"
#include "json/write/dump.h"
#include "json/write/escape.h"
#include "ke_utils/core.h"

namespace {

using ke::json::escape_within;
using ke::json::pointer_within;
using ke::json::sdump_within;

TEST(TextLimits, TheLimitIsInt32Max) {
    EXPECT_EQ(ke::json::kMaxTextLength, u64{INT32_MAX});
}

// Calls a function twice: with a limit that equals the length of its text, and with a limit one lower.
template <class Make>
void expect_limit(const std::string& expected, const Make& make) {
    char before[] = "before";
    char* out = before;
    EXPECT_EQ(make(&out, expected.size() - 1), WIQ_ERR_RANGE);
    EXPECT_EQ(out, before);
    ASSERT_EQ(make(&out, expected.size()), static_cast<i32>(expected.size()));
    EXPECT_EQ(out, expected);
    free(out);
}

TEST(TextLimits, OfADump) {
    wiq_json_t* root = wiq_json_loads("[1,\"text\",{}]", 0, nullptr);
    expect_limit("[1,\"text\",{}]",
                 [root](char** out, u64 longest) { return sdump_within(root, out, 0, longest); });
    wiq_json_unref(root);
}

TEST(TextLimits, OfAPointer) {
    wiq_json_t* root = wiq_json_obj_new(0, nullptr);
    const wiq_json_t* node = wiq_json_obj_put_null(root, "a/b", nullptr);
    expect_limit("/a~1b",
                 [node](char** out, u64 longest) { return pointer_within(node, out, longest); });
    wiq_json_unref(root);
}

TEST(TextLimits, OfAnEscapedText) {
    struct Row {
        const char* before;
        const char* text;
        const char* after;
    };
    for (const Row& row :
         {Row{"", "plain", "plain"}, Row{"", "\t", "\\t"}, Row{"a", "\x01\"b", "a\\u0001\\\"b"},
          Row{"before", "", "before"},
          Row{"x", "\xc3\xa9\n\xf0\x9f\x98\x80", "x\xc3\xa9\\n\xf0\x9f\x98\x80"}}) {
        const size_t length = strlen(row.after);
        for (u64 longest = 0; longest < length + 8; ++longest) {
            wiq_strbuf buf;
            ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
            wiq_strbuf_write(&buf, row.before, strlen(row.before));
            const i32 result = escape_within(row.text, &buf, longest);
            if (longest < length) {
                EXPECT_EQ(result, WIQ_ERR_RANGE);
                EXPECT_STREQ(buf.data, row.before);
            } else {
                EXPECT_EQ(result, static_cast<i32>(length));
                EXPECT_STREQ(buf.data, row.after);
            }
            wiq_strbuf_finalize(&buf);
        }
    }
}

// A text that cannot be escaped is reported as invalid even if it is also too long.
TEST(TextLimits, InvalidTextsAreReportedAsInvalid) {
    wiq_strbuf buf;
    ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
    EXPECT_EQ(escape_within("ab\xff", &buf, 1), WIQ_ERR_BAD_FORMAT);
    EXPECT_STREQ(buf.data, "ab");
    wiq_strbuf_finalize(&buf);
}

}  // namespace
