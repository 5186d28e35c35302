// The parser: texts of more than 2^31 and 2^32 characters and lines, and tokens of the same length.
#include <cmath>

#include "ke_utils/core.h"
#include "ke_utils/json.h"
#include "large/large_test.h"

namespace {

class JsonParserLarge : public Large {};
class JsonParserLargeThreads : public Large {};

struct Row {
    size_t blanks;  // before something that is not a token
    char blank;
    i32 line;
    i32 column;
    i32 position;
};

// The last position that can be expressed, those around it, and those that would wrap to small numbers.
const Row kRows[] = {
    {k2G - 3, ' ', 1, INT32_MAX - 1, INT32_MAX - 1},
    {k2G - 2, ' ', 1, INT32_MAX, INT32_MAX},
    {k2G - 1, ' ', 1, INT32_MAX, INT32_MAX},
    {k2G + 5, ' ', 1, INT32_MAX, INT32_MAX},
    {k4G + 5, ' ', 1, INT32_MAX, INT32_MAX},
    {k2G - 3, '\n', INT32_MAX - 1, 1, INT32_MAX - 1},
    {k2G - 2, '\n', INT32_MAX, 1, INT32_MAX},
    {k2G + 5, '\n', INT32_MAX, 1, INT32_MAX},
    {k4G + 5, '\n', INT32_MAX, 1, INT32_MAX},
};

void expect_place(const Row& row, const wiq_json_load_error& err) {
    EXPECT_EQ(err.status, WIQ_ERR_JSON_BAD_TOKEN);
    EXPECT_EQ(err.line, row.line);
    EXPECT_EQ(err.column, row.column);
    EXPECT_EQ(err.position, row.position);
}

TEST_F(JsonParserLarge, PlacesInAString) {
    for (const char blank : {' ', '\n'}) {
        Text text(k4G + 6, blank);
        text.ending("?");
        for (const Row& row : kRows) {
            if (row.blank != blank)
                continue;
            SCOPED_TRACE(row.blanks);
            wiq_json_load_error err;
            EXPECT_EQ(wiq_json_loads(text.end() - 1 - row.blanks, 0, &err), nullptr);
            expect_place(row, err);
        }
    }
}

TEST_F(JsonParserLargeThreads, PlacesInAStream) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.blanks);
        Source source("", row.blanks, row.blank, "?");
        wiq_json_load_error err;
        EXPECT_EQ(wiq_json_loadf(source.stream(), 0, &err), nullptr);
        expect_place(row, err);
    }
}

// The byte after a number is pushed back at a position that no number can express.
TEST_F(JsonParserLargeThreads, ANumberAfterBlanks) {
    for (const size_t blanks : kLarge) {
        Source source("", blanks, '\n', "17\n?");
        wiq_json_load_error err;
        wiq_json_t* number = wiq_json_loadf(source.stream(), WIQ_JSON_ALLOW_TRAILING, &err);
        EXPECT_EQ(wiq_json_i64_get(number), 17);
        EXPECT_EQ(err.status, 0);
        EXPECT_EQ(err.position, INT32_MAX);
        EXPECT_EQ(source.rest(), "?");
        wiq_json_unref(number);
    }
}

TEST_F(JsonParserLarge, APositionAfterAValue) {
    Text text(k4G + 6, ' ');
    text.ending("1");
    for (const size_t blanks : kLarge) {
        wiq_json_load_error err;
        wiq_json_t* number = wiq_json_loads(text.end() - 1 - blanks, 0, &err);
        EXPECT_EQ(wiq_json_i64_get(number), 1);
        EXPECT_EQ(err.position, INT32_MAX);
        wiq_json_unref(number);
    }
}

void expect_string(wiq_json_t* node, size_t plain, const char* tail) {
    ASSERT_TRUE(wiq_json_is_str(node));
    const char* text = wiq_json_str_get(node);
    EXPECT_TRUE(is_all(text, plain, 'x'));
    EXPECT_STREQ(text + plain, tail);
    wiq_json_unref(node);
}

TEST_F(JsonParserLarge, StringsInAString) {
    for (const size_t length : kLarge) {
        Text text(length + 2, 'x');
        text.beginning("\"").ending("\"");
        expect_string(wiq_json_loads(text.data(), 0, nullptr), length, "");
    }
    Text text(k2G + 4, 'x');
    text.beginning("\"").ending("\\n\"");
    expect_string(wiq_json_loads(text.data(), 0, nullptr), k2G, "\n");
}

