// Documents that nobody has touched are released without visiting their nodes. These tests check which calls
// leave a document untouched, and that all memory is freed either way, including that of nodes kept by
// others.
#include "json/model/document.h"

#include <gtest/gtest.h>
#include <uv.h>

#include <functional>

#include "json/model/blocks.h"
#include "json/parse_and_copy_faults.h"
#include "json/tree.h"
#include "support/alloc_faults.h"
#include "support/colliding_keys.h"
#include "support/temporary_stream.h"

namespace {

using ke::json::has_document;
using tree::parse;
using tree::text_of;
using tree::Tree;

#if defined(KE_ADDRESS_SANITIZER)
constexpr bool kOneBlockEach = true;
#else
constexpr bool kOneBlockEach = false;
#endif

bool is_touched(const Tree& root) {
    return !has_document(root.get()) || root->position.document->touched.load();
}
wiq_json_t* at(const Tree& root, const char* where) {
    return wiq_json_ptr_get(root.get(), where, nullptr, nullptr);
}

// Returns a document with every kind of block: tables in blocks of their own, and a key and a text that are
// too long for a chunk.
std::string table(int count) {
    std::string text = "{";
    for (int i = 0; i < count; ++i)
        text += (i == 0 ? "\"k" : ",\"k") + std::to_string(i) + "\":" + std::to_string(i);
    return text + "}";
}
std::string list(int count) {
    std::string text = "[0";
    for (int i = 1; i < count; ++i)
        text += "," + std::to_string(i);
    return text + "]";
}
std::string document(const std::string& reference = R"(,"ref":{"$ref":"#/a"})") {
    return R"({"a":{"b":[1,2.5,"text",null,{"c":true}]},"empty":{},"list":)" + list(200) +
           R"(,"table":)" + table(200) + R"(,"long":")" + std::string(3000, 'x') + R"(",")" +
           std::string(3000, 'k') + R"(":[[")" + std::string(2000, 'y') + R"("]])" + reference +
           "}";
}

struct Step {
    const char* name;
    bool touches;
    // Receives the root; may return a node to which it keeps a reference.
    std::function<wiq_json_t*(const Tree&)> run;
};

void ignore(const void*) {}

