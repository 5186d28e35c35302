// Typed getters of objects: kinds, failures, chaining, references, get-or-create.
#include <gtest/gtest.h>

#include "json/tree.h"

namespace {

using tree::make;
using tree::text_of;
using tree::Tree;

constexpr u32 kEarlier = static_cast<u32>(WIQ_ERR_JSON_BAD_TOKEN);

// Returns what a getter returned, as text: its value, or "-" for NULL.
using Getter = std::string (*)(const wiq_json_t* obj, const char* key, u32* err);

std::string node_text(const wiq_json_t* node) {
    return node != nullptr ? text_of(node) : "-";
}

const struct {
    const char* name;
    Getter get;
    const char* nothing;  // what the getter returns, as text, if there is no value
} kGetters[] = {
    {"obj",
     [](const wiq_json_t* o, const char* k, u32* e) {
         return node_text(wiq_json_obj_get_obj(o, k, e));
     },
     "-"},
    {"array",
     [](const wiq_json_t* o, const char* k, u32* e) {
         return node_text(wiq_json_obj_get_array(o, k, e));
     },
     "-"},
    {"str",
     [](const wiq_json_t* o, const char* k, u32* e) {
         const char* text = wiq_json_obj_get_str(o, k, e);
         return std::string(text != nullptr ? text : "-");
     },
     "-"},
    {"bool",
     [](const wiq_json_t* o, const char* k, u32* e) {
         return std::string(wiq_json_obj_get_bool(o, k, e) ? "true" : "false");
     },
     "false"},
    {"i64",
     [](const wiq_json_t* o, const char* k, u32* e) {
         return std::to_string(wiq_json_obj_get_i64(o, k, e));
     },
     "0"},
    {"u64",
     [](const wiq_json_t* o, const char* k, u32* e) {
         return std::to_string(wiq_json_obj_get_u64(o, k, e));
     },
     "0"},
    {"u128",
     [](const wiq_json_t* o, const char* k, u32* e) {
         wiq_uint128 value = {77, 77};
         EXPECT_EQ(wiq_json_obj_get_u128(&value, o, k, e), &value);
         char text[64];
         wiq_uint128_to_str(value, 10, text, sizeof(text));
         return std::string(text);
     },
     "0"},
    {"double",
     [](const wiq_json_t* o, const char* k, u32* e) {
         char text[64];
         snprintf(text, sizeof(text), "%g", wiq_json_obj_get_double(o, k, e));
         return std::string(text);
     },
     "0"},
    {"jref",
     [](const wiq_json_t* o, const char* k, u32* e) {
         return node_text(wiq_json_obj_get_jref(o, k, e));
     },
     "-"},
    {"ext",
     [](const wiq_json_t* o, const char* k, u32* e) {
         return node_text(wiq_json_obj_get_ext(o, k, 0, e));
     },
     "-"},
    {"ext following",
     [](const wiq_json_t* o, const char* k, u32* e) {
         return node_text(wiq_json_obj_get_ext(o, k, WIQ_JSON_FOLLOW_REFS, e));
     },
     "-"},
};

const char kDocument[] =
    "{\"null\":null,\"o\":{\"x\":1},\"a\":[1],\"i\":-3,\"u\":3u,\"w\":18446744073709551616w,"
    "\"d\":3.0,\"h\":3.5,\"s\":\"text\",\"yes\":true,\"no\":false,\"to_o\":@\"#/o\",\"to_d\":@\"/"
    "d\","
    "\"twice\":@\"/to_o\",\"nowhere\":@\"/none\",\"ring\":@\"/ring\"}";

TEST(JsonObjGet, KindByKind) {
    // For each key, the getters that succeed and what they return.
    const struct {
        const char* key;
        std::vector<std::pair<const char*, const char*>> values;
    } rows[] = {
        {"null", {}},
        {"o", {{"obj", "{\"x\":1}"}}},
        {"a", {{"array", "[1]"}}},
        {"i", {{"i64", "-3"}, {"double", "-3"}}},
        {"u", {{"i64", "3"}, {"u64", "3"}, {"u128", "3"}, {"double", "3"}}},
        {"w", {{"u128", "18446744073709551616"}}},
        {"d", {{"i64", "3"}, {"u64", "3"}, {"u128", "3"}, {"double", "3"}}},
        {"h", {{"double", "3.5"}}},
        {"s", {{"str", "text"}}},
        {"yes", {{"bool", "true"}}},
        {"no", {{"bool", "false"}}},
        {"to_o", {{"obj", "{\"x\":1}"}, {"jref", "@\"#/o\""}}},
        {"twice", {{"obj", "{\"x\":1}"}, {"jref", "@\"/to_o\""}}},
        {"to_d", {{"i64", "3"}, {"u64", "3"}, {"u128", "3"}, {"double", "3"}, {"jref", "@\"/d\""}}},
    };
    Tree doc = make(kDocument);
    for (const auto& row : rows) {
        for (const auto& getter : kGetters) {
            if (strncmp(getter.name, "ext", 3) == 0) {
                continue;
            }
            SCOPED_TRACE(std::string(row.key) + " as " + getter.name);
            std::string expected = getter.nothing;
            i32 expected_status = WIQ_ERR_WRONG_TYPE;
            for (const auto& [name, value] : row.values) {
                if (std::string(name) == getter.name) {
                    expected = value;
                    expected_status = 0;
                }
            }
            u32 err = 0;
            EXPECT_EQ(getter.get(doc.get(), row.key, &err), expected);
            EXPECT_EQ(static_cast<i32>(err), expected_status);
            EXPECT_EQ(getter.get(doc.get(), row.key, nullptr), expected);
        }
    }
}

TEST(JsonObjGet, FailuresAndChaining) {
    Tree doc = make(kDocument);
    Tree array = make("[1]");
    const struct {
        const char* what;
        const wiq_json_t* obj;
        const char* key;
        i32 status;
    } rows[] = {
        {"no object", nullptr, "o", WIQ_ERR_INVALID_ARG},
        {"an array", array.get(), "o", WIQ_ERR_INVALID_ARG},
        {"no key", doc.get(), nullptr, WIQ_ERR_INVALID_ARG},
        {"an absent key", doc.get(), "absent", WIQ_ERR_KEY_NOT_FOUND},
    };
    for (const auto& row : rows) {
        for (const auto& getter : kGetters) {
            SCOPED_TRACE(std::string(row.what) + ", " + getter.name);
            u32 err = 0;
            EXPECT_EQ(getter.get(row.obj, row.key, &err), getter.nothing);
            EXPECT_EQ(static_cast<i32>(err), row.status);
            err = kEarlier;
            EXPECT_EQ(getter.get(row.obj, row.key, &err), getter.nothing);
            EXPECT_EQ(err, kEarlier);
        }
    }
    for (const auto& getter : kGetters) {
        for (const char* key : {"o", "a", "s", "yes", "u", "to_o"}) {
            u32 err = kEarlier;
            EXPECT_EQ(getter.get(doc.get(), key, &err), getter.nothing) << getter.name << key;
            EXPECT_EQ(err, kEarlier);
        }
    }
}

TEST(JsonObjGet, FollowsReferencesOnlyWhenAsked) {
    Tree doc = make(kDocument);
    u32 err = 0;
    EXPECT_EQ(text_of(wiq_json_obj_get_ext(doc.get(), "to_d", 0, &err)), "@\"/d\"");
    EXPECT_EQ(text_of(wiq_json_obj_get_ext(doc.get(), "to_d", 2, &err)), "@\"/d\"");
    EXPECT_EQ(text_of(wiq_json_obj_get_ext(doc.get(), "to_d", 1, &err)), "3.0");
    EXPECT_EQ(text_of(wiq_json_obj_get_ext(doc.get(), "twice", 3, &err)), "{\"x\":1}");
    EXPECT_EQ(err, 0u);
}

TEST(JsonObjGet, ReportsReferencesThatLeadNowhere) {
    Tree doc = make(kDocument);
    const struct {
        const char* key;
        i32 status;
    } rows[] = {{"nowhere", WIQ_ERR_KEY_NOT_FOUND}, {"ring", WIQ_ERR_JREF_CYCLE}};
    for (const auto& row : rows) {
        for (const auto& getter : kGetters) {
            if (strcmp(getter.name, "jref") == 0 || strcmp(getter.name, "ext") == 0) {
                continue;
            }
            SCOPED_TRACE(std::string(row.key) + " as " + getter.name);
            u32 err = 0;
            EXPECT_EQ(getter.get(doc.get(), row.key, &err), getter.nothing);
            EXPECT_EQ(static_cast<i32>(err), row.status);
        }
        u32 err = 0;
        EXPECT_NE(wiq_json_obj_get_jref(doc.get(), row.key, &err), nullptr);
        EXPECT_EQ(err, 0u);
    }
}

TEST(JsonObjGet, ReturnsBorrowedNodes) {
    Tree doc = make(kDocument);
    const wiq_json_t* node = wiq_json_obj_get_obj(doc.get(), "o", nullptr);
    EXPECT_EQ(tree::count(node), 1);
    EXPECT_EQ(wiq_json_obj_get_ext(doc.get(), "o", 1, nullptr), node);
    EXPECT_EQ(tree::count(node), 1);
}

TEST(JsonObjGetd, MakesMissingMembers) {
    Tree doc = make("{}");
    u32 err = 0;
    wiq_json_t* obj = wiq_json_obj_getd_obj(doc.get(), "o", &err);
    wiq_json_t* array = wiq_json_obj_getd_array(doc.get(), "a", &err);
    EXPECT_EQ(err, 0u);
    EXPECT_EQ(text_of(doc), "{\"a\":[],\"o\":{}}");
    EXPECT_EQ(tree::count(obj), 1);
    EXPECT_EQ(wiq_json_obj_getd_obj(doc.get(), "o", &err), obj);
    EXPECT_EQ(wiq_json_obj_getd_array(doc.get(), "a", nullptr), array);
    EXPECT_EQ(err, 0u);
    EXPECT_NE(wiq_json_obj_getd_obj(doc.get(), "p", nullptr), nullptr);
    EXPECT_EQ(text_of(doc), "{\"a\":[],\"o\":{},\"p\":{}}");
}

TEST(JsonObjGetd, FollowsReferencesAndReportsOthers) {
    Tree doc = make(kDocument);
    const std::string before = text_of(doc);
    u32 err = 0;
    EXPECT_EQ(wiq_json_obj_getd_obj(doc.get(), "twice", &err),
              wiq_json_obj_get_obj(doc.get(), "o", nullptr));
    EXPECT_EQ(err, 0u);

    using Getd = wiq_json_t* (*)(wiq_json_t*, const char*, u32*);
    const struct {
        Getd getd;
        const char* key;
        i32 status;
    } rows[] = {
        {wiq_json_obj_getd_obj, "a", WIQ_ERR_WRONG_TYPE},
        {wiq_json_obj_getd_array, "o", WIQ_ERR_WRONG_TYPE},
        {wiq_json_obj_getd_array, "twice", WIQ_ERR_WRONG_TYPE},
        {wiq_json_obj_getd_obj, "null", WIQ_ERR_WRONG_TYPE},
        {wiq_json_obj_getd_obj, "ring", WIQ_ERR_JREF_CYCLE},
        // The key exists; its value is not replaced.
        {wiq_json_obj_getd_obj, "nowhere", WIQ_ERR_KEY_NOT_FOUND},
        {wiq_json_obj_getd_array, "nowhere", WIQ_ERR_KEY_NOT_FOUND},
        {wiq_json_obj_getd_obj, nullptr, WIQ_ERR_INVALID_ARG},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.key != nullptr ? row.key : "no key");
        err = 0;
        EXPECT_EQ(row.getd(doc.get(), row.key, &err), nullptr);
        EXPECT_EQ(static_cast<i32>(err), row.status);
        EXPECT_EQ(row.getd(doc.get(), row.key, nullptr), nullptr);
    }
    for (const Getd getd : {wiq_json_obj_getd_obj, wiq_json_obj_getd_array}) {
        err = kEarlier;
        EXPECT_EQ(getd(doc.get(), "absent", &err), nullptr);
        EXPECT_EQ(err, kEarlier);
        err = 0;
        EXPECT_EQ(getd(nullptr, "absent", &err), nullptr);
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
        err = 0;
        EXPECT_EQ(getd(make("[]").get(), "absent", &err), nullptr);
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
    }
    EXPECT_EQ(text_of(doc), before);
}

}  // namespace
