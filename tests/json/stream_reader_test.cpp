// Loads from streams, however the stream delivers its bytes: with buffers of every small size, which end
// anywhere in a token, one byte at a time, from pipes, and from a program's own source. The result, the
// position, and what the stream returns afterwards are the same as for a stream without a buffer.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "json/parser_support.h"
#include "support/pipes.h"

namespace {

using namespace std::string_literals;

const i32 kFlags[] = {0, WIQ_JSON_ALLOW_TRAILING, WIQ_JSON_REJECT_DUPLICATES};

std::vector<std::string> texts() {
    const std::string plain(90, 'p');
    return {
        "",
        " \n\t\r ",
        "{\"a\":1,\"bb\":[-2.5e-3,true,false,null],\"long key "s + plain + "\":\"" + plain + "\"}",
        "\n{\n    \"a\" : 12345678901234567890 ,\n\n    \"b\" : [ 0.1 , -1e-7 , 1E+5 ]\n}\n \n",
        "[\"\\u00e9\\n\\\"\\\\ \\ud83d\\ude00\",\"\\u0041"s + plain + "\\t\"]",
        "[1234567890,0.12345678901234567890123,340282366920938463463374607431768211455,"s +
            std::string(60, '7') + "," + std::string(50, '3') + "." + std::string(50, '5') + "]",
        // Something follows the value.
        "17 18",
        "-0.5e3,",
        "true]",
        "\"text\"x",
        "[] {\"a\":1}",
        "12\0 3"s,
        "null\0"s,
        "7\xC3\xA9",
        // Failures.
        "[1,2",
        "[1 2]",
        "{\"a\" 1}",
        "{\"a\":1,\"a\":2}",
        "\n\n  [\n1,\n2,,]",
        "[\"abc\ndef\"]",
        "[\"abc\\q\"]",
        "[\"\\u12g4\"]",
        "[\"\\ud800\"]",
        "[1.]",
        "[-]",
        "[01]",
        "[1e]",
        "[tru]",
        "[nulll]",
        "\0[]"s,
        "[1,\0]"s,
        "[\"a\0b\"]"s,
        "[\"caf\xC3\xA9\"]",
        "[\xC3\xA9]",
        "[1\xE2\x82\xAC]",
        "[\"\xFF\"]",
        "[\"\xF0\x9F\"]",
        "[\"\xE2\x82",
    };
}

// Returns what a load leaves in the stream.
std::string rest_of(FILE* stream) {
    std::string rest = feof(stream) != 0 ? "(end) " : "";
    for (int c = fgetc(stream); c != EOF; c = fgetc(stream))
        rest += static_cast<char>(c);
    return rest;
}

struct Result {
    LoadOutcome outcome;
    std::string rest;

    bool operator==(const Result& other) const {
        return outcome == other.outcome && outcome.consumed == other.outcome.consumed &&
               rest == other.rest;
    }
};
std::ostream& operator<<(std::ostream& out, const Result& result) {
    return out << result.outcome << ", left " << describe_text(result.rest.c_str());
}

Result load_stream(FILE* stream, i32 flags) {
    wiq_json_load_error error = kStaleError;
    wiq_json_t* node = wiq_json_loadf(stream, flags, &error);
    Result result = {outcome_of(node, error, MemberOrder::kMap), ""};
    return result;
}

class StreamReader : public testing::Test {
  protected:
    // Loads from the given offset of a file, with a stream buffer of this size; 0 means unbuffered. A byte
    // that is pushed back is read first.
    Result load(const std::string& text, i32 flags, size_t buffer_size, long offset = 0,
                int pushed_back = EOF) {
        Result result = {};
        FILE* stream = wiq_fopen(name_.c_str(), "wb", nullptr);
        EXPECT_TRUE(stream != nullptr &&
                    fwrite(text.data(), 1, text.size(), stream) == text.size());
        fclose(stream);
        stream = wiq_fopen(name_.c_str(), "rb", nullptr);
        EXPECT_NE(stream, nullptr);
        std::vector<char> buffer(buffer_size + 1);
        EXPECT_EQ(setvbuf(stream, buffer.data(), buffer_size == 0 ? _IONBF : _IOFBF, buffer_size),
                  0);
        EXPECT_EQ(fseek(stream, offset, SEEK_SET), 0);
        if (pushed_back != EOF) {
            EXPECT_EQ(ungetc(pushed_back, stream), pushed_back);
        }
        result = load_stream(stream, flags);
        result.outcome.consumed = static_cast<size_t>(ftell(stream));
        result.rest = rest_of(stream);
        fclose(stream);
        return result;
    }