const Step kSteps[] = {
    {"nothing", false, [](const Tree&) { return nullptr; }},
    {"a reference to the root", false,
     [](const Tree& root) {
         wiq_json_ref(root.get());
         wiq_json_ref(root.get());
         wiq_json_unref(root.get());
         return nullptr;
     }},
    {"looking up", false,
     [](const Tree& root) {
         EXPECT_EQ(wiq_json_i64_get(at(root, "/table/k199")), 199);
         EXPECT_EQ(wiq_json_array_size(at(root, "/list")), 200);
         return nullptr;
     }},
    {"writing, copying and comparing", false,
     [](const Tree& root) {
         char* text = nullptr;
         EXPECT_GT(wiq_json_sdump(root.get(), &text, WIQ_JSON_DUMP_SORT_KEYS), 0);
         free(text);
         Tree copied(wiq_json_copy(root.get(), nullptr));
         EXPECT_FALSE(is_touched(copied));
         EXPECT_TRUE(wiq_json_equal(root.get(), copied.get()));
         return nullptr;
     }},
    {"a copy of a part", false,
     [](const Tree& root) { return wiq_json_copy(at(root, "/table"), nullptr); }},
    {"a reference that is given up again", true,
     [](const Tree& root) {
         wiq_json_ref(at(root, "/a/b"));
         wiq_json_unref(at(root, "/a/b"));
         return nullptr;
     }},
    {"a reference to a small node", true,
     [](const Tree& root) {
         wiq_json_t* node = at(root, "/a/b/2");
         wiq_json_ref(node);
         return node;
     }},
    {"a reference to a large text", true,
     [](const Tree& root) {
         wiq_json_t* node = at(root, "/long");
         wiq_json_ref(node);
         return node;
     }},
    {"a reference to a container with a table", true,
     [](const Tree& root) {
         wiq_json_t* node = at(root, "/table");
         wiq_json_ref(node);
         return node;
     }},
    {"a new member of the root", true,
     [](const Tree& root) {
         ignore(wiq_json_obj_put_i64(root.get(), "new", 1, nullptr));
         return nullptr;
     }},
    {"a new member below", true,
     [](const Tree& root) {
         ignore(wiq_json_obj_put_str(at(root, "/a/b/4"), "new", "text", nullptr));
         return nullptr;
     }},
    {"another value", true,
     [](const Tree& root) {
         ignore(wiq_json_obj_put_null(at(root, "/table"), "k7", nullptr));
         return nullptr;
     }},
    {"a new element", true,
     [](const Tree& root) {
         ignore(wiq_json_array_push_i64(at(root, "/a/b"), 1, nullptr));
         return nullptr;
     }},
    {"an element that was made before", true,
     [](const Tree& root) {
         wiq_json_t* made = wiq_json_i64_new(5, nullptr);
         EXPECT_EQ(wiq_json_array_push_ext(at(root, "/list"), made, nullptr), 0);
         wiq_json_unref(made);
         return nullptr;
     }},
    {"a pointer write", true,
     [](const Tree& root) {
         EXPECT_NE(wiq_json_ptr_put_i64(root.get(), "/a/d/e", 1, nullptr), nullptr);
         return nullptr;
     }},
    {"a member removed", true,
     [](const Tree& root) {
         EXPECT_EQ(wiq_json_obj_remove(root.get(), "list"), 0);
         return nullptr;
     }},
    {"a long text removed", true,
     [](const Tree& root) {
         EXPECT_EQ(wiq_json_obj_remove(root.get(), "long"), 0);
         return nullptr;
     }},
    {"elements popped", true,
     [](const Tree& root) {
         EXPECT_EQ(wiq_json_array_pop(at(root, "/a/b"), 2), 0);
         return nullptr;
     }},
    {"an element popped and kept", true,
     [](const Tree& root) { return wiq_json_array_pop_elem(at(root, "/a/b")); }},
    {"an element swapped out", true,
     [](const Tree& root) {
         return wiq_json_array_swap(at(root, "/a/b"), 2, wiq_json_null_new(nullptr), nullptr);
     }},
    {"an orphan", true,
     [](const Tree& root) {
         wiq_json_t* node = at(root, "/a/b");
         wiq_json_ref(node);
         EXPECT_EQ(wiq_json_make_orphan(node), 0);
         return node;
     }},
    {"elements filtered", true,
     [](const Tree& root) {
         EXPECT_EQ(
             wiq_json_array_filter(
                 at(root, "/list"),
                 [](wiq_json_t* elem, void*) { return wiq_json_i64_get(elem) % 2 == 0; }, nullptr),
             0);
         return nullptr;
     }},
    {"a weak array", true,
     [](const Tree& root) {
         wiq_json_t* weak = wiq_json_array_weak_new(0, nullptr);
         EXPECT_EQ(wiq_json_array_push_ext(weak, at(root, "/a/b/2"), nullptr), 0);
         return weak;
     }},
    {"an expansion", true,
     [](const Tree& root) {
         wiq_json_ref(root.get());
         ignore(wiq_json_obj_put_jref(root.get(), "ref", "#/a", nullptr));
         EXPECT_EQ(wiq_json_jref_expand(root.get()), 0);
         return nullptr;
     }},
    {"the root in another document", true,
     [](const Tree& root) {
         wiq_json_t* outer = wiq_json_array_new(0, nullptr);
         EXPECT_EQ(wiq_json_array_push_ext(outer, root.get(), nullptr), 0);
         return outer;
     }},
    {"the root in an object, and out again", true,
     [](const Tree& root) {
         Tree outer(wiq_json_obj_new(0, nullptr));
         EXPECT_EQ(wiq_json_obj_put_ext(outer.get(), "in", root.get(), nullptr), 0);
         EXPECT_EQ(wiq_json_make_orphan(root.get()), 0);
         return nullptr;
     }},
    {"the root in a weak array that is filtered", false,
     [](const Tree& root) {
         wiq_json_ref(root.get());
         Tree other = parse(document(""));
         wiq_json_ref(other.get());
         Tree weak(wiq_json_array_weak_new(0, nullptr));
         wiq_json_t* listed[] = {root.get(), root.get(), other.get(), root.get(), other.get()};
         for (wiq_json_t* node : listed)
             EXPECT_EQ(wiq_json_array_push_ext(weak.get(), node, nullptr), 0);
         EXPECT_EQ(
             wiq_json_array_filter(
                 weak.get(), [](wiq_json_t* elem, void* user) { return elem != user; }, root.get()),
             0);
         EXPECT_EQ(wiq_json_array_size(weak.get()), 2);
         EXPECT_EQ(wiq_json_array_get_ext(weak.get(), 0, 0, nullptr), other.get());
         EXPECT_EQ(wiq_json_array_get_ext(weak.get(), 1, 0, nullptr), other.get());
         EXPECT_FALSE(is_touched(other));
         return nullptr;
     }},
};

