// Callbacks that change what is being walked: every operation of the document model that calls client code,
// except visitors, with every change that its documentation does not forbid. Visitors are in
// visitor_changes_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "json/tree.h"

namespace {

using tree::make;
using tree::text_of;
using tree::Tree;

wiq_json_t* member(const wiq_json_t* obj, const std::string& key) {
    return wiq_json_obj_get_ext(obj, key.c_str(), 0, nullptr);
}
wiq_json_t* elem(const wiq_json_t* array, i32 index) {
    return wiq_json_array_get_ext(array, index, 0, nullptr);
}

// Objects: wiq_json_obj_foreach().

// How the members are made, which decides in whose memory member and key are.
using Fill = void (*)(wiq_json_t* obj, const std::string& key);

const struct {
    const char* name;
    Fill fill;
} kFills[] = {
    {"builder",
     [](wiq_json_t* obj, const std::string& key) {
         wiq_json_obj_put_str(obj, key.c_str(), "old", nullptr);
     }},
    {"builder of a container",
     [](wiq_json_t* obj, const std::string& key) {
         wiq_json_t* array = wiq_json_obj_put_array(obj, key.c_str(), nullptr);
         wiq_json_array_push_str(array, "old", nullptr);
     }},
    {"large text",
     [](wiq_json_t* obj, const std::string& key) {
         wiq_json_obj_put_str(obj, key.c_str(), std::string(5000, 'x').c_str(), nullptr);
     }},
    {"ready-made",
     [](wiq_json_t* obj, const std::string& key) {
         wiq_json_obj_put_ext(obj, key.c_str(), tree::node("[\"old\"]"), nullptr);
     }},
    {"taken out of another object",
     [](wiq_json_t* obj, const std::string& key) {
         Tree other(wiq_json_loads("{\"other\":\"old\"}", 0, nullptr));
         wiq_json_t* child = member(other.get(), "other");
         EXPECT_EQ(wiq_json_make_orphan(child), 0);
         EXPECT_EQ(wiq_json_obj_put_ext(obj, key.c_str(), child, nullptr), 0);
     }},
};

// Puts "new" under an existing key.
using Replace = void (*)(wiq_json_t* obj, const char* key);

const struct {
    const char* name;
    bool strong_only;
    Replace replace;
} kReplacements[] = {
    {"put_ext", false,
     [](wiq_json_t* obj, const char* key) {
         EXPECT_EQ(wiq_json_obj_put_ext(obj, key, tree::node("\"new\""), nullptr), 0);
     }},
    {"put_str", false,
     [](wiq_json_t* obj, const char* key) {
         EXPECT_NE(wiq_json_obj_put_str(obj, key, "new", nullptr), nullptr);
     }},
    {"put_obj and another", false,
     [](wiq_json_t* obj, const char* key) {
         EXPECT_NE(wiq_json_obj_put_obj(obj, key, nullptr), nullptr);
         EXPECT_NE(wiq_json_obj_put_str(obj, key, "new", nullptr), nullptr);
     }},
    {"ptr_put", false,
     [](wiq_json_t* obj, const char* key) {
         const std::string ptr = "/" + std::string(key);
         EXPECT_NE(wiq_json_ptr_put_str(obj, ptr.c_str(), "new", nullptr), nullptr);
     }},
    {"swap_child", true,
     [](wiq_json_t* obj, const char* key) {
         wiq_json_t* old = member(obj, key);
         EXPECT_EQ(wiq_json_swap_child(old, tree::node("\"new\"")), 0);
         wiq_json_unref(old);
     }},
    // Not in a weak object: there the reference has no parent, and therefore no target.
    {"expansion", true,
     [](wiq_json_t* obj, const char* key) {
         if (std::strcmp(key, "target") != 0) {
             EXPECT_NE(wiq_json_obj_put_jref(obj, key, "/target", nullptr), nullptr);
         }
         EXPECT_EQ(wiq_json_jref_expand(obj), 0);
     }},
    {"the old one is held and put back", false,
     [](wiq_json_t* obj, const char* key) {
         wiq_json_t* old = member(obj, key);
         wiq_json_ref(old);
         EXPECT_NE(wiq_json_obj_put_i64(obj, key, 1, nullptr), nullptr);
         EXPECT_EQ(wiq_json_obj_put_ext(obj, key, old, nullptr), 0);
         EXPECT_NE(wiq_json_obj_put_str(obj, key, "new", nullptr), nullptr);
         wiq_json_unref(old);
     }},
};

// Which members the callback replaces, relative to the one for which it is called.
const struct {
    const char* name;
    bool (*chosen)(i32 index, i32 now);
} kChoices[] = {
    {"this one", [](i32 index, i32 now) { return index == now; }},
    {"the next one", [](i32 index, i32 now) { return index == now + 1; }},
    {"the one before", [](i32 index, i32 now) { return index == now - 1; }},
    {"all others", [](i32 index, i32 now) { return index != now; }},
    {"all", [](i32, i32) { return true; }},
};

struct ForEach {
    wiq_json_t* obj;
    std::vector<std::string> keys;  // in the order of the walk
    Replace replace;
    bool (*chosen)(i32 index, i32 now);
    std::vector<std::string> walked;
};

bool replace_chosen(const char* key, wiq_json_t* child, void* user) {
    auto* walk = static_cast<ForEach*>(user);
    EXPECT_EQ(child, member(walk->obj, key));
    const i32 now = static_cast<i32>(walk->walked.size());
    for (i32 index = 0; index < static_cast<i32>(walk->keys.size()); ++index) {
        // The key that the callback received outlives any change to its member.
        const bool self = index == now;
        if (walk->chosen(index, now))
            walk->replace(walk->obj, self ? key : walk->keys[static_cast<size_t>(index)].c_str());
    }
    walk->walked.emplace_back(key);
    const bool weak = wiq_json_has_weak_refs(walk->obj);
    EXPECT_EQ(wiq_json_parent_key(member(walk->obj, key)), weak ? nullptr : key);
    return true;
}

void collect(const wiq_json_t* obj, std::vector<std::string>* keys) {
    wiq_strv list;
    wiq_strv_init(&list);
    wiq_json_obj_keys(obj, &list);
    for (i32 i = 0; i < wiq_vector_size(&list); ++i)
        keys->emplace_back(wiq_strv_get(&list, static_cast<u32>(i)));
    wiq_strv_finalize(&list);
}

void expect_walk(ForEach* walk) {
    wiq_json_obj_put_str(walk->obj, "target", "new", nullptr);
    collect(walk->obj, &walk->keys);
    EXPECT_EQ(wiq_json_obj_foreach(walk->obj, replace_chosen, walk), 0);
    EXPECT_EQ(walk->walked, walk->keys);
    std::vector<std::string> after;
    collect(walk->obj, &after);
    EXPECT_EQ(after, walk->keys);
    for (i32 index = 0; index < static_cast<i32>(after.size()); ++index) {
        bool replaced = false;
        for (i32 now = 0; now < static_cast<i32>(after.size()); ++now)
            replaced = replaced || walk->chosen(index, now);
        if (replaced) {
            EXPECT_EQ(text_of(member(walk->obj, after[static_cast<size_t>(index)])), "\"new\"");
        }
    }
}

TEST(JsonWalkChanges, ForEachThatReplacesMembers) {
    for (const size_t key_length : {1u, 40u, 989u, 2000u}) {
        for (const bool weak : {false, true}) {
            for (const auto& fill : kFills) {
                for (const auto& replacement : kReplacements) {
                    for (const auto& choice : kChoices) {
                        if (weak && replacement.strong_only)
                            continue;
                        SCOPED_TRACE(std::string(fill.name) + ", " + replacement.name + ", " +
                                     choice.name + (weak ? ", weak" : ", strong"));
                        Tree obj(weak ? wiq_json_obj_weak_new(0, nullptr)
                                      : wiq_json_obj_new(0, nullptr));
                        for (char c = 'a'; c < 'h'; ++c)
                            fill.fill(obj.get(), std::string(key_length, c));
                        ForEach walk = {obj.get(), {}, replacement.replace, choice.chosen, {}};
                        expect_walk(&walk);
                    }
                }
            }
        }
    }
}

// A parsed object in which the parser found a duplicate key.
TEST(JsonWalkChanges, ForEachOverAParsedObject) {
    for (const auto& replacement : kReplacements) {
        SCOPED_TRACE(replacement.name);
        Tree obj(
            wiq_json_loads("{\"a\":\"1\",\"b\":{\"c\":[2]},\"a\":[1,2],\"d\":\"4\"}", 0, nullptr));
        ForEach walk = {obj.get(), {}, replacement.replace, kChoices[4].chosen, {}};
        expect_walk(&walk);
    }
}

// A member and its first node share a block, which is freed with whichever is released last. Under
// AddressSanitizer, a mistake shows as a leak or a use of freed memory.
TEST(JsonWalkChanges, MemberAndFirstNodeLeaveInAnyOrder) {
    for (const bool weak : {false, true}) {
        for (const bool node_first : {false, true}) {
            for (const bool put_back : {false, true}) {
                Tree obj(weak ? wiq_json_obj_weak_new(0, nullptr) : wiq_json_obj_new(0, nullptr));
                wiq_json_t* first = wiq_json_obj_put_str(obj.get(), "k", "first", nullptr);
                wiq_json_ref(first);
                ASSERT_NE(wiq_json_obj_put_str(obj.get(), "k", "second", nullptr), nullptr);
                EXPECT_EQ(tree::count(first), 1);
                EXPECT_EQ(tree::parent(first), nullptr);
                if (put_back) {
                    ASSERT_EQ(wiq_json_obj_put_ext(obj.get(), "k", first, nullptr), 0);
                    ASSERT_NE(wiq_json_obj_put_str(obj.get(), "k", "third", nullptr), nullptr);
                }
                if (node_first)
                    wiq_json_unref(first);
                EXPECT_EQ(text_of(obj), std::string(weak ? "w" : "") + "{\"k\":\"" +
                                            (put_back ? "third" : "second") + "\"}");
                EXPECT_EQ(wiq_json_obj_remove(obj.get(), "k"), 0);
                if (!node_first) {
                    EXPECT_STREQ(wiq_json_str_get(first), "first");
                    wiq_json_unref(first);
                }
                EXPECT_EQ(wiq_json_obj_size(obj.get()), 0);
            }
        }
    }
}

// Arrays: wiq_json_array_filter().

struct Filter {
    wiq_json_t* array;
    i32 asked = 0;
    std::function<void(i32 now)> change;
};

bool keep_odd_places(wiq_json_t* child, void* user) {
    auto* filter = static_cast<Filter*>(user);
    EXPECT_EQ(child, elem(filter->array, filter->asked));
    filter->change(filter->asked);
    return filter->asked++ % 2 == 1;
}

TEST(JsonWalkChanges, FilterWhoseCallbackReplacesElements) {
    const struct {
        const char* name;
        void (*replace)(wiq_json_t* array, i32 index);
    } replacements[] = {
        {"put",
         [](wiq_json_t* array, i32 index) {
             EXPECT_EQ(wiq_json_array_put(array, index, tree::node("[9]")), 0);
         }},
        {"swap",
         [](wiq_json_t* array, i32 index) {
             wiq_json_unref(wiq_json_array_swap(array, index, tree::node("[9]"), nullptr));
         }},
        {"ptr_put",
         [](wiq_json_t* array, i32 index) {
             const std::string ptr = "/" + std::to_string(index);
             wiq_json_t* inner = wiq_json_ptr_put_array(array, ptr.c_str(), nullptr);
             wiq_json_array_push_i64(inner, 9, nullptr);
         }},
    };
    const struct {
        const char* name;
        i32 distance;
        const char* after;
    } rows[] = {
        {"this one", 0, "[[9],[9],[9]]"},
        {"the next one", 1, "[[9],[9],[9]]"},
        // A value that is put in a position after the callback has answered for it is not passed to the
        // callback.
        {"the one before", -1, "[[9],[9],[9],[9],[9],5]"},
    };
    for (const bool weak : {false, true}) {
        for (const auto& replacement : replacements) {
            for (const auto& row : rows) {
                SCOPED_TRACE(std::string(replacement.name) + ", " + row.name +
                             (weak ? ", weak" : ", strong"));
                Tree array = make(weak ? "w[0,1,2,3,4,5]" : "[0,1,2,3,4,5]");
                Filter filter = {array.get(), 0, nullptr};
                filter.change = [&](i32 now) {
                    const i32 index = now + row.distance;
                    if (index >= 0 && index < 6)
                        replacement.replace(array.get(), index);
                };
                EXPECT_EQ(wiq_json_array_filter(array.get(), keep_odd_places, &filter), 0);
                EXPECT_EQ(filter.asked, 6);
                // A weak array drops what is in the position after the last answer.
                EXPECT_EQ(text_of(array), !weak                ? row.after
                                          : row.distance == -1 ? "w[[9],[9],5]"
                                                               : "w[[9],[9],[9]]");
            }
        }
    }
}

// A weak array of an object's members: the callback may change the members in any way.
TEST(JsonWalkChanges, FilterOfAWeakArrayWhoseCallbackChangesTheOwner) {
    const struct {
        const char* name;
        void (*change)(wiq_json_t* owner, const char* key);
    } changes[] = {
        {"nothing", [](wiq_json_t*, const char*) {}},
        {"put",
         [](wiq_json_t* owner, const char* key) { wiq_json_obj_put_null(owner, key, nullptr); }},
        {"remove", [](wiq_json_t* owner, const char* key) { wiq_json_obj_remove(owner, key); }},
        {"orphan", [](wiq_json_t* owner,
                      const char* key) { EXPECT_EQ(wiq_json_make_orphan(member(owner, key)), 0); }},
        {"swap_child",
         [](wiq_json_t* owner, const char* key) {
             EXPECT_EQ(wiq_json_swap_child(member(owner, key), tree::node("null")), 0);
         }},
        {"insert",
         [](wiq_json_t* owner, const char* key) {
             for (i32 i = 0; i < 40; ++i)
                 wiq_json_obj_put_null(owner, (key + std::to_string(i)).c_str(), nullptr);
         }},
        {"expand",
         [](wiq_json_t* owner, const char*) { EXPECT_EQ(wiq_json_jref_expand(owner), 0); }},
        {"pointer",
         [](wiq_json_t* owner, const char* key) {
             char* text = nullptr;
             EXPECT_EQ(wiq_json_ptr(member(owner, key), &text), 2);
             EXPECT_EQ("/" + std::string(key), text);
             free(text);
         }},
    };
    for (const auto& row : changes) {
        for (const i32 distance : {-1, 0, 1}) {
            SCOPED_TRACE(row.name + std::string(" at ") + std::to_string(distance));
            Tree owner = make("{\"a\":0,\"b\":@\"/a\",\"c\":2,\"d\":\"3\",\"e\":@\"/d\",\"f\":5}");
            Tree weak = make("w[]");
            const std::string keys = "abcdef";
            for (const char key : keys)
                wiq_json_array_push_ext(weak.get(), member(owner.get(), {key}), nullptr);
            Filter filter = {weak.get(), 0, nullptr};
            filter.change = [&](i32 now) {
                // Every member's key, even that of a dropped one, is intact at all times.
                for (i32 i = 0; i < 6; ++i) {
                    const char* key = wiq_json_parent_key(elem(weak.get(), i));
                    if (key != nullptr) {
                        EXPECT_EQ(key, keys.substr(static_cast<size_t>(i), 1));
                    }
                }
                if (now + distance >= 0 && now + distance < 6)
                    row.change(owner.get(),
                               keys.substr(static_cast<size_t>(now + distance), 1).c_str());
            };
            wiq_json_t* kept[] = {elem(weak.get(), 1), elem(weak.get(), 3), elem(weak.get(), 5)};
            EXPECT_EQ(wiq_json_array_filter(weak.get(), keep_odd_places, &filter), 0);
            EXPECT_EQ(filter.asked, 6);
            ASSERT_EQ(wiq_json_array_size(weak.get()), 3);
            for (i32 i = 0; i < 3; ++i)
                EXPECT_EQ(elem(weak.get(), i), kept[i]);
        }
    }
}

}  // namespace