    ~StreamReader() override { remove(name_.c_str()); }

    std::string name_ = [] {
        std::string name = testing::TempDir() + "ke_stream_XXXXXX";
        FILE* stream = wiq_mkstemp(name.data(), nullptr, "wb");
        EXPECT_NE(stream, nullptr);
        fclose(stream);
        return name;
    }();
};

TEST_F(StreamReader, BuffersOfAnySize) {
    for (const std::string& text : texts()) {
        for (const i32 flags : kFlags) {
            const Result expected = load(text, flags, 0);
            // msvcrt accepts no buffer smaller than two bytes.
            for (size_t size = 2; size <= 70; size += size < 20 ? 1 : 7)
                ASSERT_EQ(load(text, flags, size), expected)
                    << describe_text(text.c_str()) << ", flags " << flags << ", buffer " << size;
            ASSERT_EQ(load(text, flags, 4096), expected)
                << describe_text(text.c_str()) << ", flags " << flags;
        }
    }
}

// A text without a NUL gives the same outcome as in memory, including the exact position.
TEST_F(StreamReader, AsFromMemory) {
    for (const std::string& text : texts()) {
        if (text.find('\0') != std::string::npos)
            continue;
        for (const i32 flags : kFlags) {
            const LoadOutcome expected = load_string(text, flags, MemberOrder::kMap);
            for (const size_t size : {size_t{3}, size_t{16}, size_t{4096}})
                ASSERT_EQ(load(text, flags, size).outcome, expected)
                    << describe_text(text.c_str()) << ", flags " << flags << ", buffer " << size;
        }
    }
}

// A load begins at the stream's current position: in the middle of its buffer, or before a byte that was
// pushed back.
TEST_F(StreamReader, FromThePositionOfTheStream) {
    const std::string text = "[1,[2.5,{\"a\":\"text\"}],3] 4";
    for (const size_t size : {size_t{0}, size_t{2}, size_t{5}, size_t{4096}}) {
        const Result inner = load(text, WIQ_JSON_ALLOW_TRAILING, size, 3);
        EXPECT_EQ(inner.outcome.tree, "[d:2.5,{\"a\":\"text\"}]") << size;
        EXPECT_EQ(inner.outcome.error.position, 18) << size;
        EXPECT_EQ(inner.rest, ",3] 4") << size;
        const Result pushed = load(text, WIQ_JSON_ALLOW_TRAILING, size, 1, '4');
        EXPECT_EQ(pushed.outcome.tree, "41") << size;
        EXPECT_EQ(pushed.outcome.error.position, 2) << size;
        // The byte after a number is consumed.
        EXPECT_EQ(pushed.rest, text.substr(3)) << size;
        const Result blank = load(text, WIQ_JSON_ALLOW_TRAILING, size, 3, '\n');
        EXPECT_EQ(blank.outcome.tree, inner.outcome.tree) << size;
        EXPECT_EQ(blank.outcome.error.position, 19) << size;
        EXPECT_EQ(blank.rest, inner.rest) << size;
    }
}

// Loads one value after another from one stream; the byte after a number is lost to the next load.
TEST_F(StreamReader, SuccessiveValues) {
    std::string text;
    for (int i = 0; i < 3000; ++i)
        text +=
            "{\"id\":" + std::to_string(i) + ",\"name\":\"entry\"}\n" + std::to_string(i) + "\n";
    for (const size_t size : {size_t{2}, size_t{7}, size_t{64}, size_t{4096}}) {
        FILE* stream = wiq_fopen(name_.c_str(), "w+b", nullptr);
        ASSERT_NE(stream, nullptr);
        std::vector<char> buffer(size);
        ASSERT_EQ(setvbuf(stream, buffer.data(), _IOFBF, size), 0);
        ASSERT_EQ(fwrite(text.data(), 1, text.size(), stream), text.size());
        ASSERT_EQ(fseek(stream, 0, SEEK_SET), 0);
        for (int i = 0; i < 3000; ++i) {
            const std::string id = std::to_string(i);
            const Result object = load_stream(stream, WIQ_JSON_ALLOW_TRAILING);
            ASSERT_NE(object.outcome.tree.find("\"id\":" + id), std::string::npos) << i;
            const Result number = load_stream(stream, WIQ_JSON_ALLOW_TRAILING);
            ASSERT_EQ(number.outcome.tree, id);
            ASSERT_EQ(number.outcome.error.position, static_cast<i32>(id.size()) + 1);
        }
        EXPECT_EQ(load_stream(stream, 0).outcome, load_string("", 0));
        fclose(stream);
    }
}

// A load never reads beyond the byte after a value, because a pipe would wait for its writer there.
TEST_F(StreamReader, APipeThatStaysOpen) {
    Pipe pipe;
    ASSERT_TRUE(pipe.reader != nullptr && pipe.writer != nullptr);
    for (const char* text : {"[1,2]", "\"text\"", "{\"a\":[]}", "17 ", "true,", "[-1.5e3]"}) {
        ASSERT_GT(fputs(text, pipe.writer), -1);
        ASSERT_EQ(fflush(pipe.writer), 0);
        const Result result = load_stream(pipe.reader, WIQ_JSON_ALLOW_TRAILING);
        EXPECT_EQ(result.outcome.error.status, 0) << text;
    }
    ASSERT_GT(fputs("[1}8", pipe.writer), -1);
    ASSERT_EQ(fflush(pipe.writer), 0);
    const Result failed = load_stream(pipe.reader, 0);
    EXPECT_EQ(failed.outcome.error.position, 3);
    EXPECT_EQ(fgetc(pipe.reader), '8');
}

#if defined(__GLIBC__)
// A program's own source, which returns a few bytes per call.
struct Drip {
    std::string text;
    size_t at;
    size_t portion;
};
TEST_F(StreamReader, AStreamThatTheProgramImplements) {
    for (const std::string& text : texts()) {
        const Result expected = load(text, WIQ_JSON_ALLOW_TRAILING, 0);
        for (const size_t portion : {1, 2, 3, 5, 17}) {
            Drip drip = {text, 0, portion};
            const cookie_io_functions_t functions = {
                [](void* cookie, char* out, size_t size) {
                    auto* self = static_cast<Drip*>(cookie);
                    const size_t count =
                        std::min({size, self->portion, self->text.size() - self->at});
                    memcpy(out, self->text.data() + self->at, count);
                    self->at += count;
                    return static_cast<ssize_t>(count);
                },
                nullptr, nullptr, nullptr};
            FILE* stream = fopencookie(&drip, "rb", functions);
            ASSERT_NE(stream, nullptr);
            Result result = load_stream(stream, WIQ_JSON_ALLOW_TRAILING);
            result.outcome.consumed = expected.outcome.consumed;  // it has no position
            result.rest = rest_of(stream);
            EXPECT_EQ(result, expected) << describe_text(text.c_str()) << ", by " << portion;
            fclose(stream);
        }
    }
}
#endif

// A stream is written to and read from alternately: the load sees the file's contents, and writing continues
// after it.
TEST_F(StreamReader, BetweenWrites) {
    FILE* stream = wiq_fopen(name_.c_str(), "w+b", nullptr);
    ASSERT_NE(stream, nullptr);
    ASSERT_GT(fputs("[1,2]\n[3,4]\n", stream), -1);
    ASSERT_EQ(fseek(stream, 0, SEEK_SET), 0);
    EXPECT_EQ(load_stream(stream, WIQ_JSON_ALLOW_TRAILING).outcome.tree, "[1,2]");
    ASSERT_EQ(fseek(stream, 0, SEEK_CUR), 0);
    ASSERT_GT(fputs("\n[5,6]", stream), -1);
    ASSERT_EQ(fseek(stream, 5, SEEK_SET), 0);
    EXPECT_EQ(load_stream(stream, WIQ_JSON_ALLOW_TRAILING).outcome.tree, "[5,6]");
    EXPECT_EQ(ftell(stream), 11);
    fclose(stream);
}

}  // namespace