TEST(JsonDocument, CallsThatTouchOne) {
    const std::string text = document("");
    // The first call of each of these allocates what stays until the end of the program.
    kSteps[3].run(parse(text));
    for (const Step& step : kSteps) {
        for (const bool copied : {false, true}) {
            SCOPED_TRACE(std::string(step.name) + (copied ? ", copied" : ", parsed"));
            const long before = live_blocks();
            Tree root = parse(text);
            ASSERT_NE(root, nullptr);
            if (copied)
                root.reset(wiq_json_copy(Tree(root.release()).get(), nullptr));
            ASSERT_FALSE(is_touched(root));
            wiq_json_t* kept = step.run(root);
            EXPECT_EQ(is_touched(root), step.touches);
            const std::string was = kept != nullptr ? text_of(kept) : "";
            root.reset();
            if (kept != nullptr) {
                EXPECT_EQ(text_of(kept), was);
            }
            wiq_json_unref(kept);
            EXPECT_EQ(live_blocks(), before);
        }
    }
}

// What the parser itself releases on the way: objects that become references, and values of duplicate keys.
TEST(JsonDocument, WhatTheParserReleases) {
    const std::string uri(2000, 'u');
    const std::string key(1000, 'k');
    std::string references = "[" + list(100);
    for (int i = 0; i < 500; ++i)
        references += ",{\"$ref\":\"#/" + std::to_string(i) + "\"}";
    references += "]";
    std::string twice =
        "{\"t\":" + table(200) + ",\"list\":" + list(100) + "," + table(100).substr(1);
    twice.pop_back();
    twice += ",\"t\":1,\"list\":[" + table(300) + "],\"k5\":\"" + uri + "\"}";
    struct Case {
        std::string text;
        bool touched;
    };
    const Case cases[] = {
        // If each chunk has only one block, the texts that are released free their chunks, too.
        {references, kOneBlockEach},
        {"[[{\"$ref\":\"" + uri + "\"},1],{\"" + key + "\":{\"$ref\":\"" + uri + "\"}}," +
             list(50) + "]",
         true},  // the text had its own chunk
        {twice, true},
        {"[" + twice + "," + twice + "]", true},
        {"[{\"a\":1,\"a\":2}," + list(100) + "]", true},
        {"{\"$ref\":\"" + uri + "\"}", true},
        {"[1]", true},  // too small to have a record
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.text.substr(0, 100));
        const long before = live_blocks();
        Tree root = parse(one.text);
        ASSERT_NE(root, nullptr);
        EXPECT_EQ(is_touched(root), one.touched);
        Tree again(wiq_json_copy(root.get(), nullptr));
        EXPECT_TRUE(wiq_json_equal(root.get(), again.get()));
        root.reset();
        again.reset();
        EXPECT_EQ(live_blocks(), before);
    }
}

