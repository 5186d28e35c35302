// How much memory a document can make the parser take, for each byte of its text: what the finished document
// holds, and the most that is taken while it is parsed. docs/TESTING.md shows the figures; those below bound
// them, a few per cent above what was measured.
//
// Small documents cost more for each byte, since the last chunk is not full. So the bounds are for the bytes
// of the text, after a constant. The test prints what it measures if KE_SHOW_MEMORY is set.
#include <algorithm>
#include <string>
#include <vector>

#include "json/parser_support.h"
#include "support/alloc_faults.h"
#include "support/colliding_keys.h"

namespace {

std::string repeated(const std::string& unit, size_t count) {
    std::string text;
    text.reserve(unit.size() * count);
    for (size_t i = 0; i < count; ++i)
        text += unit;
    return text;
}
std::string list_of(const std::string& element, size_t count) {
    return "[" + repeated(element + ",", count - 1) + element + "]";
}
// A different key for each number, as short as possible.
std::string short_key(size_t number) {
    constexpr char kCharacters[] =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";
    std::string key;
    for (; number != 0; number /= 64)
        key += kCharacters[number % 64];
    return key;
}
std::string object_of(const std::string& value, size_t count) {
    std::string text = "{";
    for (size_t i = 0; i < count; ++i)
        text += (i == 0 ? "\"" : ",\"") + short_key(i) + "\":" + value;
    return text + "}";
}

// The parser's lists hold the open containers and their children, but not the contents of closed children. So they
// stay small, whatever the size of the document, as long as no container has many children.
TEST(ParserMemory, ScratchIsBoundedByWhatIsOpen) {
    const std::string small = list_of("[0,0,0,0,0,0,0,0,0,0]", 40);
    const std::string objects = list_of(object_of("[{\"a\":0},{}]", 10), 40);
    for (const std::string& part : {small, objects}) {
        for (const i32 flags : {0, static_cast<i32>(WIQ_JSON_REJECT_DUPLICATES)}) {
            for (const size_t count : {1, 30, 300}) {
                const std::string text = list_of(part, count);
                begin_peak();
                const long before = live_bytes();
                wiq_json_t* node = wiq_json_loads(text.c_str(), flags, nullptr);
                ASSERT_NE(node, nullptr);
                const long scratch = peak_bytes() - live_bytes();
                // Objects whose keys must be unique have tables of their own. The document's record lists
                // them, and is copied when the list doubles.
                const long record = flags == 0 ? 0 : (live_bytes() - before) / 20;
                EXPECT_LE(scratch, 20000 + record) << count;
                wiq_json_unref(node);
                EXPECT_EQ(live_bytes(), before);
            }
        }
    }
    // Many closed containers that are children of an open one take 8 bytes each, and the list is copied when it
    // doubles.
    const std::string many = list_of(list_of("0", 10), 100000);
    begin_peak();
    wiq_json_t* node = wiq_json_loads(many.c_str(), 0, nullptr);
    EXPECT_LE(peak_bytes() - live_bytes(), 100000 * 8 * 4);
    wiq_json_unref(node);
}

// With AddressSanitizer, each node has a chunk of its own, so these figures do not apply.
#if defined(__SANITIZE_ADDRESS__)
#define KE_OWN_CHUNKS
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KE_OWN_CHUNKS
#endif
#endif
#ifndef KE_OWN_CHUNKS

constexpr double kConstant = 20000;  // the root, the record, and a chunk that is not full
constexpr size_t kPower = 32768;

std::string nested(const std::string& open, const std::string& inner, const std::string& close,
                   size_t count) {
    return repeated(open, count) + inner + repeated(close, count);
}
std::string one_key(const std::string& value, size_t count) {
    return "{" + repeated("\"\":" + value + ",", count - 1) + "\"\":" + value + "}";
}

std::string colliding_object(size_t count) {
    static const std::vector<std::string> all = colliding::keys(kPower + 1);
    return colliding::object_text({all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count)});
}

struct Shape {
    const char* name;
    std::string (*make)(size_t count);
    // Upper bounds of the bytes of heap for each byte of text: of the finished document, and of the peak.
    double finished;
    double peak;
};

