// Edits of texts: bytes outside the edit are unchanged, and the result is that of the library's own edit.
// Also the examples of RFC 7396 and RFC 6902.
#include "json_edit.h"

#include <gtest/gtest.h>

#include <random>

#include "failure.h"
#include "json/json_text.h"
#include "json/tree.h"
#include "json_diff.h"
#include "json_equal.h"
#include "json_merge.h"
#include "json_patch.h"
#include "support/patch_examples.h"
#include "tools/process.h"

namespace {

using tree::parse;
using tree::Tree;

// Documents as people write them: all kinds of blanks and of numbers, and equal keys.
class Maker {
  public:
    explicit Maker(unsigned seed) : random_(seed) {}

    unsigned below(unsigned n) { return static_cast<unsigned>(random_()) % n; }

    std::string blanks() {
        static const char* const kBlanks[] = {"", "", "", " ", "\n  ", "\t", "\r\n"};
        return kBlanks[below(7)];
    }

    std::string value(int depth) {
        static const char* const kScalars[] = {"1",    "-0",   "0.1234567891234", "1e-7", "true",
                                               "null", "\"\"", "\"a\\u00e9\\n\"", "12E5", "false"};
        const unsigned kind = below(depth > 0 ? 4 : 2);
        if (kind < 2)
            return kScalars[below(10)];
        std::string text = kind == 2 ? "[" : "{";
        const unsigned count = below(5);
        for (unsigned i = 0; i < count; ++i) {
            text += (i == 0 ? "" : ",") + blanks();
            if (kind == 3)
                text += "\"" + std::string(1, static_cast<char>('a' + below(4))) + "\"" + blanks() +
                        ":" + blanks();
            text += value(depth - 1) + blanks();
        }
        return text + blanks() + (kind == 2 ? "]" : "}");
    }

    std::string pointer() {
        static const char* const kSteps[] = {"/a", "/b", "/c", "/d",  "/0",
                                             "/1", "/2", "/-", "/e~1"};
        std::string text;
        for (unsigned n = 1 + below(4); n > 0; --n)
            text += kSteps[below(9)];
        return text;
    }

