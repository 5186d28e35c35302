// Non-ASCII JSON text that grows to more than 2^31 and 2^32 bytes when it is escaped.
#include "ke_utils/utf8.h"
#include "large/large_test.h"

namespace {

class Utf8Large : public Large {};

// Fills a text with "é", in quotes.
void make_string(Text* text) {
    for (size_t i = 1; i + 1 < text->size(); i += 2)
        memcpy(text->data() + i, "\xc3\xa9", 2);
    text->beginning("\"").ending("\"");
}

TEST_F(Utf8Large, EscapedTexts) {
    for (const size_t count : {k2G / 6 + 1, k4G / 6 + 1}) {
        Text text(2 * count + 2, '\0');
        make_string(&text);
        wiq_json_load_error err;
        char* ascii = ke_utf8_to_json_ascii(text.data(), text.size(), &err);
        ASSERT_NE(ascii, nullptr);
        EXPECT_EQ(strlen(ascii), 6 * count + 2);
        EXPECT_STREQ(ascii + 6 * count - 5, "\\u00e9\"");
        free(ascii);
        if (count > k4G / 6)
            continue;
        wiq_json_t* string = ke_json_loads_utf8(text.data(), text.size(), 0, &err);
        EXPECT_EQ(err.status, 0);
        EXPECT_EQ(strlen(wiq_json_str_get(string)), 2 * count);
        text.release();
        char before[] = "before";
        char* out = before;
        EXPECT_EQ(ke_json_sdump_ascii(string, &out, 0), WIQ_ERR_RANGE);
        EXPECT_EQ(out, before);
        wiq_json_unref(string);
    }
}

// The reported position is that in the escaped text, and stops at the largest number.
TEST_F(Utf8Large, PlacesBeyondTheLimit) {
    const size_t count = k2G / 6 + 1;
    Text text(2 * count + 4, ' ');
    for (size_t i = 1; i <= 2 * count; i += 2)
        memcpy(text.data() + i, "\xc3\xa9", 2);
    text.beginning("\"").ending("\"\nx");
    wiq_json_load_error err;
    EXPECT_EQ(ke_json_loads_utf8(text.data(), text.size(), 0, &err), nullptr);
    EXPECT_EQ(err.status, WIQ_ERR_JSON_TRAILING_DATA);
    EXPECT_EQ(err.line, 2);
    EXPECT_EQ(err.column, 1);
    EXPECT_EQ(err.position, INT32_MAX);
}

TEST_F(Utf8Large, PlacesOfBadBytes) {
    for (const size_t length : kLarge) {
        Text text(length, 'x');
        text.ending("\xff");
        wiq_json_load_error err;
        EXPECT_EQ(ke_utf8_to_json_ascii(text.data(), length, &err), nullptr);
        EXPECT_EQ(err.status, WIQ_ERR_JSON_BAD_UTF8);
        EXPECT_EQ(err.line, 1);
        EXPECT_EQ(err.column, INT32_MAX);
        EXPECT_EQ(err.position, INT32_MAX);
    }
}

}  // namespace