TEST(JsonDocument, UniqueKeysAndStreams) {
    // If an object with unique keys became a reference, that would touch the document.
    const std::string text = document("");
    const long before = live_blocks();
    Tree unique(wiq_json_loads(text.c_str(), WIQ_JSON_REJECT_DUPLICATES, nullptr));
    ASSERT_NE(unique, nullptr);
    EXPECT_FALSE(is_touched(unique));
    FILE* stream = stream_of(text);
    ASSERT_NE(stream, nullptr);
    Tree streamed(wiq_json_loadf(stream, 0, nullptr));
    fclose(stream);
    ASSERT_NE(streamed, nullptr);
    EXPECT_FALSE(is_touched(streamed));
    EXPECT_TRUE(wiq_json_equal(unique.get(), streamed.get()));
    unique.reset();
    streamed.reset();
    EXPECT_EQ(live_blocks(), before);
}

// The list of blocks outside the chunks is freed with the root.
TEST(JsonDocument, WhatAKeptNodeKeeps) {
    std::string text = "[" + list(70);
    for (int i = 0; i < 5000; ++i)
        text += "," + list(70);
    text += "]";
    const long before = live_bytes();
    Tree root = parse(text);
    wiq_json_t* kept = at(root, "/2500/69");
    wiq_json_ref(kept);
    root.reset();
    EXPECT_LE(live_bytes() - before, 16 * 1024);
    EXPECT_EQ(wiq_json_i64_get(kept), 69);
    wiq_json_unref(kept);
    EXPECT_EQ(live_bytes(), before);
}

TEST(JsonDocument, CollidingKeys) {
    const long before = live_blocks();
    {
        std::string inner = "{";
        for (const std::string& key : colliding::keys(300))
            inner += (inner.size() == 1 ? "\"" : ",\"") + key + "\":[1]";
        inner += "}";
        for (const std::string& text : {inner, "[" + inner + "," + inner + "]"}) {
            Tree root = parse(text);
            ASSERT_NE(root, nullptr);
            Tree copied(wiq_json_copy(root.get(), nullptr));
            EXPECT_TRUE(wiq_json_equal(root.get(), copied.get()));
        }
    }
    EXPECT_EQ(live_blocks(), before);
}

TEST(JsonDocument, TheLastOwnerIsAWeakContainer) {
    const std::string text = document("");
    // The tables of small roots are in the roots' own blocks, those of large ones are not.
    std::string elems = "[" + text;
    std::string members = "{\"a\":" + text;
    for (int i = 0; i < 100; ++i) {
        elems += "," + std::to_string(i);
        members += ",\"" + std::to_string(i) + "\":0";
    }
    for (const bool touched : {false, true}) {
        for (const bool copied : {false, true}) {
            const long before = live_blocks();
            Tree roots[] = {parse(text), parse("{\"a\":" + text + "}"), parse(elems + "]"),
                            parse(members + "}")};
            Tree array(wiq_json_array_weak_new(0, nullptr));
            Tree obj(wiq_json_obj_weak_new(0, nullptr));
            for (Tree& root : roots) {
                if (copied)
                    root.reset(wiq_json_copy(Tree(root.release()).get(), nullptr));
                if (touched && wiq_json_is_obj(root.get())) {
                    ASSERT_NE(wiq_json_obj_put_null(root.get(), "new", nullptr), nullptr);
                } else if (touched) {
                    ASSERT_NE(wiq_json_array_push_i64(root.get(), 1, nullptr), nullptr);
                }
            }
            ASSERT_EQ(wiq_json_array_push_ext(array.get(), roots[0].release(), nullptr), 0);
            ASSERT_EQ(wiq_json_array_push_ext(array.get(), roots[2].release(), nullptr), 0);
            ASSERT_EQ(wiq_json_obj_put_ext(obj.get(), "root", roots[1].release(), nullptr), 0);
            ASSERT_EQ(wiq_json_obj_put_ext(obj.get(), "large", roots[3].release(), nullptr), 0);
            EXPECT_EQ(wiq_json_array_push_ext(array.get(), obj.release(), nullptr), 0);
            array.reset();
            EXPECT_EQ(live_blocks(), before);
        }
    }
}

