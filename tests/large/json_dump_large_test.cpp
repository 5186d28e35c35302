// The serializer: texts of more than 2^31 and 2^32 bytes. A document of that size is a weak array that lists
// one long string several times.
#include "ke_utils/core.h"
#include "ke_utils/json.h"
#include "large/large_test.h"

namespace {

class JsonDumpLarge : public Large {};
class JsonDumpLargeThreads : public Large {};

// Returns a string of `length` times "x".
wiq_json_t* string_of(size_t length) {
    Text text(length, 'x');
    return wiq_json_str_new(text.data(), nullptr);
}

// Returns a list of `times` times the string; its text has 3 more bytes for each, and 1 more.
wiq_json_t* list_of(size_t length, int times) {
    wiq_json_t* string = string_of(length);
    wiq_json_t* list = wiq_json_array_weak_new(0, nullptr);
    for (int i = 0; i < times; ++i)
        EXPECT_EQ(wiq_json_array_push_ext(list, string, nullptr), 0);
    return list;
}

struct Row {
    size_t length;
    int times;
    size_t text;
};
const Row kRows[] = {
    {(k2G - 8) / 2, 2, k2G - 1}, {k2G - 4, 1, k2G},     {k2G + 5, 1, k2G + 9},
    {k2G / 2, 4, k4G + 13},      {k4G + 5, 1, k4G + 9},
};

TEST_F(JsonDumpLarge, ToANewString) {
    for (const Row& row : kRows) {
        wiq_json_t* list = list_of(row.length, row.times);
        char before[] = "before";
        char* out = before;
        const i32 length = wiq_json_sdump(list, &out, 0);
        wiq_json_unref(list);
        if (row.text >= k2G) {
            EXPECT_EQ(length, WIQ_ERR_RANGE) << row.text;
            EXPECT_EQ(out, before);
            continue;
        }
        ASSERT_EQ(length, static_cast<i32>(row.text));
        EXPECT_EQ(strlen(out), row.text);
        free(out);
    }
}

TEST_F(JsonDumpLarge, ToABuffer) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.text);
        wiq_json_t* list = list_of(row.length, row.times);
        wiq_strbuf buf;
        ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
        EXPECT_EQ(wiq_json_sdump_ext(list, &buf, 0, 0), 0);
        wiq_json_unref(list);
        EXPECT_EQ(buf.len, row.text);
        EXPECT_EQ(strlen(buf.data), row.text);
        const char* at = buf.data;
        for (int i = 0; i < row.times; ++i, at += row.length + 3) {
            EXPECT_EQ(std::string(at, 2), i == 0 ? "[\"" : ",\"");
            EXPECT_TRUE(is_all(at + 2, row.length, 'x'));
            EXPECT_EQ(at[row.length + 2], '"');
        }
        EXPECT_STREQ(at, "]");
        wiq_strbuf_finalize(&buf);
    }
}

TEST_F(JsonDumpLargeThreads, ToAStream) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.text);
#ifdef _WIN32
        // Wine writes a string to a pipe in one piece, and ends the process if the pipe takes only a part: at
        // most 2^31 - 4096 bytes.
        if (row.length > k2G - 4096)
            continue;
#endif
        wiq_json_t* list = list_of(row.length, row.times);
        Sink sink('x');
        EXPECT_EQ(wiq_json_fdump(list, sink.stream(), 0, 0), INT32_MAX);
        wiq_json_unref(list);
        sink.finish();
        EXPECT_EQ(sink.count(), row.text);
        EXPECT_EQ(sink.filled(), row.length * static_cast<size_t>(row.times));
        std::string others = "[";
        for (int i = 0; i < row.times; ++i)
            others += i == 0 ? "\"\"" : ",\"\"";
        EXPECT_EQ(sink.others(), others + "]");
    }
}

TEST_F(JsonDumpLargeThreads, Indentation) {
    wiq_json_t* root = wiq_json_loads("[[1],[2]]", 0, nullptr);
    constexpr u32 kIndent = 1u << 30;
    // There are seven lines after the first.
    constexpr size_t kBlanks = size_t{7} * kIndent + 2 + 4 + 2 + 2 + 4 + 2;
    Sink sink(' ');
    EXPECT_EQ(wiq_json_fdump(root, sink.stream(), WIQ_JSON_DUMP_PRETTY, kIndent), INT32_MAX);
    sink.finish();
    EXPECT_EQ(sink.filled(), kBlanks);
    EXPECT_EQ(sink.others(), "[\n[\n1\n],\n[\n2\n]\n]");
    wiq_json_unref(root);
}

TEST_F(JsonDumpLarge, EscapedTexts) {
    struct Escape {
        const char* before;
        size_t length;
        char fill;
        size_t text;  // of the whole buffer
    };
    for (const Escape& row :
         {Escape{"", k2G - 1, 'x', k2G - 1}, Escape{"b", k2G - 1, 'x', k2G},
          Escape{"", k2G + 5, 'x', k2G + 5}, Escape{"b", k4G + 5, 'x', k4G + 6},
          Escape{"b", k2G / 2 - 1, '\n', k2G - 1}, Escape{"", k2G / 2, '\n', k2G},
          Escape{"b", k2G / 6, '\x01', k2G - 1}, Escape{"b", k4G / 6 + 1, '\x01', k4G + 3}}) {
        SCOPED_TRACE(row.text);
        Text text(row.length, row.fill);
        wiq_strbuf buf;
        ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
        wiq_strbuf_write(&buf, row.before, strlen(row.before));
        const i32 result = wiq_json_escape_str_ext(text.data(), &buf);
        if (row.text < k2G) {
            EXPECT_EQ(result, static_cast<i32>(row.text));
            EXPECT_EQ(buf.len, row.text);
            EXPECT_EQ(strlen(buf.data), row.text);
        } else {
            EXPECT_EQ(result, WIQ_ERR_RANGE);
            EXPECT_STREQ(buf.data, row.before);
        }
        wiq_strbuf_finalize(&buf);
        if (*row.before == '\0') {
            char* escaped = wiq_json_escape_str(text.data());
            EXPECT_EQ(escaped != nullptr, row.text < k2G);
            free(escaped);
        }
    }
}

// Escaping within a dump has no such limit.
TEST_F(JsonDumpLarge, AStringOfEscapes) {
    Text text(k2G / 6 + 1, '\x01');
    wiq_json_t* string = wiq_json_str_new(text.data(), nullptr);
    wiq_strbuf buf;
    ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
    EXPECT_EQ(wiq_json_sdump_ext(string, &buf, 0, 0), 0);
    EXPECT_EQ(buf.len, text.size() * 6 + 2);
    EXPECT_STREQ(buf.data + buf.len - 7, "\\u0001\"");
    wiq_strbuf_finalize(&buf);
    wiq_json_unref(string);
}

}  // namespace
