// The parser's functions: their arguments and error records, what they leave in a stream, large and long
// documents, and how the parts of a document are connected. Single texts are in parser_accept_test.cpp and
// parser_reject_test.cpp.
#include "json/parser_support.h"

namespace {

TEST(Parser, NoSource) {
    for (i32 flags : {0, 1, 2, 3}) {
        wiq_json_load_error error = kStaleError;
        EXPECT_EQ(wiq_json_loads(nullptr, flags, &error), nullptr);
        EXPECT_EQ(outcome_of(nullptr, error, MemberOrder::kMap),
                  (LoadOutcome{"", {WIQ_ERR_INVALID_ARG, 1, 0, 0}}));
        error = kStaleError;
        EXPECT_EQ(wiq_json_loadf(nullptr, flags, &error), nullptr);
        EXPECT_EQ(outcome_of(nullptr, error, MemberOrder::kMap),
                  (LoadOutcome{"", {WIQ_ERR_INVALID_ARG, 1, 0, 0}}));
    }
    EXPECT_EQ(wiq_json_loads(nullptr, 0, nullptr), nullptr);
    EXPECT_EQ(wiq_json_loadf(nullptr, 0, nullptr), nullptr);
}

TEST(Parser, NoErrorRecord) {
    wiq_json_t* node = wiq_json_loads("[1]", 0, nullptr);
    EXPECT_EQ(describe(node), "[1]");
    wiq_json_unref(node);
    EXPECT_EQ(wiq_json_loads("[1", 0, nullptr), nullptr);

    ScratchFile file;
    node = wiq_json_loadf(file.with("{\"a\":2}"), 0, nullptr);
    EXPECT_EQ(describe(node), "{\"a\":2}");
    wiq_json_unref(node);
    EXPECT_EQ(wiq_json_loadf(file.with("x"), 0, nullptr), nullptr);
}

// An old failure in the record neither prevents a load nor survives it.
TEST(Parser, RecordIsReset) {
    wiq_json_load_error error = {WIQ_ERR_NO_MEMORY, 7, 8, 9};
    wiq_json_t* node = wiq_json_loads("\n\n 1", 0, &error);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(error.status, 0);
    EXPECT_EQ(error.line, 1);
    EXPECT_EQ(error.column, 0);
    EXPECT_EQ(error.position, 4);
    wiq_json_unref(node);
}

// As with every constructor, the caller owns one reference: releasing it frees the tree.
TEST(Parser, TreeHasNoParent) {
    wiq_json_t* node =
        wiq_json_loads("{\"a\":{\"$ref\":\"#\"},\"b\":[{\"$ref\":\"#\"}]}", 0, nullptr);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(wiq_json_parent_key(node), nullptr);
    EXPECT_EQ(wiq_json_parent_index(node), -1);
    // An object that became a reference has its position in the tree, and can be resolved from there.
    wiq_json_t* ref = wiq_json_obj_get_ext(node, "a", 0, nullptr);
    ASSERT_TRUE(wiq_json_is_jref(ref));
    EXPECT_STREQ(wiq_json_parent_key(ref), "a");
    EXPECT_EQ(wiq_json_jref_resolve(ref, nullptr), node);
    wiq_json_t* elem =
        wiq_json_array_get_ext(wiq_json_obj_get_array(node, "b", nullptr), 0, 0, nullptr);
    EXPECT_EQ(wiq_json_parent_index(elem), 0);
    EXPECT_EQ(wiq_json_jref_resolve(elem, nullptr), node);
    // Like any other child, it can be removed from the tree while someone holds a reference to it.
    wiq_json_ref(ref);
    EXPECT_EQ(wiq_json_obj_remove(node, "a"), 0);
    EXPECT_STREQ(wiq_json_jref_uri(ref), "#");
    wiq_json_unref(ref);
    EXPECT_EQ(wiq_json_array_pop(wiq_json_obj_get_array(node, "b", nullptr), 1), 0);
    EXPECT_EQ(describe(node), "{\"b\":[]}");

    wiq_json_t* parent = wiq_json_array_new(0, nullptr);
    EXPECT_EQ(wiq_json_array_push_ext(parent, node, nullptr), 0);
    wiq_json_unref(parent);
}

TEST(Parser, TextEndsAtNul) {
    EXPECT_EQ(load_string(std::string("1\0 2", 4), 0), (LoadOutcome{"1", {0, 1, 0, 1}}));
    EXPECT_EQ(load_string(std::string("[1\0]", 4), 0),
              (LoadOutcome{"", {WIQ_ERR_JSON_UNEXPECTED_END, 1, 2, 2}}));
}

// In a stream, a NUL is an ordinary character with which no token begins. After a number or a word, it is
// read to find the end of the token, and cannot be pushed back.
TEST(Parser, NulInStream) {
    ScratchFile file;
    const auto load = [&](std::string content, i32 flags) {
        std::replace(content.begin(), content.end(), '@', '\0');
        return file.load(content, flags);
    };
    EXPECT_EQ(load("@", 0), (LoadOutcome{"", {WIQ_ERR_JSON_BAD_TOKEN, 1, 1, 1}}));
    EXPECT_EQ(load("[@]", 0), (LoadOutcome{"", {WIQ_ERR_JSON_BAD_TOKEN, 1, 2, 2}}));
    EXPECT_EQ(load("\"@\"", 0), (LoadOutcome{"", {WIQ_ERR_JSON_CONTROL_CHAR, 1, 2, 2}}));
    EXPECT_EQ(load("1@", 0), (LoadOutcome{"1", {0, 1, 0, 2}}));
    EXPECT_EQ(load("[true@,1@,2@]", 0), (LoadOutcome{"[true,1,2]", {0, 1, 0, 13}}));
    EXPECT_EQ(load("tr@ue", 0), (LoadOutcome{"", {WIQ_ERR_JSON_BAD_TOKEN, 1, 3, 3}}));
    EXPECT_EQ(load("\"a\"@", 0), (LoadOutcome{"", {WIQ_ERR_JSON_TRAILING_DATA, 1, 4, 4}}));
}

// What a load leaves in the stream: after a bracket or a quote, all remaining bytes; after a number or a
// word, all but one.
TEST(Parser, StreamIsReadNoFurtherThanNeeded) {
    struct Row {
        const char* content;
        i32 flags;
        size_t consumed;
    };
    constexpr Row kRows[] = {
        {"[1] [2]", WIQ_JSON_ALLOW_TRAILING, 3},
        {"{}\n{}", WIQ_JSON_ALLOW_TRAILING, 2},
        {"\"a\"\"b\"", WIQ_JSON_ALLOW_TRAILING, 3},
        {"1 2", WIQ_JSON_ALLOW_TRAILING, 2},
        {"12", WIQ_JSON_ALLOW_TRAILING, 2},
        {"true[", WIQ_JSON_ALLOW_TRAILING, 5},
        {"1\xE2\x82\xAC 2", WIQ_JSON_ALLOW_TRAILING, 4},
        {"1\xE2xy 2", WIQ_JSON_ALLOW_TRAILING, 4},
        {"1\xFFxy", WIQ_JSON_ALLOW_TRAILING, 2},
        {"[1] [2]", 0, 5},
        {"1 2 3", 0, 4},
        {"[1]  ", 0, 5},
        {"[x] [2]", 0, 3},
        {"[*] [2]", 0, 2},
        {"{\"a\" 1, 2}", 0, 7},
    };
    ScratchFile file;
    for (const Row& row : kRows)
        EXPECT_EQ(file.load(row.content, row.flags).consumed, row.consumed) << row.content;
}

TEST(Parser, SuccessiveValuesFromStream) {
    ScratchFile file;
    FILE* stream = file.with("{\"a\":1}\n[2] \"x\"\ttrue 17 {\"$ref\":\"#\"}");
    std::string seen;
    wiq_json_load_error error = {};
    for (;;) {
        wiq_json_t* node = wiq_json_loadf(stream, WIQ_JSON_ALLOW_TRAILING, &error);
        if (node == nullptr)
            break;
        seen += describe(node) + " ";
        wiq_json_unref(node);
    }
    EXPECT_EQ(seen, "{\"a\":1} [2] \"x\" true 17 ref:\"#\" ");
    EXPECT_EQ(error.status, WIQ_ERR_JSON_UNEXPECTED_TOKEN);
    EXPECT_EQ(error.position, 0);
}

TEST(Parser, StreamIsReadFromItsPosition) {
    ScratchFile file;
    FILE* stream = file.with("header [1,2]");
    ASSERT_EQ(fseek(stream, 7, SEEK_SET), 0);
    wiq_json_load_error error = kStaleError;
    wiq_json_t* node = wiq_json_loadf(stream, 0, &error);
    EXPECT_EQ(outcome_of(node, error, MemberOrder::kMap), (LoadOutcome{"[1,2]", {0, 1, 0, 5}}));
}

// Reading from a stream that is open only for writing fails, which ends the input.
TEST(Parser, ReadErrorEndsTheInput) {
    std::string name = testing::TempDir() + "ke_parser_XXXXXX";
    FILE* stream = wiq_mkstemp(name.data(), nullptr, "wb");
    ASSERT_NE(stream, nullptr);
    wiq_json_load_error error = kStaleError;
    EXPECT_EQ(wiq_json_loadf(stream, 0, &error), nullptr);
    EXPECT_EQ(outcome_of(nullptr, error, MemberOrder::kMap),
              (LoadOutcome{"", {WIQ_ERR_JSON_UNEXPECTED_TOKEN, 1, 0, 0}}));
    fclose(stream);
    remove(name.c_str());
}

// The lengths of strings, keys and numbers pass every size of the internal buffers. The last byte of a string
// is found at every distance from the points where the search for it restarts.
TEST(Parser, LongTokens) {
    ScratchFile file;
    for (size_t length : std::initializer_list<size_t>{
             1,   15,  16,  17,  63,  64,   65,   126,   127,   128,   129,   255,
             256, 257, 383, 384, 385, 1000, 4096, 16255, 16384, 40000, 300000}) {
        const std::string run(length, 'x');
        const std::string plain = "[\"" + run + "\",{\"" + run + "\":\"" + run + "\\n\"}]";
        const std::string tree = "[\"" + run + "\",{\"" + run + "\":\"" + run + "\\x0A\"}]";
        EXPECT_EQ(load_string(plain, 0).tree, tree) << length;
        EXPECT_EQ(file.load(plain, 0).tree, tree) << length;
        const i32 end = static_cast<i32>(length) + 1;
        EXPECT_EQ(load_string("\"" + run, 0),
                  (LoadOutcome{"", {WIQ_ERR_JSON_UNEXPECTED_END, 1, end, end}}));
        EXPECT_EQ(load_string("\"" + run + "\x80", 0),
                  (LoadOutcome{"", {WIQ_ERR_JSON_BAD_UTF8, 1, end, end}}));
        const std::string digits(length, '0');
        EXPECT_EQ(load_string("0." + digits + "1e" + digits + "0", 0).error.status, 0) << length;
        EXPECT_EQ(file.load("[0." + digits + "1]", 0).error.status, 0) << length;
    }
}

TEST(Parser, ManyLines) {
    std::string text = "[";
    for (int i = 0; i < 5000; ++i)
        text += "\n  " + std::to_string(i) + ",";
    ScratchFile file;
    const i32 size = static_cast<i32>(text.size()) + 2;
    const LoadOutcome expected = {"", {WIQ_ERR_JSON_BAD_TOKEN, 5002, 1, size}};
    EXPECT_EQ(load_string(text + "\n?", 0), expected);
    EXPECT_EQ(file.load(text + "\n?", 0), expected);
}

TEST(Parser, ManyMembersAndElements) {
    constexpr int kCount = 20000;
    std::string text = "{\"list\":[";
    for (int i = 0; i < kCount; ++i)
        text += (i == 0 ? "" : ",") + std::to_string(i);
    text += "]";
    for (int i = 0; i < kCount; ++i)
        text += ",\"key " + std::to_string(i) + "\":" + std::to_string(i);
    text += "}";
    wiq_json_t* node = wiq_json_loads(text.c_str(), WIQ_JSON_REJECT_DUPLICATES, nullptr);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(wiq_json_obj_size(node), kCount + 1);
    wiq_json_t* list = wiq_json_obj_get_array(node, "list", nullptr);
    EXPECT_EQ(wiq_json_array_size(list), kCount);
    for (int i = 0; i < kCount; i += 97) {
        u32 err = 0;
        EXPECT_EQ(wiq_json_obj_get_i64(node, ("key " + std::to_string(i)).c_str(), &err), i);
        EXPECT_EQ(wiq_json_i64_get(wiq_json_array_get_ext(list, i, 0, &err)), i);
        EXPECT_EQ(err, 0u);
    }
    wiq_json_unref(node);
}

// Reading the values of a long text one by one takes time proportional to the length of the text.
TEST(Parser, SuccessiveValuesFromString) {
    constexpr int kCount = 200000;
    std::string text;
    for (int i = 0; i < kCount; ++i)
        text += "[1,2]\n";
    const char* p = text.c_str();
    int count = 0;
    wiq_json_load_error error = {};
    while (wiq_json_t* node = wiq_json_loads(p, WIQ_JSON_ALLOW_TRAILING, &error)) {
        p += error.position;
        ++count;
        wiq_json_unref(node);
    }
    EXPECT_EQ(count, kCount);
    EXPECT_EQ(error.status, WIQ_ERR_JSON_UNEXPECTED_TOKEN);
}

}  // namespace