// After wiq_json_finalize(), the root's block belongs to the caller.
TEST(JsonDocument, FinalizedRoots) {
    const std::string text = document();
    const long before = live_blocks();
    for (const bool touched : {false, true}) {
        wiq_json_t* root = wiq_json_loads(text.c_str(), 0, nullptr);
        ASSERT_NE(root, nullptr);
        if (touched) {
            ASSERT_EQ(wiq_json_obj_remove(root, "a"), 0);
        }
        wiq_json_finalize(root);
        EXPECT_EQ(root->home, 0);
        EXPECT_EQ(wiq_json_obj_size(root), 0);
        free(root);
        EXPECT_EQ(live_blocks(), before);
    }
}

TEST(JsonDocumentFaults, EveryAllocation) {
    std::string text = "[[\"" + std::string(2000, 'x') + "\"]";
    for (int i = 0; i < 6; ++i)
        text += "," + list(70) + ",{\"" + std::string(600, 'k') + "\":" + table(60) + "}";
    text += "]";
    for (const i32 flags : {0, static_cast<i32>(WIQ_JSON_REJECT_DUPLICATES)}) {
        EXPECT_GT(SweepParseAndCopy(text, flags), 100u);
    }
}

// An object that becomes a reference is replaced by a node of another size, whose key may need its own block.
TEST(JsonDocument, ReferencesWithKeysOfAnyLength) {
    const std::string numbers = "[1,2,3,4,5,6,7,8,9]";
    for (const size_t key : {1, 100, 400, 470, 471, 472, 600, 1000, 1200}) {
        for (const size_t uri : {1, 100, 400, 470, 600, 990, 1200}) {
            const long before = live_blocks();
            {
                const Tree root =
                    parse("{\"a\":" + numbers + ",\"" + std::string(key, 'k') + R"(":{"$ref":"#/)" +
                          std::string(uri, 'u') + R"("},"z":)" + numbers + "}");
                ASSERT_TRUE(wiq_json_is_jref(
                    wiq_json_obj_get_ext(root.get(), std::string(key, 'k').c_str(), 0, nullptr)));
                const Tree copied(wiq_json_copy(root.get(), nullptr));
                EXPECT_TRUE(wiq_json_equal(copied.get(), root.get()));
            }
            EXPECT_EQ(live_blocks(), before) << key << ", " << uri;
        }
    }
}

// Every thread holds the root, and some take references to nodes below it. The last thread to finish releases
// the document.
TEST(JsonDocumentThreads, ReadersWithAndWithoutReferences) {
    constexpr int kThreads = 4;
    const std::string text = document();
    const long before = live_blocks();
    for (int round = 0; round < 100; ++round) {
        struct Reader {
            wiq_json_t* root;
            int takes;  // references
        } readers[kThreads];
        uv_thread_t threads[kThreads];
        Tree root = parse(text);
        wiq_json_ref(root.get());
        for (int i = 0; i < kThreads; ++i) {
            wiq_json_ref(root.get());
            readers[i] = {root.get(), round % 2 == 0 ? 0 : i};
            ASSERT_EQ(uv_thread_create(
                          &threads[i],
                          [](void* arg) {
                              const auto* reader = static_cast<Reader*>(arg);
                              wiq_json_t* node =
                                  wiq_json_ptr_get(reader->root, "/a/b/2", nullptr, nullptr);
                              for (int n = 0; n < reader->takes; ++n)
                                  wiq_json_ref(node);
                              wiq_json_t* weak = wiq_json_array_weak_new(0, nullptr);
                              wiq_json_array_push_ext(weak, reader->root, nullptr);
                              wiq_json_unref(weak);
                              wiq_json_unref(reader->root);
                              for (int n = 0; n < reader->takes; ++n)
                                  wiq_json_unref(node);
                          },
                          &readers[i]),
                      0);
        }
        root.reset();
        for (uv_thread_t& thread : threads)
            ASSERT_EQ(uv_thread_join(&thread), 0);
        ASSERT_EQ(live_blocks(), before);
    }
}

}  // namespace