  private:
    std::mt19937 random_;
};

// Returns how many bytes two texts have in common at their two ends, counting no byte twice.
size_t common_ends(const std::string& a, const std::string& b) {
    const size_t shorter = std::min(a.size(), b.size());
    size_t front = 0;
    while (front < shorter && a[front] == b[front])
        ++front;
    size_t back = 0;
    while (back < shorter - front && a[a.size() - 1 - back] == b[b.size() - 1 - back])
        ++back;
    return front + back;
}

TEST(JsonEdit, SetsWhatTheLibrarySetsAndNothingElse) {
    Maker maker(7);
    size_t done = 0;
    for (int round = 0; round < 20000; ++round) {
        const std::string before = maker.blanks() + maker.value(4) + maker.blanks();
        const std::string pointer = maker.pointer();
        const std::string value = maker.value(1);
        SCOPED_TRACE(before + " set " + pointer + " to " + value);
        const Tree tree = parse(before);
        wiq_json_t* node = wiq_json_loads(value.c_str(), 0, nullptr);
        ASSERT_NE(tree, nullptr);
        const i32 status = wiq_json_ptr_put(tree.get(), pointer.c_str(), node);
        if (status != 0)
            wiq_json_unref(node);
        const tool::Document document("text", before);
        try {
            const tool::Splices splices =
                tool::plan_set(document, tool::parse_pointer(pointer), value);
            ASSERT_EQ(status, 0);
            const std::string after = tool::spliced(before, splices);
            ASSERT_EQ(dumped(parse(after).get()), dumped(tree.get())) << after;
            ASSERT_EQ(splices.size(), 1u);
            const tool::Splice& splice = splices[0];
            EXPECT_GE(common_ends(before, after), before.size() - (splice.stop - splice.start));
            // Removed text is one value, or the blanks of an empty container.
            const std::string gone = before.substr(splice.start, splice.stop - splice.start);
            if (gone.find_first_not_of(" \t\r\n") != std::string::npos) {
                EXPECT_NE(parse(gone), nullptr) << gone;
            }
            ++done;
        } catch (const tool::Failure& failure) {
            ASSERT_NE(status, 0) << failure.message;
        }
    }
    EXPECT_GT(done, 3000u);
}

TEST(JsonEdit, RemovesWhatTheLibraryRemovesAndNothingElse) {
    Maker maker(8);
    size_t done = 0;
    for (int round = 0; round < 20000; ++round) {
        const std::string before = maker.value(4);
        const Tree tree = parse(before);
        const tool::Document document("text", before);
        // Usually an existing place.
        tool::NodeId chosen = maker.below(20);
        while (chosen >= document.end_of(document.root()))
            chosen /= 2;
        const std::string pointer =
            chosen == 0 || maker.below(4) == 0 ? maker.pointer() : document.pointer_of(chosen);
        SCOPED_TRACE(before + " remove " + pointer);
        const std::string outer = pointer.substr(0, pointer.rfind('/'));
        u32 err = 0;
        wiq_json_t* node = wiq_json_ptr_get(tree.get(), pointer.c_str(), &err, nullptr);
        try {
            const std::string after =
                tool::spliced(before, tool::plan_remove(document, tool::parse_pointer(pointer)));
            ASSERT_NE(node, nullptr);
            wiq_json_t* parent = wiq_json_ptr_get(tree.get(), outer.c_str(), &err, nullptr);
            if (const char* key = wiq_json_parent_key(node))
                wiq_json_obj_remove(parent, key);
            else
                wiq_json_array_filter(
                    parent, [](wiq_json_t* elem, void* gone) { return elem != gone; }, node);
            ASSERT_EQ(dumped(parse(after).get()), dumped(tree.get())) << after;
            ++done;
        } catch (const tool::Failure& failure) {
            ASSERT_EQ(node, nullptr) << failure.message;
        }
    }
    EXPECT_GT(done, 3000u);
}

// The results for texts in common layouts.
TEST(JsonEdit, TakesOnTheStyleAroundIt) {
    const struct {
        const char* before;
        const char* pointer;
        const char* value;
        const char* after;
    } kTable[] = {
        {"{\n    \"a\": 1\n}\n", "/b", "2", "{\n    \"a\": 1,\n    \"b\": 2\n}\n"},
        {"{\r\n\t\"a\" : 1\r\n}", "/b", "2", "{\r\n\t\"a\" : 1,\r\n\t\"b\" : 2\r\n}"},
        {"{\"a\":1,\"c\":2}", "/b", "3", "{\"a\":1,\"c\":2,\"b\":3}"},
        {"{\"a\": 1}", "/b", "2", "{\"a\": 1, \"b\": 2}"},
        {"[1, 2]", "/-", "3", "[1, 2, 3]"},
        {"[1,2]", "/2", "3", "[1,2,3]"},
        {"[\n  1\n]", "/-", "2", "[\n  1,\n  2\n]"},
        {"{\n  \"a\": {}\n}", "/a/b", "1", "{\n  \"a\": {\n    \"b\": 1\n  }\n}"},
        {"{\n  \"a\": 1\n}", "/b/c/0", "7",
         "{\n  \"a\": 1,\n  \"b\": {\n    \"c\": [\n      7\n    ]\n  }\n}"},
        {"{}", "/a", "1", "{\"a\": 1}"},
        {"{\"a\":1,\"a\":2}", "/a", "3", "{\"a\":1,\"a\":3}"},
        {" [1] ", "", "{}", " {} "},
        {"{\"\":1}", "/", "2", "{\"\":2}"},
        {"{\"a\":{\"\":1}}", "/a/", "2", "{\"a\":{\"\":2}}"},
    };
    for (const auto& row : kTable) {
        const tool::Document document("text", row.before);
        EXPECT_EQ(
            tool::spliced(row.before,
                          tool::plan_set(document, tool::parse_pointer(row.pointer), row.value)),
            row.after);
    }
}

std::string merged(const std::string& target, const std::string& patch) {
    tool::Input input{"target", "", target, tool::Encoding::utf8};
    return tool::apply_merge(input, tool::Document("patch", patch));
}

TEST(JsonMerge, ExamplesOfTheRfc) {
    for (const auto& [target, patch, result] : kMergeExamples)
        EXPECT_EQ(dumped(parse(merged(target, patch)).get()), dumped(parse(result).get()))
            << target << patch;
}

TEST(JsonMerge, KeepsTheOrderOfThePatch) {
    EXPECT_EQ(merged("{\"m\":0}", "{\"z\":1,\"a\":{\"y\":2,\"x\":null,\"b\":3}}"),
              "{\"m\":0,\"z\":1,\"a\":{\"y\":2,\"b\":3}}");
    // Keys with a common beginning, keys with escapes, and duplicate keys.
    EXPECT_EQ(merged("{\"longer key 1\":1,\"longer key 2\":2,\"\\u0061\":3,\"longer k\":4,\"a\":5}",
                     "{\"longer key 2\":null,\"longer k\":7,\"a\":null}"),
              "{\"longer key 1\":1,\"longer k\":7}");
}

TEST(JsonMerge, AddsAndRemovesInOneObject) {
    EXPECT_EQ(merged("{\n  \"a\": 1,\n  \"b\": 2\n}", "{\"a\":null,\"b\":null,\"c\":3}"),
              "{\n  \"c\": 3\n}");
    EXPECT_EQ(merged("{\"a\":1,\"b\":2,\"a\":3}", "{\"a\":null,\"d\":4}"), "{\"b\":2,\"d\":4}");
}

std::string patched(const std::string& text, const std::string& patch) {
    tool::Input input{"text", "", text, tool::Encoding::utf8};
    try {
        return tool::apply_patch(input, tool::Document("patch", patch));
    } catch (const tool::Failure&) {
        return "failure";
    }
}

TEST(JsonPatch, ExamplesOfTheRfc) {
    for (const auto& [target, patch, result] : kPatchExamples)
        EXPECT_EQ(patched(target, patch), result == nullptr ? "failure" : result)
            << target << patch;
}

// For a patch, an object that the library reads as a reference has members like any other.
TEST(JsonPatch, ReachesIntoReferences) {
    const std::string text = R"({"a":{"$ref":"#/b"},"b":1})";
    EXPECT_EQ(patched(text, R"([{"op":"replace","path":"/a/$ref","value":"#/c"}])"),
              R"({"a":{"$ref":"#/c"},"b":1})");
    EXPECT_EQ(patched(text, R"([{"op":"add","path":"/a/x","value":2}])"),
              R"({"a":{"$ref":"#/b","x":2},"b":1})");
    EXPECT_EQ(patched(text, R"([{"op":"remove","path":"/a/$ref"}])"), R"({"a":{},"b":1})");
    EXPECT_EQ(patched(text, R"([{"op":"test","path":"/a/$ref","value":"#/b"}])"), text);
}

// For any two documents, the patch that describes their difference turns one into the other.
TEST(JsonPatch, TurnsOneDocumentIntoTheOther) {
    Maker maker(9);
    const auto document = [&maker] {
        std::string text = maker.value(4);
        for (size_t at = 0; (at = text.find("\"d\"", at)) != std::string::npos;)
            text.replace(at, 3, "\"$ref\"");
        return text;
    };
    size_t different = 0;
    for (int round = 0; round < 20000; ++round) {
        const std::string a = document();
        const std::string b = document();
        SCOPED_TRACE(a + " to " + b);
        const tool::Document from("a", a);
        const tool::Document to("b", b);
        const std::string patch = tool::difference_patch(from, to);
        EXPECT_EQ(patch == "[]", tool::is_equal(from, 0, to, 0));
        const std::string after = patched(a, patch);
        ASSERT_NE(after, "failure") << patch;
        const tool::Document result("result", after);
        ASSERT_TRUE(tool::is_equal(result, 0, to, 0)) << patch << " gives " << after;
        different += patch == "[]" ? 0 : 1;
    }
    EXPECT_GT(different, 10000u);
}

TEST(JsonPatch, RefusesWhatItCannotDo) {
    for (const char* patch :
         {R"({"op":"remove","path":"/a"})", R"([{"op":"remove"}])",
          R"([{"op":"delete","path":"/a"}])", R"([{"op":"add","path":"/a"}])",
          R"([{"op":"add","path":"a","value":1}])", R"([{"op":"remove","path":"/none"}])",
          R"([{"op":"replace","path":"/none","value":1}])",
          R"([{"op":"add","path":"/l/3","value":1}])", R"([{"op":"add","path":"/l/01","value":1}])",
          R"([{"op":"add","path":"/l/x","value":1}])",
          R"([{"op":"move","from":"/o","path":"/o/p"}])",
          R"([{"op":"copy","from":"/none","path":"/b"}])"})
        EXPECT_EQ(patched(R"({"a":1,"l":[1,2],"o":{}})", patch), "failure") << patch;
    EXPECT_EQ(patched(R"({"a":1})", R"([{"op":"move","from":"/a","path":"/a"}])"), R"({"a":1})");
}

}  // namespace