const Shape kShapes[] = {
    {"[[[[", [](size_t n) { return nested("[", "", "]", n); }, 25.1, 86.3},
    {"[[[[ cut", [](size_t n) { return repeated("[", n); }, 0.1, 172.5},
    {"{\"\":{\"\":", [](size_t n) { return nested("{\"\":", "0", "}", n); }, 22.3, 49.8},
    {"{\"\":{\"\": cut", [](size_t n) { return repeated("{\"\":", n); }, 0.1, 62.2},
    {"[{\"\":[{\"\":", [](size_t n) { return nested("[{\"\":", "0", "}]", n); }, 24.3, 60.3},
    {"[0,0", [](size_t n) { return list_of("0", n); }, 20.9, 29.1},
    {"[0e0,0e0", [](size_t n) { return list_of("0e0", n); }, 10.5, 14.6},
    {"[2^64,", [](size_t n) { return list_of("18446744073709551616", n); }, 2.5, 3.3},
    {"[null,", [](size_t n) { return list_of("null", n); }, 6.7, 10.0},
    {"[\"\",\"\",", [](size_t n) { return list_of("\"\"", n); }, 19.5, 24.9},
    {"[{},{}", [](size_t n) { return list_of("{}", n); }, 16.7, 22.2},
    {"[[],[]", [](size_t n) { return list_of("[]", n); }, 16.7, 22.2},
    {"[[0],[0]", [](size_t n) { return list_of("[0]", n); }, 23.1, 27.2},
    {"[[[]],", [](size_t n) { return list_of("[[]]", n); }, 20.1, 23.4},
    {"[{\"\":0},", [](size_t n) { return list_of("{\"\":0}", n); }, 22.7, 25.0},
    {"[{\"\":\"\"},", [](size_t n) { return list_of("{\"\":\"\"}", n); }, 22.0, 24.1},
    {"[{\"$ref\":\"\"},", [](size_t n) { return list_of("{\"$ref\":\"\"}", n); }, 15.5, 16.9},
    {"[[0 x65],", [](size_t n) { return list_of(list_of("0", 65), n / 65 + 1); }, 20.9, 20.9},
    {"[{a:0 x4},", [](size_t n) { return list_of(object_of("0", 4), n / 4 + 1); }, 16.4, 17.1},
    {"[{a:0 x7},", [](size_t n) { return list_of(object_of("0", 7), n / 7 + 1); }, 15.7, 16.1},
    {"[{a:0 x49},", [](size_t n) { return list_of(object_of("0", 49), n / 49 + 1); }, 15.1, 15.1},
    {"[{a:0 x97},", [](size_t n) { return list_of(object_of("0", 97), n / 97 + 1); }, 14.2, 14.2},
    {"{\"a\":0,\"b\":0", [](size_t n) { return object_of("0", n); }, 11.5, 12.9},
    {"{\"a\":{},\"b\":{}", [](size_t n) { return object_of("{}", n); }, 11.1, 12.3},
    {"colliding", [](size_t n) { return colliding_object(n); }, 7.3, 9.2},
    {"one key", [](size_t n) { return one_key("0", n); }, 0.1, 20.1},
    {"one key, {}", [](size_t n) { return one_key("{}", n); }, 0.1, 18.2},
    {"long key", [](size_t n) { return "{\"" + std::string(16 * n, 'k') + "\":0}"; }, 1.1, 5.2},
    {"keys of 500",
     [](size_t n) { return list_of("{\"" + std::string(500, 'k') + "\":0}", n / 25); }, 1.5, 1.5},
    {"long text", [](size_t n) { return "[\"" + std::string(16 * n, 't') + "\"]"; }, 1.1, 3.1},
    {"long text, escapes", [](size_t n) { return "[\"" + repeated("\\n", 16 * n) + "\"]"; }, 0.6,
     4.7},
    {"texts of 1000",
     [](size_t n) { return list_of("\"" + std::string(1000, 't') + "\"", n / 50); }, 1.2, 1.2},
    {"long number", [](size_t n) { return "[" + std::string(16 * n, '1') + "]"; }, 0.1, 3.1},
    {"blanks", [](size_t n) { return "[" + std::string(16 * n, ' ') + "]"; }, 0.1, 0.1},
};

struct Figures {
    double finished = 0;
    double peak = 0;
};

void measure(const std::string& text, i32 flags, FILE* stream, Figures* worst) {
    const long before = live_bytes();
    begin_peak();
    wiq_json_t* node = stream == nullptr ? wiq_json_loads(text.c_str(), flags, nullptr)
                                         : wiq_json_loadf(stream, flags, nullptr);
    const auto size = static_cast<double>(text.size());
    const auto ratio = [&](long bytes) {
        return (static_cast<double>(bytes - before) - kConstant) / size;
    };
    worst->peak = std::max(worst->peak, ratio(peak_bytes()));
    worst->finished = std::max(worst->finished, ratio(live_bytes()));
    wiq_json_unref(node);
    EXPECT_EQ(live_bytes(), before);
}

// Tables and lists double, so a count that is one more than they have room for costs the most.
TEST(ParserMemory, HeapPerByteOfText) {
    ScratchFile file;
    const bool show = getenv("KE_SHOW_MEMORY") != nullptr;
    for (const Shape& shape : kShapes) {
        Figures worst;
        for (const size_t count : {kPower * 3 / 4, kPower * 3 / 4 + 1, kPower, kPower + 1}) {
            const std::string text = shape.make(count);
            measure(text, 0, nullptr, &worst);
            measure(text, WIQ_JSON_REJECT_DUPLICATES, nullptr, &worst);
            measure(text, 0, file.with(text), &worst);
        }
        if (show)
            printf("%-16s finished %6.2f peak %6.2f\n", shape.name, worst.finished, worst.peak);
        EXPECT_LE(worst.finished, shape.finished) << shape.name;
        EXPECT_LE(worst.peak, shape.peak) << shape.name;
    }
}

#endif

}  // namespace
