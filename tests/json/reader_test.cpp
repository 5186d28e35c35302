// The two readers, byte by byte and side by side: what next() returns, the location after each byte, what can
// be taken back, and the text of a token. Tests of only one of them follow at the end.
#include "json/read/reader.h"

#include <string>
#include <vector>

#include "json/parser_support.h"
#include "json/read/stream_reader.h"
#include "support/alloc_faults.h"

namespace {

using ke::json::Location;
using ke::json::StreamReader;
using ke::json::StringReader;

std::string describe_location(const Location& location) {
    return std::to_string(location.line) + ":" + std::to_string(location.column) + "@" +
           std::to_string(location.offset);
}

// The result of one call of next(), and the position after it.
struct Step {
    int c;
    Location location;
};

struct Row {
    const char* text;
    std::vector<Step> steps;
};

constexpr int kEof = WIQ_ERR_EOF;
constexpr int kBad = WIQ_ERR_JSON_BAD_UTF8;

const Row kRows[] = {
    {"", {{kEof, {1, 0, 0}}, {kEof, {1, 0, 0}}}},
    {"ab", {{'a', {1, 1, 1}}, {'b', {1, 2, 2}}, {kEof, {1, 2, 2}}, {kEof, {1, 2, 2}}}},
    {"\n", {{'\n', {2, 0, 1}}, {kEof, {2, 0, 1}}}},
    {"a\n\nb",
     {{'a', {1, 1, 1}}, {'\n', {2, 0, 2}}, {'\n', {3, 0, 3}}, {'b', {3, 1, 4}}, {kEof, {3, 1, 4}}}},
    // A carriage return, a tab and other control characters count as one column each.
    {"\r\n\t\x01\x7f",
     {{'\r', {1, 1, 1}}, {'\n', {2, 0, 2}}, {'\t', {2, 1, 3}}, {1, {2, 2, 4}}, {0x7f, {2, 3, 5}}}},
    // Non-ASCII: the lead byte as a signed value, counted as one character and one byte.
    {"\xC2\x80", {{-62, {1, 1, 1}}}},
    {"x\xC3\xA9", {{'x', {1, 1, 1}}, {-61, {1, 2, 2}}}},
    {"\n\xDF\xBF", {{'\n', {2, 0, 1}}, {-33, {2, 1, 2}}}},
    {"\xE0\xA0\x80", {{-32, {1, 1, 1}}}},
    {"\xED\x9F\xBF", {{-19, {1, 1, 1}}}},
    {"\xEE\x80\x80", {{-18, {1, 1, 1}}}},
    {"\xF0\x90\x80\x80", {{-16, {1, 1, 1}}}},
    {"\xF4\x8F\xBF\xBF", {{-12, {1, 1, 1}}}},
    // Invalid sequences: nothing is counted, and nothing after them can be read.
    {"\x80", {{kBad, {1, 0, 0}}, {kBad, {1, 0, 0}}}},
    {"a\xBFz", {{'a', {1, 1, 1}}, {kBad, {1, 1, 1}}, {kBad, {1, 1, 1}}}},
    {"\xC0\x80", {{kBad, {1, 0, 0}}}},
    {"\xC1\xBF", {{kBad, {1, 0, 0}}}},
    {"\n\xC3", {{'\n', {2, 0, 1}}, {kBad, {2, 0, 1}}, {kBad, {2, 0, 1}}}},
    {"\xC3x", {{kBad, {1, 0, 0}}, {kBad, {1, 0, 0}}}},
    {"\xC3\xC3\xA9", {{kBad, {1, 0, 0}}, {kBad, {1, 0, 0}}}},
    {"\xE0\x9F\xBF", {{kBad, {1, 0, 0}}}},
    {"\xE2\x82", {{kBad, {1, 0, 0}}}},
    {"\xED\xA0\x80", {{kBad, {1, 0, 0}}}},
    {"\xF0\x8F\xBF\xBF", {{kBad, {1, 0, 0}}}},
    {"\xF0\x9F\x98", {{kBad, {1, 0, 0}}}},
    {"\xF4\x90\x80\x80", {{kBad, {1, 0, 0}}}},
    {"\xF5\x80\x80\x80", {{kBad, {1, 0, 0}}}},
    {"\xFF", {{kBad, {1, 0, 0}}, {kBad, {1, 0, 0}}}},
};

template <class Reader>
void check_row(Reader& reader, const Row& row) {
    EXPECT_EQ(describe_location(reader.location()), "1:0@0");
    for (const Step& step : row.steps) {
        EXPECT_EQ(reader.next(), step.c);
        EXPECT_EQ(describe_location(reader.location()), describe_location(step.location));
        EXPECT_EQ(reader.offset(), step.location.offset);
    }
    EXPECT_FALSE(reader.failed());
}

TEST(Reader, BytesAndPositions) {
    ScratchFile file;
    for (const Row& row : kRows) {
        SCOPED_TRACE(describe_text(row.text));
        StringReader string(row.text);
        check_row(string, row);
        StreamReader stream(file.with(row.text));
        check_row(stream, row);
    }
}

// Reads every byte, pushes it back and reads it again: the positions are the same both times.
template <class Reader>
void check_unread(Reader& reader, const std::string& text) {
    for (char expected : text) {
        const std::string before = describe_location(reader.location());
        const int c = reader.next();
        EXPECT_EQ(c, expected);
        const std::string after = describe_location(reader.location());
        reader.unread(c);
        EXPECT_EQ(describe_location(reader.location()), before);
        EXPECT_EQ(reader.next(), c);
        EXPECT_EQ(describe_location(reader.location()), after);
    }
}

TEST(Reader, Unread) {
    const char* const kTexts[] = {"a", "12,", "ab\ncd\n", "\n\n\n", "\r\n \t]", "\x01\x7f"};
    ScratchFile file;
    for (const char* text : kTexts) {
        SCOPED_TRACE(describe_text(text));
        StringReader string(text);
        check_unread(string, text);
        StreamReader stream(file.with(text));
        check_unread(stream, text);
    }
}

// The end, invalid UTF-8 and a non-ASCII byte cannot be pushed back.
TEST(Reader, UnreadDoesNotTakeBackFailures) {
    ScratchFile file;
    for (const auto& [text, c, location] : {
             std::tuple{"a", kEof, "1:1@1"},
             std::tuple{"a\xFF", kBad, "1:1@1"},
             std::tuple{"a\xC3\xA9", -61, "1:2@2"},
         }) {
        SCOPED_TRACE(describe_text(text));
        StringReader string(text);
        StreamReader stream(file.with(text));
        EXPECT_EQ(string.next(), 'a');
        EXPECT_EQ(stream.next(), 'a');
        EXPECT_EQ(string.next(), c);
        EXPECT_EQ(stream.next(), c);
        string.unread(c);
        stream.unread(c);
        EXPECT_EQ(describe_location(string.location()), location);
        EXPECT_EQ(describe_location(stream.location()), location);
    }
}

// Reads two tokens with blanks before them, pushing back the byte after each.
template <class Reader>
void check_tokens(Reader& reader) {
    for (const char* expected : {"word", "17"}) {
        int c = reader.first_of_token();
        while (c > ' ')
            c = reader.next();
        reader.unread(c);
        EXPECT_EQ(std::string(reader.token_text()), expected);
    }
}

TEST(Reader, TokenText) {
    ScratchFile file;
    StringReader string("  word   17");
    check_tokens(string);
    StreamReader stream(file.with("  word   17"));
    check_tokens(stream);
}

// A stream keeps a token of any length.
TEST(Reader, LongTokenFromStream) {
    ScratchFile file;
    const std::string text = std::string(10000, 'a') + std::string(10000, 'b');
    StreamReader stream(file.with(text));
    while (stream.next() > 0) {
    }
    EXPECT_EQ(std::string(stream.token_text()), text);
}

// It skips only bytes that a string holds unescaped, never the quote, a backslash, a control character, a
// non-ASCII byte or the end. How much it skips at once is up to the reader.
TEST(Reader, SkipPlain) {
    for (size_t run : std::initializer_list<size_t>{0, 1, 15, 16, 127, 128, 129, 1000, 40000}) {
        for (const char* behind : {"", "\"", "\\", "\x1f", "\n", "\xC3\xA9", "\xFF"}) {
            const std::string text = std::string(run, 'x') + behind;
            StringReader reader(text.c_str());
            i32 before = -1;
            while (reader.offset() != before) {
                before = reader.offset();
                reader.skip_plain();
            }
            EXPECT_EQ(before, static_cast<i32>(run)) << describe_text(behind);
        }
    }
}

// The stream is left as if each byte had been read from it only when it was needed. A multi-byte sequence is read
// as a whole; a byte that cannot begin one is read alone.
TEST(Reader, TakenFromStream) {
    struct Taken {
        const char* content;
        std::vector<long> after;  // after each next()
    };
    const Taken rows[] = {
        {"abc", {1, 2, 3, 3}},      {"\xC3\xA9z", {2}},  {"\xE2\x82\xACz", {3}},
        {"\xF0\x9F\x98\x80z", {4}}, {"\xFFzzz", {1, 1}}, {"\x80zzz", {1, 1}},
        {"\xC3zzz", {2, 2}},        {"\xE2zzz", {3, 3}}, {"\xF0zzzz", {4, 4}},
        {"\xE2\x82", {2, 2}},
    };
    ScratchFile file;
    for (const Taken& row : rows) {
        for (size_t calls = 0; calls <= row.after.size(); ++calls) {
            FILE* fp = file.with(row.content);
            {
                StreamReader reader(fp);
                for (size_t i = 0; i < calls; ++i)
                    reader.next();
            }
            EXPECT_EQ(ftell(fp), calls == 0 ? 0 : row.after[calls - 1])
                << describe_text(row.content) << ", " << calls;
        }
    }
}

// In a stream, a NUL is an ordinary byte, but it cannot be pushed back and is not part of a token's text.
TEST(Reader, NulInStream) {
    ScratchFile file;
    StreamReader reader(file.with(std::string("1\0002", 3)));
    EXPECT_EQ(reader.next(), '1');
    EXPECT_EQ(reader.next(), 0);
    reader.unread(0);
    EXPECT_EQ(describe_location(reader.location()), "1:2@2");
    EXPECT_EQ(std::string(reader.token_text()), "1");
    EXPECT_EQ(reader.next(), '2');
    EXPECT_EQ(describe_location(reader.location()), "1:3@3");
}

// For the string reader, the text ends there.
TEST(Reader, NulInString) {
    StringReader reader("1\0002");
    EXPECT_EQ(reader.next(), '1');
    EXPECT_EQ(reader.next(), kEof);
    EXPECT_EQ(reader.next(), kEof);
    EXPECT_EQ(describe_location(reader.location()), "1:1@1");
}

// If memory for a token's text runs out, bytes and positions are still right, and the failure can be queried
// later.
TEST(ReaderFaults, TokenText) {
    // Longer than several of a stream's buffers.
    const std::string text = "\n" + std::string(20000, 'x');
    ScratchFile file;
    const size_t points = SweepAllocations([&](AllocFaults& faults) {
        FILE* fp = file.with(text);
        StreamReader reader(fp);
        faults.arm();
        for (char expected : text)
            EXPECT_EQ(reader.next(), expected);
        reader.unread('x');
        EXPECT_EQ(reader.next(), 'x');
        EXPECT_EQ(reader.next(), kEof);
        faults.disarm();
        EXPECT_EQ(reader.failed(), faults.fired());
        EXPECT_EQ(describe_location(reader.location()), "2:20000@20001");
    });
    EXPECT_GE(points, 2u);
}

}  // namespace
