// Documents that are read while allocations fail at every point: the status is right and nothing leaks.
#include <string>

#include "json/parser_support.h"
#include "support/alloc_faults.h"

namespace {

// A document with every kind of value, keys and texts with and without escapes, enough members and elements
// for the containers to grow, duplicate keys, references, and tokens that outgrow the stream's buffer.
std::string rich_document() {
    std::string text =
        "{\"null\":null,\"flags\":[true,false],\"numbers\":[1,-2,3.5,1e400,"
        "123456789012345678901234567890],\"text\":\"plain\",\"esc\\u0061ped\":"
        "\"\\n\\ud83d\\ude00\","
        "\"twice\":1,\"twice\":[2],\"ref\":{\"$ref\":\"#/text\"},\"refs\":[{\"$ref\":\"\"},"
        "{\"$ref\":1},{\"$ref\":{\"$ref\":\"#\"}}],\"empty\":{},\"none\":[],\"list\":[";
    for (int i = 0; i < 20; ++i)
        text += std::to_string(i) + ",";
    text += "\"" + std::string(200, 'x') + "\\t" + std::string(200, 'y') + "\"]";
    for (int i = 0; i < 20; ++i)
        text += ",\"member " + std::to_string(i) + "\":{\"deep\":[[" + std::to_string(i) + "]]}";
    return text + "}";
}

// Sweeps one text from a string (if there is no file) or a stream; if no allocation fails, the load returns
// `status`. Returns the number of failure points.
size_t sweep(const std::string& text, i32 flags, i32 status, ScratchFile* file) {
    return SweepAllocations([&](AllocFaults& faults) {
        FILE* stream = file == nullptr ? nullptr : file->with(text);
        wiq_json_load_error error = kStaleError;
        faults.arm();
        wiq_json_t* node = stream == nullptr ? wiq_json_loads(text.c_str(), flags, &error)
                                             : wiq_json_loadf(stream, flags, &error);
        faults.disarm();
        const i32 expected = faults.fired() ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : status;
        EXPECT_EQ(error.status, expected);
        EXPECT_EQ(node != nullptr, expected == 0);
        EXPECT_GE(error.position, 0);
        EXPECT_LE(error.position, static_cast<i32>(text.size()));
        wiq_json_unref(node);
    });
}

TEST(ParserFaults, RichDocument) {
    const std::string text = rich_document();
    ScratchFile file(ScratchFile::kSmall);
    for (i32 flags : {0, static_cast<i32>(WIQ_JSON_ALLOW_TRAILING)}) {
        EXPECT_GT(sweep(text, flags, 0, nullptr), 35u);
        EXPECT_GT(sweep(text, flags, 0, &file), 140u);
    }
}

// With invalid texts, too, a load either runs out of memory first, or returns the text's own status.
TEST(ParserFaults, DocumentsThatFail) {
    const std::string whole = rich_document();
    ScratchFile file(ScratchFile::kSmall);
    for (const auto& [text, flags, status] : {
             std::tuple{whole + "x", 0, WIQ_ERR_JSON_TRAILING_DATA},
             std::tuple{whole.substr(0, whole.size() - 1), 0, WIQ_ERR_JSON_UNEXPECTED_END},
             std::tuple{whole, 2, WIQ_ERR_JSON_DUPLICATE_KEY},
             std::tuple{std::string("[[],{\"a\":[1,{\"b\":x"), 0, WIQ_ERR_JSON_BAD_TOKEN},
             std::tuple{"{\"\\n" + std::string(3000, 'x') + "\" 1}", 0,
                        WIQ_ERR_JSON_UNEXPECTED_TOKEN},
         }) {
        EXPECT_GE(sweep(text, flags, status, nullptr), 2u) << text;
        EXPECT_GT(sweep(text, flags, status, &file), 3u) << text;
    }
}

// Running out of memory while reading a token after the value is not reported as trailing data.
TEST(ParserFaults, LongTrailingToken) {
    ScratchFile file(ScratchFile::kSmall);
    const std::string text = "[] \"" + std::string(5000, 'x');
    EXPECT_GT(sweep(text, 0, WIQ_ERR_JSON_TRAILING_DATA, &file), 5u);
    const std::string escaped = "[] \"\\n" + std::string(3000, 'x') + "\"";
    EXPECT_GT(sweep(escaped, 0, WIQ_ERR_JSON_TRAILING_DATA, nullptr), 3u);
}

// A member with a long key has a block of its own, which is one more allocation. A key that comes twice can turn
// an object into a reference only when the object is closed.
TEST(ParserFaults, LongKeysAndLateReferences) {
    const std::string key = "\"" + std::string(500, 'k');
    ScratchFile file(ScratchFile::kSmall);
    for (const std::string& text : {
             "{" + key + "\":1,\"a\":2," + key + "2\":[{}]}",
             "{" + key + "\":{\"$ref\":\"#\"}," + key + "2\":{\"$ref\":\"x\",\"$ref\":\"#\"}}",
             std::string("[{\"$ref\":\"#/0\",\"$ref\":\"#/1\"}]"),
             std::string("{\"$ref\":\"#/0\",\"$ref\":\"#/1\"}"),
         }) {
        EXPECT_GE(sweep(text, 0, 0, nullptr), 6u) << text;
        EXPECT_GT(sweep(text, 0, 0, &file), 6u) << text;
    }
}

TEST(ParserFaults, Scalars) {
    ScratchFile file(ScratchFile::kSmall);
    for (const char* text : {"1", "1.5", "true", "null", "\"a\"", "\"\\n\"", "99999999999999999999",
                             "[]", "{}", "{\"$ref\":\"a\"}"}) {
        EXPECT_GE(sweep(text, 0, 0, nullptr), 2u) << text;
        // A bracket is a token without a text.
        const bool has_text = strcmp(text, "[]") != 0 && strcmp(text, "{}") != 0;
        EXPECT_GE(sweep(text, 0, 0, &file), has_text ? 4u : 2u) << text;
    }
}

}  // namespace

namespace {

// A stream's token needs memory that grows with it, wherever it is.
TEST(ParserFaults, LongTokensEverywhere) {
    ScratchFile file(ScratchFile::kSmall);
    const std::string word = "\"" + std::string(600, 'x') + "\"";
    const std::string digits(600, '7');
    for (const std::string& text :
         {"[" + word + "]", "[1," + word + "]", "[1, 2 " + word + "]", "{" + word + ":1}",
          "{\"a\":" + word + "}", "{\"a\":1," + word + ":2}", "{\"a\":1 " + word + "}",
          "{\"a\" " + word + "}", "[" + digits + "]", "[" + std::string(600, 't') + "]",
          "[\"" + std::string(400, '\\') + "\"]"}) {
        wiq_json_load_error error = {};
        wiq_json_t* node = wiq_json_loads(text.c_str(), 0, &error);
        const i32 status = node == nullptr ? error.status : 0;
        wiq_json_unref(node);
        EXPECT_GE(sweep(text, 0, status, &file), 2u) << text.substr(0, 20);
    }
}

}  // namespace
