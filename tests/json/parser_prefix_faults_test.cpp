// Documents that are cut off at every byte, with each allocation failing in turn: from a string, from bytes of a
// known length and from a stream. Either the status is the one for the text, or memory ran out; in that case nothing is
// returned, and nothing leaks.
#include <algorithm>
#include <string>
#include <vector>

#include "json/parser_support.h"
#include "ke_utils/utf8.h"
#include "support/alloc_faults.h"
#include "support/colliding_keys.h"

namespace {

constexpr i32 kBoth = WIQ_JSON_ALLOW_TRAILING | WIQ_JSON_REJECT_DUPLICATES;

using Load = wiq_json_t* (*)(const std::string& text, i32 flags, FILE* stream,
                             wiq_json_load_error* err);
const struct Source {
    const char* name;
    Load load;
    bool needs_stream;
} kSources[] = {
    {"string",
     [](const std::string& text, i32 flags, FILE*, wiq_json_load_error* err) {
         return wiq_json_loads(text.c_str(), flags, err);
     },
     false},
    {"bytes",
     [](const std::string& text, i32 flags, FILE*, wiq_json_load_error* err) {
         return ke_json_loads_utf8(text.data(), text.size(), flags, err);
     },
     false},
    {"stream",
     [](const std::string&, i32 flags, FILE* stream, wiq_json_load_error* err) {
         return wiq_json_loadf(stream, flags, err);
     },
     true},
};

// Returns whether json.h lists the status for wiq_json_load_error. Statuses that cannot occur here are left out:
// those for a NULL argument and for raw non-ASCII characters.
bool is_documented(i32 status) {
    for (const i32 known :
         {0, +WIQ_ERR_JSON_TRAILING_DATA, +WIQ_ERR_JSON_UNEXPECTED_END,
          +WIQ_ERR_JSON_UNEXPECTED_TOKEN, +WIQ_ERR_JSON_BAD_TOKEN, +WIQ_ERR_JSON_DUPLICATE_KEY,
          +WIQ_ERR_NO_MEMORY, +WIQ_ERR_JSON_CONTROL_CHAR, +WIQ_ERR_JSON_BAD_ESCAPE,
          +WIQ_ERR_JSON_BAD_NUMBER, +WIQ_ERR_JSON_BAD_UTF8, +WIQ_ERR_JSON_BAD_UNICODE_ESCAPE}) {
        if (status == known)
            return true;
    }
    return false;
}

// Returns the number of failure points.
size_t sweep_text(const Source& source, const std::string& text, i32 flags, ScratchFile* file) {
    FILE* stream = source.needs_stream ? file->with(text) : nullptr;
    const auto load = [&](wiq_json_load_error* err) {
        *err = kStaleError;
        if (stream != nullptr) {
            EXPECT_EQ(fseek(stream, 0, SEEK_SET), 0);
        }
        return source.load(text, flags, stream, err);
    };
    wiq_json_load_error whole;
    wiq_json_unref(load(&whole));
    EXPECT_TRUE(is_documented(whole.status)) << whole.status;
    return SweepAllocations([&](AllocFaults& faults) {
        wiq_json_load_error error;
        faults.arm();
        wiq_json_t* node = load(&error);
        faults.disarm();
        EXPECT_EQ(error.status, faults.fired() ? WIQ_ERR_NO_MEMORY : whole.status);
        EXPECT_EQ(node == nullptr, error.status != 0);
        wiq_json_unref(node);
    });
}

// Sweeps every `step`th prefix from every source.
size_t sweep_prefixes(const std::string& text, i32 flags, size_t step = 1) {
    ScratchFile file(ScratchFile::kSmall);
    size_t points = 0;
    for (const Source& source : kSources) {
        for (size_t size = 0; size <= text.size(); size += step) {
            SCOPED_TRACE(testing::Message() << source.name << ": " << text.substr(0, size));
            points += sweep_text(source, text.substr(0, size), flags, &file);
            if (testing::Test::HasFailure())
                return points;
        }
    }
    return points;
}

TEST(ParserPrefixFaults, EveryKind) {
    for (const char* text : {
             "{\"a\":1,\"b\":{\"c\":2,\"d\":{}},\"a\":{\"e\":3}}",
             "[1,[2,[]],[[],[3,{}]]]",
             "[0,-1,9223372036854775808,340282366920938463463374607431768211456,1.5,-2e-3,1e400]",
             "[\"\",\"plain\",\"\\\"\\\\\\/\\b\\f\\n\\r\\t\",\"\\u00e9 \\ud83d\\ude00\"]",
             "{\"\\u006b\\n\":[null,true,false],\"\\ud83d\\ude00\":\"\\t\"}",
             "{\"a\":{\"$ref\":\"#/"
             "b\"},\"b\":[{\"$ref\":\"\"},{\"$ref\":1},{\"$ref\":\"x\",\"y\":0}]}",
             "{\"a\":[{\"b\":[{\"c\":[[[{\"d\":\"e\"}]]]}]}]}",
             " { \"a\" : [ 1 , \"b\" ] ,\t\"c\" : { } }\r\n 7",
             "\"text\\u0041\"",
             "-12.5e3",
             "true",
         }) {
        EXPECT_GT(sweep_prefixes(text, 0), 10u) << text;
        EXPECT_GT(sweep_prefixes(text, kBoth), 10u) << text;
    }
}

// Containers that outgrow the table in their block, the lists of the parser, or a short chain, and texts and
// keys with a block of their own.
TEST(ParserPrefixFaults, LargeOnes) {
    std::string array = "[";
    std::string object = "{";
    for (int i = 0; i < 66; ++i) {
        array += i == 0 ? "[]" : ",7";
        object += (i == 0 ? "\"" : ",\"") + std::to_string(i) + "\":[]";
    }
    std::string nested;
    for (int i = 0; i < 40; ++i)
        nested += i % 2 == 0 ? "[" : "{\"a\":";
    const std::string key(520, 'k');
    const std::string text(1020, 't');
    const std::string colliding = colliding::object_text(colliding::keys(20));
    EXPECT_GT(sweep_prefixes("{\"x\":" + array + "]}", 0, 7), 100u);
    EXPECT_GT(sweep_prefixes("[" + object + "}]", 0, 11), 100u);
    EXPECT_GT(sweep_prefixes("[" + object + "}]", kBoth, 11), 100u);
    EXPECT_GT(sweep_prefixes(nested, 0, 3), 100u);
    EXPECT_GT(sweep_prefixes("[" + colliding + "," + colliding + "]", 0, 23), 100u);
    for (const i32 flags : {0, kBoth})
        EXPECT_GT(sweep_prefixes("{\"" + key + "\":{\"$ref\":\"" + text + "\"},\"" + key +
                                     "2\":{\"$ref\":\"\"},\"a\":{\"$ref\":\"" + text + "\"}}",
                                 flags, 29),
                  50u);
    EXPECT_GT(sweep_prefixes("[{\"" + key + "\":[{\"" + key + "\":\"" + text + "\"}]}]", 0, 29),
              50u);
}

// Only the reader of bytes accepts non-ASCII characters.
TEST(ParserPrefixFaults, BytesBeyondAscii) {
    const std::string text = "{\"\xC3\xA9\":[\"\xE2\x82\xAC\",\"\xF0\x9F\x98\x80\"]}";
    ScratchFile file;
    size_t points = 0;
    for (size_t size = 0; size <= text.size(); ++size)
        points += sweep_text(kSources[1], text.substr(0, size), 0, &file);
    EXPECT_GT(points, 50u);
}

}  // namespace
