// Tests of references: making and resolving them, following chains, expanding in place.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>

#include "json/json_text.h"
#include "json/tree.h"
#include "ke_utils/core.h"
#include "ke_utils/json.h"
#include "support/small_stack.h"

namespace {

wiq_json_t* member(wiq_json_t* root, const char* key) {
    return wiq_json_obj_get_ext(root, key, 0, nullptr);
}

TEST(Reference, New) {
    u32 err = 0;
    char uri[] = "#/a";
    wiq_json_t* node = wiq_json_jref_new(uri, &err);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(err, 0u);
    uri[0] = 'x';
    EXPECT_STREQ(wiq_json_jref_uri(node), "#/a") << "a copy of its own";
    EXPECT_STREQ(wiq_json_str_get(node), "#/a");
    EXPECT_TRUE(wiq_json_is_jref(node));
    EXPECT_STREQ(wiq_json_type_string(node), "reference");
    wiq_json_unref(node);
    EXPECT_EQ(wiq_json_jref_new(nullptr, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_jref_new("/a", &err), nullptr) << "an earlier failure stops the chain";
    EXPECT_EQ(wiq_json_jref_new(nullptr, nullptr), nullptr);
}

TEST(Reference, Uri) {
    wiq_json_t* text = wiq_json_str_new("#/a", nullptr);
    EXPECT_EQ(wiq_json_jref_uri(text), nullptr);
    EXPECT_EQ(wiq_json_jref_uri(nullptr), nullptr);
    wiq_json_unref(text);
}

TEST(Reference, ResolveIsOneStep) {
    wiq_json_t* root = parsed(
        R"({"a":1,"b":{"$ref":"#/a"},"c":{"$ref":"/b"},"x":{"$ref":"#/none"},"d":[{"$ref":"#/a"}]})");
    u32 err = 0;
    EXPECT_EQ(wiq_json_jref_resolve(member(root, "b"), &err), member(root, "a"));
    EXPECT_EQ(wiq_json_jref_resolve(member(root, "c"), &err), member(root, "b"));
    EXPECT_EQ(err, 0u);
    EXPECT_EQ(wiq_json_jref_resolve(member(root, "x"), &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_KEY_NOT_FOUND);
    EXPECT_EQ(wiq_json_jref_resolve(member(root, "b"), &err), nullptr) << "the chain is stopped";
    err = 0;
    for (wiq_json_t* wrong : {static_cast<wiq_json_t*>(nullptr), member(root, "a")}) {
        EXPECT_EQ(wiq_json_jref_resolve(wrong, &err), nullptr);
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
        err = 0;
    }
    EXPECT_EQ(wiq_json_jref_resolve(member(root, "b"), nullptr), member(root, "a"));
    wiq_json_t* inner = wiq_json_ptr_get(root, "/d/0", nullptr, nullptr);
    EXPECT_EQ(wiq_json_jref_resolve(inner, nullptr), member(root, "a"))
        << "from the root of the tree";
    wiq_json_unref(root);
}

TEST(Reference, AReferenceWithoutAParentIsItsOwnRoot) {
    wiq_json_t* self = wiq_json_jref_new("#", nullptr);
    EXPECT_EQ(wiq_json_jref_resolve(self, nullptr), self);
    u32 err = 0;
    EXPECT_EQ(wiq_json_jref_deref(self, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_JREF_CYCLE);
    wiq_json_unref(self);
    wiq_json_t* path = wiq_json_jref_new("/a", nullptr);
    err = 0;
    EXPECT_EQ(wiq_json_jref_resolve(path, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_WRONG_TYPE);
    wiq_json_unref(path);
}

TEST(Reference, DerefFollowsChains) {
    struct Row {
        const char *document, *key;
        i32 status;
        const char* target;  // key of what is found; nullptr if nothing is
    };
    for (
        const Row& row : {
            Row{R"({"a":1,"b":{"$ref":"#/a"}})", "b", 0, "a"},
            Row{R"({"a":1,"b":{"$ref":"/a"},"c":{"$ref":"/b"},"d":{"$ref":"/c"},"e":{"$ref":"/d"}})",
                "e", 0, "a"},
            Row{R"({"a":{"$ref":"/a"}})", "a", -1052, nullptr},
            Row{R"({"a":{"$ref":"/b"},"b":{"$ref":"/a"}})", "a", -1052, nullptr},
            Row{R"({"x":{"$ref":"/a"},"a":{"$ref":"/b"},"b":{"$ref":"/c"},"c":{"$ref":"/a"}})", "x",
                -1052, nullptr},
            Row{R"({"a":{"$ref":"/none"},"b":{"$ref":"/a"}})", "b", -1037, nullptr},
            Row{R"({"a":[],"b":{"$ref":"/a/0"}})", "b", -1038, nullptr},
            Row{R"({"a":1,"b":{"$ref":"a"}})", "b", -7019, nullptr},
            // not a reference; returned all the same
            Row{R"({"a":"text"})", "a", -7000, "a"},
        }) {
        wiq_json_t* root = parsed(row.document);
        u32 err = 0;
        wiq_json_t* found = wiq_json_jref_deref(member(root, row.key), &err);
        EXPECT_EQ(static_cast<i32>(err), row.status) << row.document;
        EXPECT_EQ(found, row.target == nullptr ? nullptr : member(root, row.target))
            << row.document;
        err = 9;
        EXPECT_EQ(wiq_json_jref_deref(member(root, row.key), &err), nullptr);
        EXPECT_EQ(err, 9u);
        wiq_json_unref(root);
    }
    u32 err = 0;
    EXPECT_EQ(wiq_json_jref_deref(nullptr, &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
}

TEST(Reference, LongChainsAndLongCycles) {
    std::string text = "{\"k0\":0";
    for (int i = 1; i <= 3000; ++i)
        text += ",\"k" + std::to_string(i) + "\":{\"$ref\":\"/k" + std::to_string(i - 1) + "\"}";
    wiq_json_t* root = parsed(text + "}");
    u32 err = 0;
    EXPECT_EQ(wiq_json_jref_deref(member(root, "k3000"), &err), member(root, "k0"));
    EXPECT_EQ(err, 0u);
    wiq_json_obj_put_jref(root, "k0", "/k3000", &err);
    EXPECT_EQ(wiq_json_jref_deref(member(root, "k1500"), &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_JREF_CYCLE);
    wiq_json_unref(root);
}

TEST(Reference, TypedGettersFollowThem) {
    wiq_json_t* root = parsed(
        R"({"n":5,"t":"text","rn":{"$ref":"/n"},"rt":{"$ref":"/t"},"bad":{"$ref":"/none"},"l":[{"$ref":"/n"}]})");
    u32 err = 0;
    EXPECT_EQ(wiq_json_obj_get_i64(root, "rn", &err), 5);
    EXPECT_STREQ(wiq_json_obj_get_str(root, "rt", &err), "text");
    EXPECT_EQ(wiq_json_obj_get_jref(root, "rn", &err), member(root, "rn"));
    EXPECT_EQ(wiq_json_obj_get_ext(root, "rn", WIQ_JSON_FOLLOW_REFS, &err), member(root, "n"));
    EXPECT_EQ(wiq_json_obj_get_ext(root, "rn", 0, &err), member(root, "rn"));
    wiq_json_t* list = wiq_json_obj_get_array(root, "l", &err);
    EXPECT_EQ(wiq_json_array_get_ext(list, 0, WIQ_JSON_FOLLOW_REFS, &err), member(root, "n"));
    EXPECT_EQ(err, 0u);
    EXPECT_EQ(wiq_json_obj_get_i64(root, "bad", &err), 0);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_KEY_NOT_FOUND);
    err = 0;
    EXPECT_EQ(wiq_json_obj_get_i64(root, "rt", &err), 0);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_WRONG_TYPE);
    wiq_json_unref(root);
}

// --- Expanding ---------------------------------------------------------------------------------------

TEST(Expand, Table) {
    struct Row {
        const char* before;
        i32 status;
        const char* after;
    };
    for (const Row& row : {
             Row{R"({"a":1,"b":{"$ref":"#/a"}})", 0, R"({"a":1,"b":1})"},
             Row{"[1,2]", 0, "[1,2]"},
             Row{"5", 0, "5"},
             Row{R"({"a":[1,{"$ref":"#/c"}],"b":{"$ref":"#/a"},"c":"x"})", 0,
                 R"({"a":[1,"x"],"b":[1,"x"],"c":"x"})"},
             Row{R"({"a":{"$ref":"/b"},"b":{"$ref":"/c"},"c":[{"$ref":"/d"}],"d":7})", 0,
                 R"({"a":[7],"b":[7],"c":[7],"d":7})"},
             Row{R"([{"$ref":"/2"},{"$ref":"/2"},{"x":1}])", 0, R"([{"x":1},{"x":1},{"x":1}])"},
             Row{R"({"a":{"$ref":"/b"},"b":{"$ref":"/a"}})", -1052,
                 R"({"a":{"$ref":"/b"},"b":{"$ref":"/a"}})"},
             Row{R"({"a":{"$ref":"/a"}})", -1052, R"({"a":{"$ref":"/a"}})"},
             Row{R"({"a":{"b":{"$ref":"/a"}}})", -1052, R"({"a":{"b":{"$ref":"/a"}}})"},
             Row{R"([{"$ref":"#"}])", -1052, R"([{"$ref":"#"}])"},
             Row{R"({"a":{"$ref":"/none"}})", -1037, R"({"a":{"$ref":"/none"}})"},
             Row{R"({"a":{"$ref":"/b/9"},"b":[]})", -1038, R"({"a":{"$ref":"/b/9"},"b":[]})"},
         }) {
        wiq_json_t* root = parsed(row.before);
        const i32 references = tree::count(root);
        EXPECT_EQ(wiq_json_jref_expand(root), row.status) << row.before;
        EXPECT_EQ(tree::count(root), references);
        EXPECT_EQ(dumped(root), row.after);
        wiq_json_unref(root);
    }
    EXPECT_EQ(wiq_json_jref_expand(nullptr), WIQ_ERR_INVALID_ARG);
}

TEST(Expand, TheRootKeepsItsCount) {
    for (const i32 references : {0, 1, 3}) {
        wiq_json_t* root = wiq_json_array_new(0, nullptr);
        wiq_json_array_push_i64(root, 1, nullptr);
        wiq_json_array_push_ext(root, wiq_json_jref_new("/0", nullptr), nullptr);
        for (i32 i = 0; i < references; ++i)
            wiq_json_ref(root);
        EXPECT_EQ(wiq_json_jref_expand(root), 0);
        EXPECT_EQ(dumped(root), "[1,1]");
        ASSERT_EQ(tree::count(root), references);
        for (i32 i = 1; i < references; ++i)
            wiq_json_unref(root);
        wiq_json_unref(root);
    }
}

// Chains in both directions, and one that all others join. Each reference of a chain must be followed only
// once: otherwise the time would be quadratic, and the test would take minutes.
TEST(Expand, ManyReferencesInAChain) {
    constexpr int kReferences = 100000;
    using Clock = std::chrono::steady_clock;
    for (const char* shape : {"forward", "backward", "comb"}) {
        SCOPED_TRACE(shape);
        wiq_json_t* root = wiq_json_array_new(kReferences + 1, nullptr);
        const bool backward = std::strcmp(shape, "backward") == 0;
        if (!backward)
            wiq_json_array_push_i64(root, 5, nullptr);
        for (int i = 0; i < kReferences; ++i) {
            // The second half, the teeth of the comb, refer to all parts of the first half, its back.
            const int to = backward                                  ? i + 1
                           : shape[0] == 'c' && i >= kReferences / 2 ? i * 7 % (kReferences / 2)
                                                                     : i;
            wiq_json_array_push_ext(
                root, wiq_json_jref_new(("/" + std::to_string(to)).c_str(), nullptr), nullptr);
        }
        if (backward)
            wiq_json_array_push_i64(root, 5, nullptr);
        const auto before = Clock::now();
        EXPECT_EQ(wiq_json_jref_expand(root), 0);
        EXPECT_LT(Clock::now() - before, std::chrono::seconds(60));
        bool all_numbers = true;
        for (int i = 0; i <= kReferences; ++i)
            all_numbers =
                all_numbers && wiq_json_is_int(wiq_json_array_get_ext(root, i, 0, nullptr));
        EXPECT_TRUE(all_numbers);
        wiq_json_unref(root);
    }
}

TEST(Expand, CyclesOfAnyLengthAfterAChain) {
    for (const int ring : {1, 2, 7, 1000}) {
        for (const int lead : {0, 1, 2, 1000}) {
            wiq_json_t* root = wiq_json_array_new(0, nullptr);
            for (int i = 0; i < lead + ring; ++i) {
                const int to = i + 1 < lead + ring ? i + 1 : lead;
                wiq_json_array_push_ext(
                    root, wiq_json_jref_new(("/" + std::to_string(to)).c_str(), nullptr), nullptr);
            }
            const std::string before = dumped(root);
            EXPECT_EQ(wiq_json_jref_expand(root), WIQ_ERR_JREF_CYCLE) << ring << " " << lead;
            EXPECT_EQ(dumped(root), before);
            wiq_json_unref(root);
        }
    }
}

TEST(Expand, CopiesAreIndependent) {
    wiq_json_t* root = parsed(R"({"a":{"n":1},"b":{"$ref":"#/a"},"c":{"$ref":"#/a"}})");
    ASSERT_EQ(wiq_json_jref_expand(root), 0);
    wiq_json_obj_put_i64(member(root, "b"), "n", 2, nullptr);
    EXPECT_EQ(dumped(root), R"({"a":{"n":1},"b":{"n":2},"c":{"n":1}})");
    wiq_json_unref(root);
}

TEST(Expand, ARootThatIsAReferenceStays) {
    wiq_json_t* self = wiq_json_jref_new("#", nullptr);
    EXPECT_EQ(wiq_json_jref_expand(self), WIQ_ERR_JREF_CYCLE);
    wiq_json_unref(self);
    // If a reference inside a tree is the root of the expansion, its target is expanded and the reference
    // itself is unchanged.
    wiq_json_t* root = parsed(R"({"a":[{"$ref":"/n"}],"n":5,"r":{"$ref":"/a"}})");
    EXPECT_EQ(wiq_json_jref_expand(member(root, "r")), 0);
    EXPECT_EQ(dumped(root), R"({"a":[5],"n":5,"r":{"$ref":"/a"}})");
    wiq_json_unref(root);
}

TEST(Expand, PartOfATreeUsesTheWholeTree) {
    wiq_json_t* root = parsed(R"({"n":5,"part":[{"$ref":"/n"}],"other":{"$ref":"/n"}})");
    EXPECT_EQ(wiq_json_jref_expand(member(root, "part")), 0);
    EXPECT_EQ(dumped(root), R"({"n":5,"other":{"$ref":"/n"},"part":[5]})");
    wiq_json_unref(root);
}

TEST(Expand, AReferenceThatSomebodyHoldsSurvives) {
    wiq_json_t* root = parsed(R"({"a":1,"b":{"$ref":"#/a"}})");
    wiq_json_t* held = member(root, "b");
    wiq_json_ref(held);
    EXPECT_EQ(wiq_json_jref_expand(root), 0);
    EXPECT_STREQ(wiq_json_jref_uri(held), "#/a");
    EXPECT_EQ(wiq_json_parent_key(held), nullptr);
    wiq_json_unref(held);
    wiq_json_unref(root);
}

TEST(Expand, WeakContainersAreWalkedWithoutBeingChanged) {
    wiq_json_t* root = parsed(R"({"a":1,"b":{"$ref":"#/a"}})");
    wiq_json_t* index = wiq_json_array_weak_new(0, nullptr);
    wiq_json_array_push_ext(index, member(root, "b"), nullptr);
    EXPECT_EQ(wiq_json_jref_expand(index), 0);
    EXPECT_EQ(dumped(root), R"({"a":1,"b":1})") << "replaced where it belongs";
    EXPECT_EQ(wiq_json_array_size(index), 1);
    wiq_json_unref(index);
    wiq_json_unref(root);
}

TEST(Expand, TheVisitorClassDoesTheSameStep) {
    u32 count = 0;
    WiqType** types = type_list(&count);
    ASSERT_STREQ(types[3]->name, "ExpandVisitor");
    struct ExpandVisitor {
        WiqJsonVisitor base;
        wiq_json_t* pending;
        wiq_json_t* expanded;
    };
    wiq_json_t* root = parsed(R"({"a":[{"$ref":"/c"}],"b":{"$ref":"/a"},"c":1})");
    WiqObject* object = object_new(types[3]);
    auto* visitor = reinterpret_cast<ExpandVisitor*>(object);
    visitor->pending = wiq_json_array_weak_new(5, nullptr);
    visitor->expanded = wiq_json_array_weak_new(5, nullptr);
    auto* slots = reinterpret_cast<WiqJsonVisitorClass*>(object->klass);
    EXPECT_EQ(slots->visit(&visitor->base, member(root, "b")), 0);
    EXPECT_EQ(wiq_json_array_size(visitor->pending), 0);
    ASSERT_EQ(wiq_json_array_size(visitor->expanded), 2);
    wiq_json_t* inner = wiq_json_ptr_get(root, "/a/0", nullptr, nullptr);
    EXPECT_EQ(wiq_json_array_get_ext(visitor->expanded, 0, 0, nullptr), inner)
        << "inner ones first";
    EXPECT_EQ(wiq_json_array_get_ext(visitor->expanded, 1, 0, nullptr), member(root, "b"));
    EXPECT_EQ(slots->visit(&visitor->base, root), 0);
    EXPECT_EQ(wiq_json_array_size(visitor->expanded), 2) << "each is expanded once";
    wiq_json_unref(visitor->pending);
    wiq_json_unref(visitor->expanded);
    object_unref(object);
    wiq_json_unref(root);
}

TEST(ExpandDeep, AMillionLevelsAndLongChains) {
    constexpr size_t kLevels = 1000000;
    std::string text = "{\"x\":7,\"deep\":";
    for (size_t i = 0; i < kLevels; ++i)
        text += "[";
    text += "{\"$ref\":\"/x\"}" + std::string(kLevels, ']') + "}";
    run_on_small_stack([&] {
        wiq_json_t* root = parsed(text);
        EXPECT_EQ(wiq_json_jref_expand(root), 0);
        wiq_json_t* innermost = member(root, "deep");
        while (wiq_json_is_array(innermost))
            innermost = wiq_json_array_get_ext(innermost, 0, 0, nullptr);
        EXPECT_TRUE(wiq_json_is_int(innermost));
        wiq_json_unref(root);
    });

    // The target of each reference contains the next reference, one level deeper.
    text = "{\"k0\":[0]";
    for (int i = 1; i <= 300; ++i)
        text += ",\"k" + std::to_string(i) + "\":[{\"$ref\":\"/k" + std::to_string(i - 1) + "\"}]";
    wiq_json_t* root = parsed(text + "}");
    EXPECT_EQ(wiq_json_jref_expand(root), 0);
    size_t depth = 0;
    for (wiq_json_t* node = member(root, "k300"); wiq_json_is_array(node); ++depth)
        node = wiq_json_array_get_ext(node, 0, 0, nullptr);
    EXPECT_EQ(depth, 301u);
    wiq_json_unref(root);
}

}  // namespace
