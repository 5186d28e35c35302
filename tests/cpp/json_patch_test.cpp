// Tests of merge patch and patch: the examples of their RFCs, and failures that change nothing.
#include "parsed.h"
#include "support/patch_examples.h"

namespace {

using namespace ke::literals;
using ke::json;

TEST(CppMergePatch, ExamplesOfTheRfc) {
    for (const PatchExample& example : kMergeExamples) {
        json target = parsed(example.target);
        EXPECT_EQ(ke::merge_patch(target, parsed(example.patch)), 0) << example.patch;
        EXPECT_EQ(text_of(target), text_of(parsed(example.result)))
            << example.target << " with " << example.patch;
    }
}

TEST(CppMergePatch, PartsAndDepth) {
    json root = parsed(R"({"a":{"x":1},"b":{"x":null,"y":2}})");
    json a = root["a"];
    EXPECT_EQ(ke::merge_patch(a, root["b"]), 0);
    EXPECT_EQ(text_of(root), R"({"a":{"y":2},"b":{"x":null,"y":2}})");
    json b = root["b"];
    EXPECT_EQ(ke::merge_patch(b, parsed("[1]")), 0);
    EXPECT_EQ(text_of(root), R"({"a":{"y":2},"b":[1]})") << "in its place";
    EXPECT_EQ(b.node(), root["b"].node());
    EXPECT_EQ(ke::merge_patch(root, root), 0) << "the patch may be the document";
    json nothing;
    EXPECT_EQ(ke::merge_patch(nothing, root), ke::err_empty);
    EXPECT_EQ(ke::merge_patch(root, nothing), ke::err_empty);

    std::string deep;
    for (int i = 0; i < 100000; ++i)
        deep += "{\"a\":";
    deep += "1" + std::string(100000, '}');
    json target = json::object();
    EXPECT_EQ(ke::merge_patch(target, parsed(deep.c_str())), 0);
    EXPECT_EQ(target.dump().value(), deep);
}

TEST(CppPatch, ExamplesOfTheRfc) {
    for (const auto& [before, patch, result] : kPatchExamples) {
        json target = parsed(before);
        EXPECT_EQ(ke::apply_patch(target, parsed(patch)) == 0, result != nullptr) << patch;
        EXPECT_EQ(text_of(target), text_of(parsed(result == nullptr ? before : result))) << patch;
    }
}

TEST(CppPatch, CopiesAndRoots) {
    const struct {
        const char *target, *patch, *patched;
    } rows[] = {
        {R"({"a~b":{"c/d":1}})", R"([{"op":"copy","from":"/a~0b/c~1d","path":"/a~0b/x"}])",
         R"({"a~b":{"c/d":1,"x":1}})"},
        {R"({"a":1})", R"([{"op":"replace","path":"","value":[1]}])", R"([1])"},
        {R"({"a":[1]})", R"([{"op":"move","from":"/a","path":""}])", R"([1])"},
        {R"({"a":1})", R"([{"op":"remove","path":"/a"},{"op":"add","path":"/a","value":null}])",
         R"({"a":null})"},
    };
    for (const auto& row : rows) {
        json target = parsed(row.target);
        EXPECT_EQ(ke::apply_patch(target, parsed(row.patch)), 0) << row.patch;
        EXPECT_EQ(text_of(target), row.patched) << row.patch;
    }
}

TEST(CppPatch, AFailureChangesNothing) {
    const struct {
        const char* patch;
        ke::i32 status;
    } rows[] = {
        {R"([{"op":"remove","path":"/none"}])", WIQ_ERR_KEY_NOT_FOUND},
        {R"([{"op":"add","path":"/l/3","value":1}])", WIQ_ERR_INDEX_OUT_OF_RANGE},
        {R"([{"op":"add","path":"/l/01","value":1}])", WIQ_ERR_INDEX_OUT_OF_RANGE},
        {R"([{"op":"add","path":"/none/x","value":1}])", WIQ_ERR_KEY_NOT_FOUND},
        {R"([{"op":"add","path":"/n/x","value":1}])", WIQ_ERR_WRONG_TYPE},
        {R"([{"op":"add","path":"n","value":1}])", WIQ_ERR_PTR_SYNTAX},
        {R"([{"op":"add","path":"/x"}])", WIQ_ERR_KEY_NOT_FOUND},
        {R"([{"op":"replace","path":"/x","value":1}])", WIQ_ERR_KEY_NOT_FOUND},
        {R"([{"op":"test","path":"/n","value":2}])", WIQ_ERR_INVALID_VALUE},
        {R"([{"op":"other","path":"/n","value":2}])", WIQ_ERR_INVALID_ARG},
        {R"([{"op":"other","path":"/n"}])", WIQ_ERR_INVALID_ARG},
        {R"([{"op":"","value":1}])", WIQ_ERR_INVALID_ARG},
        {R"([{"op":"move","from":"/o","path":"/o/in"}])", WIQ_ERR_INVALID_ARG},
        {R"([{"path":"/n"}])", WIQ_ERR_KEY_NOT_FOUND},
        {R"([{"op":"remove"}])", WIQ_ERR_KEY_NOT_FOUND},
        {R"([{"op":"remove","path":1}])", WIQ_ERR_WRONG_TYPE},
        {R"([7])", WIQ_ERR_INVALID_ARG},
        {R"({})", WIQ_ERR_WRONG_TYPE},
        {R"([{"op":"remove","path":"/n"},{"op":"remove","path":"/n"}])", WIQ_ERR_KEY_NOT_FOUND},
    };
    json target = parsed(R"({"l":[1,2],"n":1,"o":{}})");
    for (const auto& row : rows) {
        EXPECT_EQ(ke::apply_patch(target, parsed(row.patch)), row.status) << row.patch;
        EXPECT_EQ(text_of(target), R"({"l":[1,2],"n":1,"o":{}})") << row.patch;
    }
    json nothing;
    EXPECT_EQ(ke::apply_patch(nothing, target), ke::err_empty);
    EXPECT_EQ(ke::apply_patch(target, nothing), ke::err_empty);
}

TEST(CppPatch, PatchesAPartInPlace) {
    json root = parsed(R"({"a":{"x":1}})");
    json a = root["a"];
    EXPECT_EQ(ke::apply_patch(a, parsed(R"([{"op":"add","path":"/y","value":2}])")), 0);
    EXPECT_EQ(text_of(root), R"({"a":{"x":1,"y":2}})");
    EXPECT_EQ(a.node(), root["a"].node());
}

}  // namespace
