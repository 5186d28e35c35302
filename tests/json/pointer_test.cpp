// Tests of JSON pointers: reading and writing what they point to, and building them. Each has a table; then
// they are checked against each other on random trees.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "json/json_text.h"
#include "ke_utils/core.h"
#include "ke_utils/json.h"
#include "support/small_stack.h"

namespace {

// --- Reading -----------------------------------------------------------------------------------------

// Returns what a pointer points to, dumped; or "status prefix".
std::string got(wiq_json_t* root, const char* ptr) {
    u32 err = 0;
    char* prefix = nullptr;
    wiq_json_t* node = wiq_json_ptr_get(root, ptr, &err, &prefix);
    std::string result;
    if (node != nullptr) {
        EXPECT_EQ(err, 0u);
        EXPECT_EQ(prefix, nullptr);
        result = dumped(node);
    } else {
        result =
            std::to_string(static_cast<i32>(err)) + " " + (prefix == nullptr ? "NULL" : prefix);
    }
    free(prefix);
    return result;
}

TEST(PointerGet, TableOfRfc6901) {
    wiq_json_t* root = parsed(
        R"({"foo":["bar","baz"],"":0,"a/b":1,"c%d":2,"e^f":3,"g|h":4,"i\\j":5,"k\"l":6," ":7,"m~n":8})");
    EXPECT_EQ(got(root, ""), dumped(root));
    struct Row {
        const char *ptr, *value;
    };
    for (const Row& row :
         {Row{"/foo", R"(["bar","baz"])"}, Row{"/foo/0", R"("bar")"}, Row{"/", "0"},
          Row{"/a~1b", "1"}, Row{"/c%d", "2"}, Row{"/e^f", "3"}, Row{"/g|h", "4"},
          Row{"/i\\j", "5"}, Row{"/k\"l", "6"}, Row{"/ ", "7"}, Row{"/m~0n", "8"}}) {
        EXPECT_EQ(got(root, row.ptr), row.value) << row.ptr;
        EXPECT_EQ(got(root, (std::string("#") + row.ptr).c_str()), row.value) << "as a fragment";
    }
    EXPECT_EQ(got(root, "#"), dumped(root));
    EXPECT_EQ(got(root, "#/c%25d"), "-1037 #/c%25d") << "percent signs are not decoded";
    wiq_json_unref(root);
}