TEST_F(JsonParserLargeThreads, StringsInAStream) {
    for (const size_t length : kLarge) {
        Source source("\"", length, 'x', "\"");
        expect_string(wiq_json_loadf(source.stream(), 0, nullptr), length, "");
    }
    Source source("\"", k2G, 'x', "\\n\"");
    expect_string(wiq_json_loadf(source.stream(), 0, nullptr), k2G, "\n");
}

// The text ends in the middle of a string.
TEST_F(JsonParserLarge, AStringWithoutItsEnd) {
    for (const size_t length : kLarge) {
        Text text(length, 'x');
        text.beginning("\"");
        wiq_json_load_error err;
        EXPECT_EQ(wiq_json_loads(text.data(), 0, &err), nullptr);
        EXPECT_EQ(err.status, WIQ_ERR_JSON_UNEXPECTED_END);
        EXPECT_EQ(err.position, INT32_MAX);
    }
}

// A key must be shorter than 2 GiB; otherwise the status is that for no memory.
TEST_F(JsonParserLarge, Keys) {
    constexpr size_t kLongest = k2G - 1;
    for (const size_t length : {kLongest, k2G, k2G + 5, k4G + 5}) {
        Text text(length + 6, 'k');
        text.beginning("{\"").ending("\":7}");
        for (const i32 flags : {0, i32{WIQ_JSON_REJECT_DUPLICATES}}) {
            wiq_json_load_error err;
            wiq_json_t* root = wiq_json_loads(text.data(), flags, &err);
            EXPECT_EQ(root != nullptr, length == kLongest) << length;
            EXPECT_EQ(err.status, length == kLongest ? 0 : i32{WIQ_ERR_NO_MEMORY}) << length;
            if (root == nullptr)
                continue;
            text[2 + length] = '\0';
            EXPECT_EQ(wiq_json_obj_get_i64(root, text.data() + 2, nullptr), 7);
            text[2 + length] = '"';
            wiq_json_unref(root);
        }
    }
}

TEST_F(JsonParserLargeThreads, KeysInAStream) {
    for (const size_t length : {k2G - 1, k2G, k2G + 5}) {
        Source source("{\"", length, 'k', "\":7}");
        wiq_json_load_error err;
        wiq_json_t* root = wiq_json_loadf(source.stream(), 0, &err);
        EXPECT_EQ(err.status, length == k2G - 1 ? 0 : i32{WIQ_ERR_NO_MEMORY}) << length;
        EXPECT_EQ(wiq_json_obj_size(root), length == k2G - 1 ? 1 : i32{WIQ_ERR_INVALID_ARG});
        wiq_json_unref(root);
    }
}

// Modulo 2^128, as computed by another function.
TEST_F(JsonParserLarge, Integers) {
    for (const size_t length : kLarge) {
        Text text(length, '1');
        wiq_uint128 expected = {0, 0};
        EXPECT_EQ(wiq_uint128_from_str(text.data(), &expected), 0);
        wiq_json_t* number = wiq_json_loads(text.data(), 0, nullptr);
        wiq_uint128 value = {0, 0};
        wiq_json_u128_get(&value, number);
        EXPECT_TRUE(wiq_json_is_int(number));
        EXPECT_EQ(value.lo, expected.lo);
        EXPECT_EQ(value.hi, expected.hi);
        wiq_json_unref(number);
    }
}

double real_of(const char* text) {
    wiq_json_load_error err;
    wiq_json_t* number = wiq_json_loads(text, 0, &err);
    EXPECT_EQ(err.status, 0);
    const double value = wiq_json_is_num(number) ? wiq_json_double_get(number) : NAN;
    wiq_json_unref(number);
    return value;
}

TEST_F(JsonParserLarge, Reals) {
    for (const size_t length : kLarge) {
        Text text(length, '0');
        EXPECT_EQ(real_of(text.beginning("0.").ending("1").data()), 0);
        EXPECT_EQ(real_of(text.beginning("2.").data()), 2);
        EXPECT_EQ(real_of(text.beginning("10").ending(".0").data()), HUGE_VAL);
        // The exponent cancels the zeros.
        text.beginning("10").ending("0e-" + std::to_string(length - 13));
        ASSERT_EQ(strlen(strchr(text.data(), 'e')), 12u);
        EXPECT_EQ(real_of(text.data()), 1);
    }
}

}  // namespace
