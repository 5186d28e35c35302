// Documents of a million nested levels, read and released on a stack of 256 KiB: complete ones, ones that
// break off at the deepest point, and ones that fail on the way out. The first two tests show that depth uses
// no stack, so the others have fewer levels: one for each byte of the stack.
#include "json/parser_support.h"
#include "support/small_stack.h"

namespace {

constexpr i32 kMillion = 1000000;
constexpr i32 kLevels = kSmallStack;

std::string repeat(const char* text, i32 count) {
    std::string out;
    out.reserve(strlen(text) * static_cast<size_t>(count));
    for (i32 i = 0; i < count; ++i)
        out += text;
    return out;
}

// Returns the number of levels, following the only children down.
i32 depth_of(wiq_json_t* node) {
    i32 depth = 0;
    for (;; ++depth) {
        wiq_json_t* child = nullptr;
        if (wiq_json_is_array(node))
            child = wiq_json_array_get_ext(node, 0, 0, nullptr);
        else if (wiq_json_is_obj(node))
            child = wiq_json_obj_get_ext(node, "a", 0, nullptr);
        if (child == nullptr)
            return depth;
        node = child;
    }
}

// Reads the text from both sources; 0 levels means that there is no tree.
void load_deep(const std::string& text, i32 expected_depth, i32 status, i32 position) {
    ScratchFile file;
    FILE* stream = file.with(text);
    ASSERT_NE(stream, nullptr);
    run_on_small_stack([&] {
        for (bool from_stream : {false, true}) {
            wiq_json_load_error error = kStaleError;
            wiq_json_t* node = from_stream ? wiq_json_loadf(stream, 0, &error)
                                           : wiq_json_loads(text.c_str(), 0, &error);
            EXPECT_EQ(error.status, status);
            EXPECT_EQ(error.position, position);
            EXPECT_EQ(node == nullptr ? 0 : depth_of(node), expected_depth);
            wiq_json_unref(node);
        }
    });
}

TEST(ParserDeep, Arrays) {
    load_deep(repeat("[", kMillion) + repeat("]", kMillion), kMillion - 1, 0, 2 * kMillion);
}

TEST(ParserDeep, Objects) {
    load_deep(repeat("{\"a\":", kMillion) + "1" + repeat("}", kMillion), kMillion, 0,
              6 * kMillion + 1);
}

TEST(ParserDeep, Mixed) {
    load_deep(repeat("[{\"a\":", kLevels / 2) + "null" + repeat("}]", kLevels / 2), kLevels, 0,
              4 * kLevels + 4);
}

TEST(ParserDeep, References) {
    // The innermost object becomes a reference; the one around it, whose only member it is, does not.
    load_deep(repeat("{\"a\":", kLevels) + "{\"$ref\":\"#\"}" + repeat("}", kLevels), kLevels, 0,
              6 * kLevels + 12);
    load_deep(repeat("{\"$ref\":", kLevels) + "\"#\"" + repeat("}", kLevels), 0, 0,
              9 * kLevels + 3);
}

TEST(ParserDeep, BrokenOff) {
    load_deep(repeat("[", kLevels), 0, WIQ_ERR_JSON_UNEXPECTED_END, kLevels);
    load_deep(repeat("{\"a\":", kLevels), 0, WIQ_ERR_JSON_UNEXPECTED_TOKEN, 5 * kLevels);
    load_deep(repeat("[{\"a\":", kLevels / 2) + "x", 0, WIQ_ERR_JSON_BAD_TOKEN, 3 * kLevels + 1);
}

TEST(ParserDeep, FailedOnTheWayOut) {
    load_deep(repeat("[", kLevels) + repeat("]", kLevels - 1) + "}", 0,
              WIQ_ERR_JSON_UNEXPECTED_TOKEN, 2 * kLevels);
    load_deep(repeat("[", kLevels) + repeat("]", kLevels) + "]", 0, WIQ_ERR_JSON_TRAILING_DATA,
              2 * kLevels + 1);
}

// Each member of the outermost object replaces a deep one.
TEST(ParserDeep, ReplacedMember) {
    const std::string deep = "\"a\":" + repeat("[", kLevels / 2) + repeat("]", kLevels / 2);
    load_deep("{" + deep + "," + deep + ",\"a\":1}", 1, 0, 2 * kLevels + 17);
}

}  // namespace