TEST(PointerGet, FailuresWithTheirPrefix) {
    wiq_json_t* root = parsed(
        R"({"a":{"b":[1,{"c":2}],"s":"text","":{"":9}},"r":{"$ref":"#/a"},"0":"zero","-":"dash"})");
    struct Row {
        const char *ptr, *expected;
    };
    for (const Row& row : {
             Row{"/a/b/1/c", "2"},
             Row{"/0", R"("zero")"},
             Row{"/-", R"("dash")"},
             Row{"/a/", R"({"":9})"},
             Row{"/a//", "9"},
             Row{"/x", "-1037 /x"},
             Row{"/x/y/z", "-1037 /x"},
             Row{"/a/x/y", "-1037 /a/x"},
             Row{"/a/b/2", "-1038 /a/b/2"},
             Row{"/a/b/2/c", "-1038 /a/b/2"},
             Row{"/a/b/-", "-1038 /a/b/-"},
             Row{"/a/b/-/x", "-1038 /a/b/-"},
             Row{"/a/b/x", "-7018 /a/b/x"},
             Row{"/a/b/", "-7018 /a/b/"},
             Row{"/a/b/-1", "-7018 /a/b/-1"},
             Row{"/a/s/x", "-7018 /a/s/x"},
             Row{"/r/b", "-7018 /r/b"},
             Row{"a", "-7019 a"},
             Row{"#a", "-7019 #a"},
             Row{"abc", "-7019 ab"},
             Row{"/a~2", "-1039 /a~2"},
             Row{"/a/~", "-1039 /a/~"},
             Row{"/a/b~x/c", "-1039 /a/b~x"},
             Row{"/~", "-1039 /~"},
         })
        EXPECT_EQ(got(root, row.ptr), row.expected) << row.ptr;
    wiq_json_unref(root);
}

TEST(PointerGet, Indexes) {
    wiq_json_t* root = wiq_json_array_new(0, nullptr);
    for (i64 i = 0; i < 20; ++i)
        wiq_json_array_push_i64(root, i, nullptr);
    struct Row {
        const char *ptr, *expected;
    };
    for (
        const Row& row : {
            Row{"/0", "0"},
            Row{"/19", "19"},
            Row{"/20", "-1038 /20"},
            Row{"/0x10", "16"},
            Row{"/010", "8"},
            Row{"/ 3", "3"},
            Row{"/+4", "4"},
            Row{"/4294967296", "0"},
            Row{"/4294967297", "1"},
            // the low 32 bits are an index of the array functions: above 2^31 it counts from the end
            Row{"/4294967295", "19"},
            Row{"/18446744073709551616", "-7018 /18446744073709551616"},
            Row{"/3 ", "-7018 /3 "},
            Row{"/1.0", "-7018 /1.0"},
            Row{"/-0", "-7018 /-0"},
        })
        EXPECT_EQ(got(root, row.ptr), row.expected) << row.ptr;
    wiq_json_unref(root);
}

TEST(PointerGet, Arguments) {
    wiq_json_t* root = parsed("[1]");
    u32 err = 5;
    char* prefix = nullptr;
    EXPECT_EQ(wiq_json_ptr_get(root, "/9", &err, &prefix), nullptr);
    EXPECT_EQ(err, 5u) << "an earlier failure is kept";
    EXPECT_EQ(prefix, nullptr);
    err = 0;
    EXPECT_EQ(wiq_json_ptr_get(nullptr, "/0", &err, &prefix), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(prefix, nullptr);
    err = 0;
    EXPECT_EQ(wiq_json_ptr_get(root, nullptr, &err, nullptr), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_ptr_get(root, "/x", nullptr, nullptr), nullptr);
    EXPECT_NE(wiq_json_ptr_get(root, "/0", nullptr, nullptr), nullptr);
    wiq_json_unref(root);
}

TEST(PointerGet, LongPointers) {
    // Longer than the buffer in which a pointer is decoded without allocating.
    const std::string key(1000, 'k');
    wiq_json_t* root = wiq_json_obj_new(0, nullptr);
    wiq_json_obj_put_i64(root, key.c_str(), 1, nullptr);
    EXPECT_EQ(got(root, ("/" + key).c_str()), "1");
    EXPECT_EQ(got(root, ("/" + key + "x").c_str()), "-1037 /" + key + "x");
    wiq_json_unref(root);
}

// --- Writing -----------------------------------------------------------------------------------------

TEST(PointerPut, Table) {
    struct Row {
        const char *before, *ptr;
        i32 status;
        const char* after;
    };
    for (const Row& row : {
             Row{"{}", "/a", 0, R"({"a":7})"},
             Row{"{}", "/a/b", 0, R"({"a":{"b":7}})"},
             Row{"{}", "/a/0/b", 0, R"({"a":[{"b":7}]})"},
             Row{"{}", "/a/-/b", 0, R"({"a":[{"b":7}]})"},
             Row{"{}", "/a/-", 0, R"({"a":[7]})"},
             Row{"{}", "/a/0/0/0", 0, R"({"a":[[[7]]]})"},
             Row{R"({"list":[1]})", "/list/-", 0, R"({"list":[1,7]})"},
             Row{R"({"list":[1]})", "/list/0", 0, R"({"list":[7]})"},
             Row{R"({"list":[1]})", "/list/1", 0, R"({"list":[1,7]})"},
             Row{R"({"list":[1]})", "/list/2", -1038, R"({"list":[1]})"},
             Row{R"({"list":[1]})", "/list/x", -7018, R"({"list":[1]})"},
             Row{R"({"list":[1]})", "/list/1/x", 0, R"({"list":[1,{"x":7}]})"},
             Row{R"({"a":1})", "/a", 0, R"({"a":7})"},
             Row{R"({"a":"text"})", "/a/b", -7018, R"({"a":"text"})"},
             Row{R"({"a":{"$ref":"#/b"}})", "/a/b", -7018, R"({"a":{"$ref":"#/b"}})"},
             Row{"{}", "/a~1b/m~0n", 0, R"({"a/b":{"m~n":7}})"},
             // an empty segment ends the pointer early
             Row{"{}", "/a//b", 0, R"({"a":{"a":7}})"},
             Row{"{}", "/a/", 0, R"({"a":{"a":7}})"},
             Row{R"({"a":{"x":1}})", "/a/", 0, R"({"a":{"a":7,"x":1}})"},
             Row{"{}", "/a/b/", 0, R"({"a":{"b":{"b":7}}})"},
             Row{"{}", "/", -7000, "{}"},
             Row{"{}", "//x", -7000, "{}"},
             Row{"[]", "/", -7018, "[]"},
             Row{"[]", "/-", 0, "[7]"},
             Row{"[]", "/0", 0, "[7]"},
             Row{"[]", "/0/0/1", -1038, "[[[]]]"},  // containers that were added on the way remain
             Row{"[]", "/1/x", -1038, "[]"},
             Row{"{}", "/0", 0, R"({"0":7})"},
             Row{"{}", "/-", 0, R"({"-":7})"},
             Row{"1", "/a", -7018, "1"},
             Row{"1", "/", -7018, "1"},
             Row{"\"text\"", "//", -7018, "\"text\""},
             Row{"[]", "//0", -7018, "[]"},
             // the empty pointer cannot be written to, whatever the root is
             Row{"[1]", "", -7000, "[1]"},
             Row{"1", "", -7000, "1"},
             Row{"null", "", -7000, "null"},
             Row{R"({"$ref":"#"})", "", -7000, R"({"$ref":"#"})"},
             Row{"{}", "a", -7019, "{}"},
             Row{"{}", "#/a", -7019, "{}"},
             Row{"{}", "/a~", -1039, "{}"},
             Row{"{}", "/a/b~2/c", -1039, "{}"},
             Row{"{}", "/a/x/b~2", -1039, R"({"a":{}})"},
             Row{"{}", "", -7000, "{}"},
         }) {
        SCOPED_TRACE(std::string(row.before) + " " + row.ptr);
        wiq_json_t* root = parsed(row.before);
        wiq_json_t* value = wiq_json_i64_new(7, nullptr);
        EXPECT_EQ(wiq_json_ptr_put(root, row.ptr, value), row.status);
        EXPECT_EQ(dumped(root), row.after);
        if (row.status != 0)
            wiq_json_unref(value);  // still the caller's
        wiq_json_unref(root);
    }
}

TEST(PointerPut, Arguments) {
    wiq_json_t* root = parsed("{}");
    wiq_json_t* value = wiq_json_i64_new(7, nullptr);
    EXPECT_EQ(wiq_json_ptr_put(nullptr, "/a", value), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_ptr_put(root, nullptr, value), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_ptr_put(root, "/a", nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_ptr_put(root, "/new/b", nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_FALSE(wiq_json_obj_has_key(root, "new")) << "nothing is made on the way";
    wiq_json_unref(value);
    wiq_json_unref(root);
}

TEST(PointerPut, TypedFormsAlwaysRunAndReportTheirOwnStatus) {
    wiq_json_t* root = parsed("{}");
    const wiq_uint128 big = {0, 1};
    u32 err = static_cast<u32>(-1037);
    EXPECT_NE(wiq_json_ptr_put_obj(root, "/o", &err), nullptr);
    EXPECT_EQ(err, 0u) << "an earlier failure is overwritten";
    EXPECT_NE(wiq_json_ptr_put_array(root, "/a", nullptr), nullptr);
    EXPECT_NE(wiq_json_ptr_put_bool(root, "/t", true, &err), nullptr);
    EXPECT_NE(wiq_json_ptr_put_double(root, "/d", 1.5, &err), nullptr);
    EXPECT_NE(wiq_json_ptr_put_i64(root, "/i", -1, &err), nullptr);
    EXPECT_NE(wiq_json_ptr_put_u64(root, "/u", UINT64_MAX, &err), nullptr);
    EXPECT_NE(wiq_json_ptr_put_u128(root, "/b", &big, &err), nullptr);
    EXPECT_NE(wiq_json_ptr_put_str(root, "/s", "text", &err), nullptr);
    EXPECT_NE(wiq_json_ptr_put_jref(root, "/r", "#/a", &err), nullptr);
    EXPECT_EQ(err, 0u);
    EXPECT_EQ(dumped(root), R"({"a":[],"b":18446744073709551616,"d":1.500000,"i":-1,"o":{},)"
                            R"("r":{"$ref":"#/a"},"s":"text","t":true,"u":18446744073709551615})");
    EXPECT_EQ(wiq_json_ptr_put_obj(root, "x", &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_PTR_SYNTAX);
    EXPECT_EQ(wiq_json_ptr_put_array(root, "/a/5", &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(wiq_json_ptr_put_str(root, "/s", nullptr, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_ptr_put_jref(root, "/s", nullptr, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_ptr_put_bool(nullptr, "/s", true, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
    EXPECT_NE(wiq_json_ptr_put_i64(root, "/o/new", 1, nullptr), nullptr);
    wiq_json_unref(root);
}

// --- Naming ------------------------------------------------------------------------------------------

std::string named(const wiq_json_t* node) {
    char* text = nullptr;
    const i32 length = wiq_json_ptr(node, &text);
    EXPECT_GE(length, 0);
    std::string result = text == nullptr ? "(null)" : text;
    EXPECT_EQ(result.size(), static_cast<size_t>(length));
    free(text);
    return result;
}

TEST(PointerBuild, Names) {
    wiq_json_t* root = parsed(R"({"a/b":[1,{"m~n":2}],"":{"":3}})");
    EXPECT_EQ(named(root), "");
    EXPECT_EQ(named(wiq_json_obj_get_array(root, "a/b", nullptr)), "/a~1b");
    EXPECT_EQ(named(wiq_json_ptr_get(root, "/a~1b/1/m~0n", nullptr, nullptr)), "/a~1b/1/m~0n");
    EXPECT_EQ(named(wiq_json_ptr_get(root, "//", nullptr, nullptr)), "//");
    char* text = nullptr;
    EXPECT_EQ(wiq_json_ptr(nullptr, &text), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_ptr(root, nullptr), WIQ_ERR_INVALID_ARG);
    wiq_json_unref(root);
}

TEST(PointerBuild, AppendsToABuffer) {
    wiq_json_t* root = parsed(R"({"list":[1,2],"o":{"p":{}}})");
    wiq_json_t* list = wiq_json_obj_get_array(root, "list", nullptr);
    wiq_json_t* inner = wiq_json_ptr_get(root, "/o/p", nullptr, nullptr);
    wiq_strbuf buf;
    ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
    wiq_strbuf_write(&buf, "#", 1);
    EXPECT_EQ(wiq_json_ptr_ext(inner, &buf), 0);
    EXPECT_STREQ(buf.data, "#/o/p");
    EXPECT_EQ(wiq_json_ptr_ext(root, &buf), 0);
    EXPECT_STREQ(buf.data, "#/o/p");
    wiq_strbuf_reset(&buf);
    EXPECT_EQ(wiq_json_ptr_build_obj_ext(root, "x/y", &buf), 0);
    EXPECT_STREQ(buf.data, "/x/y") << "the last key is not escaped";
    wiq_strbuf_reset(&buf);
    EXPECT_EQ(wiq_json_ptr_build_obj_ext(inner, "", &buf), 0);
    EXPECT_STREQ(buf.data, "/o/p/");
    wiq_strbuf_reset(&buf);
    EXPECT_EQ(wiq_json_ptr_build_array_ext(list, &buf), 0);
    EXPECT_STREQ(buf.data, "/list/2");
    EXPECT_EQ(buf.len, strlen(buf.data));
    for (const wiq_json_t* wrong : {static_cast<wiq_json_t*>(nullptr), list})
        EXPECT_EQ(wiq_json_ptr_build_obj_ext(wrong, "k", &buf), WIQ_ERR_INVALID_ARG);
    for (const wiq_json_t* wrong : {static_cast<wiq_json_t*>(nullptr), root})
        EXPECT_EQ(wiq_json_ptr_build_array_ext(wrong, &buf), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_ptr_build_obj_ext(root, "k", nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_ptr_build_obj_ext(root, nullptr, &buf), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_ptr_build_array_ext(list, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_ptr_ext(nullptr, &buf), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_ptr_ext(root, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_STREQ(buf.data, "/list/2");
    wiq_strbuf_finalize(&buf);
    wiq_json_unref(root);
}

TEST(PointerBuild, EveryNodeOfARandomTreeIsFoundByItsName) {
    std::mt19937 random(3);
    static const char* const kKeys[] = {"a", "b/c", "d~e", "~1", "", "0", "-", " 1", "/"};
    for (int round = 0; round < 200; ++round) {
        wiq_json_t* root =
            round % 2 == 0 ? wiq_json_obj_new(0, nullptr) : wiq_json_array_new(0, nullptr);
        std::vector<wiq_json_t*> nodes = {root};
        for (int i = 0; i < 40; ++i) {
            wiq_json_t* parent = nodes[random() % nodes.size()];
            const char* key = kKeys[random() % std::size(kKeys)];
            wiq_json_t* child = nullptr;
            if (wiq_json_is_array(parent))
                child = random() % 2 == 0 ? wiq_json_array_push_obj(parent, nullptr)
                                          : wiq_json_array_push_array(parent, nullptr);
            else if (!wiq_json_obj_has_key(parent, key))
                child = random() % 2 == 0 ? wiq_json_obj_put_obj(parent, key, nullptr)
                                          : wiq_json_obj_put_array(parent, key, nullptr);
            if (child != nullptr)
                nodes.push_back(child);
        }
        for (wiq_json_t* node : nodes)
            EXPECT_EQ(wiq_json_ptr_get(root, named(node).c_str(), nullptr, nullptr), node)
                << named(node);
        wiq_json_unref(root);
    }
}

TEST(PointerDeep, AMillionLevels) {
    constexpr size_t kLevels = 1000000;
    std::string text;
    for (size_t i = 0; i < kLevels; ++i)
        text += "[";
    text += std::string(kLevels, ']');
    run_on_small_stack([&] {
        wiq_json_t* root = parsed(text);
        wiq_json_t* innermost = root;
        std::string expected;
        while (wiq_json_array_size(innermost) > 0) {
            innermost = wiq_json_array_get_ext(innermost, 0, 0, nullptr);
            expected += "/0";
        }
        EXPECT_TRUE(named(innermost) == expected);
        EXPECT_EQ(wiq_json_ptr_get(root, expected.c_str(), nullptr, nullptr), innermost);
        wiq_json_unref(root);
    });
}

}  // namespace
