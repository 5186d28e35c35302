// The containers that the parser has open: documents of all widths and depths, compared with trees that are
// built by calls, and duplicate keys.
#include <gtest/gtest.h>

#include "json/read/open_containers.h"
#include "json/tree.h"
#include "support/alloc_faults.h"

namespace {

using tree::text_of;
using tree::Tree;

// A document of objects in arrays in objects, as text and built by calls. Each container has `width`
// children, and the middle one contains the next level.
struct Twins {
    std::string text;
    wiq_json_t* built;
};

Twins nested(int depth, int width) {
    if (depth == 0)
        return {"7", wiq_json_i64_new(7, nullptr)};
    const bool object = depth % 2 == 0;
    Twins twins = {object ? "{" : "[",
                   object ? wiq_json_obj_new(0, nullptr) : wiq_json_array_new(0, nullptr)};
    for (int i = 0; i < width; ++i) {
        Twins child =
            i == width / 2 ? nested(depth - 1, width) : Twins{"null", wiq_json_null_new(nullptr)};
        const std::string key = "k" + std::to_string(i);
        if (object)
            wiq_json_obj_put_ext(twins.built, key.c_str(), child.built, nullptr);
        else
            wiq_json_array_push_ext(twins.built, child.built, nullptr);
        twins.text += (i == 0 ? "" : ",") + (object ? "\"" + key + "\":" : "") + child.text;
    }
    twins.text += object ? "}" : "]";
    return twins;
}

void keep_key(std::vector<std::string>* keys, const wiq_json_t* node) {
    if (wiq_json_is_obj(node)) {
        wiq_json_obj_foreach(
            node,
            [](const char* key, wiq_json_t* child, void* user) {
                auto* all = static_cast<std::vector<std::string>*>(user);
                all->push_back(key);
                keep_key(all, child);
                return true;
            },
            keys);
    }
    for (i32 i = 0; i < wiq_json_array_size(node); ++i)
        keep_key(keys, wiq_json_array_get_ext(node, i, 0, nullptr));
}

std::vector<std::string> keys_in_walking_order(const wiq_json_t* node) {
    std::vector<std::string> keys;
    keep_key(&keys, node);
    return keys;
}

// Returns how many nodes below this one do not know their parent and their position in it.
i32 badly_linked(const wiq_json_t* node) {
    i32 bad = 0;
    for (i32 i = 0; i < wiq_json_array_size(node); ++i) {
        const wiq_json_t* child = wiq_json_array_get_ext(node, i, 0, nullptr);
        bad += child->parent != node || wiq_json_parent_index(child) != i;
        bad += badly_linked(child);
    }
    struct Walk {
        const wiq_json_t* node;
        i32 bad;
    } walk = {node, 0};
    if (wiq_json_is_obj(node)) {
        wiq_json_obj_foreach(
            node,
            [](const char* key, wiq_json_t* child, void* user) {
                auto* const at = static_cast<Walk*>(user);
                at->bad += child->parent != at->node || wiq_json_parent_key(child) != key;
                at->bad += badly_linked(child);
                return true;
            },
            &walk);
    }
    return bad + walk.bad;
}

TEST(OpenContainers, TreesEqualThoseBuiltByCalls) {
    for (const auto& [depth, width] :
         {std::pair{1, 0}, {2, 1}, {3, 2}, {40, 3}, {9, 100}, {7, 700}, {3, 5000}, {300, 9}}) {
        const Twins twins = nested(depth, width);
        Tree built(twins.built);
        Tree parsed(wiq_json_loads(twins.text.c_str(), 0, nullptr));
        ASSERT_NE(parsed, nullptr) << depth << " deep, " << width << " wide";
        EXPECT_EQ(text_of(parsed), text_of(built));
        EXPECT_EQ(keys_in_walking_order(parsed.get()), keys_in_walking_order(built.get()));
        EXPECT_EQ(badly_linked(parsed.get()), 0) << depth << " deep, " << width << " wide";
    }
}

TEST(OpenContainers, ParsedContainersGrowOn) {
    Tree root(wiq_json_loads("{\"a\":[1],\"b\":{\"c\":2},\"d\":[],\"e\":{}}", 0, nullptr));
    ASSERT_NE(root, nullptr);
    for (const char* key : {"a", "d"}) {
        wiq_json_t* array = wiq_json_obj_get_array(root.get(), key, nullptr);
        const i32 before = wiq_json_array_size(array);
        for (i64 i = 0; i < 100; ++i)
            ASSERT_NE(wiq_json_array_push_i64(array, i, nullptr), nullptr);
        EXPECT_EQ(wiq_json_array_size(array), before + 100);
    }
    for (const char* key : {"b", "e"}) {
        wiq_json_t* obj = wiq_json_obj_get_obj(root.get(), key, nullptr);
        const i32 before = wiq_json_obj_size(obj);
        for (i64 i = 0; i < 100; ++i)
            ASSERT_NE(wiq_json_obj_put_i64(obj, std::to_string(i).c_str(), i, nullptr), nullptr);
        EXPECT_EQ(wiq_json_obj_size(obj), before + 100);
    }
}

TEST(OpenContainers, AbandonedWhereverTheTextEnds) {
    const Twins twins = nested(6, 5);
    const std::string& whole = twins.text;
    wiq_json_unref(twins.built);
    for (size_t length = 0; length < whole.size(); ++length) {
        wiq_json_load_error error = {};
        EXPECT_EQ(wiq_json_loads(whole.substr(0, length).c_str(), 0, &error), nullptr);
        EXPECT_NE(error.status, 0) << length;
    }
}

TEST(OpenContainers, EveryAllocationWhileTheyGrow) {
    const Twins twins = nested(3, 700);
    wiq_json_unref(twins.built);
    // Try only every 13th allocation, or the sweep takes minutes: the list grows at only a few of about two
    // thousand.
    for (size_t nth = 1; nth < 2100; nth += 13) {
        AllocFaults faults(nth, AllocFaults::kTransient);
        wiq_json_load_error error = {};
        faults.arm();
        wiq_json_t* node = wiq_json_loads(twins.text.c_str(), 0, &error);
        faults.disarm();
        EXPECT_EQ(node == nullptr, faults.fired());
        EXPECT_EQ(error.status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        wiq_json_unref(node);
    }
}

}  // namespace

namespace {

// Fails every allocation of loading a text, from those of the list to those of the containers.
void sweep_load(const std::string& text, i32 flags = 0) {
    SweepAllocations([&text, flags](AllocFaults& faults) {
        wiq_json_load_error error = {};
        faults.arm();
        wiq_json_t* node = wiq_json_loads(text.c_str(), flags, &error);
        faults.disarm();
        EXPECT_EQ(node == nullptr, faults.fired());
        EXPECT_EQ(error.status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        wiq_json_unref(node);
    });
}

std::string nulls(int count) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += "null,";
    return text;
}

// 2048 elements, 1024 members and 32 containers fit in the inline storage. In each of these texts, the next one
// needs memory for something else.
TEST(OpenContainers, EveryWayToRunOutOfMemory) {
    const std::string long_key(3000, 'k');
    sweep_load("[" + nulls(2100) + "null]");
    sweep_load("[" + nulls(2048) + "{\"a\":1}]");
    sweep_load("[" + nulls(2047) + "{\"a\":1}]");
    sweep_load("[" + nulls(2048) + "{\"" + long_key + "\":1}]");
    sweep_load("[" + nulls(2046) + "{\"a\":1,\"b\":2,\"c\":3,\"d\":4}]");
    sweep_load("[" + nulls(2046) + "{\"a\":1,\"b\":2,\"c\":3,\"" + long_key + "\":4}]");
    sweep_load("[" + nulls(2048) + "[]]");
    std::string members;
    for (int i = 0; i < 1024; ++i)
        members += "\"" + std::to_string(i) + "\":null,";
    sweep_load("{" + members + "\"last\":null}");
    sweep_load("{" + members + "\"last\":{}}");
    sweep_load("{" + members + "\"" + long_key + "\":[]}");
    sweep_load(std::string(40, '[') + std::string(40, ']'));
    std::string deep = "1";
    for (int i = 0; i < 40; ++i)
        deep = "{\"" + long_key + "\":" + deep + "}";
    sweep_load(deep);
    // As above, with keys that must be copied, each to a member of its own.
    deep = "1";
    for (int i = 0; i < 40; ++i)
        deep = "{\"\\n" + long_key + "\":" + deep + "}";
    sweep_load(deep);
    sweep_load("{\"" + long_key + "\":{\"$ref\":\"#\"},\"b\":[\"\\n\"]}");
}

// One table needs more than twice the current room at once.
TEST(OpenContainers, OneTableOutgrowsTheRest) {
    std::string text = "[null,null,{";
    for (int i = 0; i < 3200; ++i)
        text += "\"" + std::to_string(i) + "\":0,";
    Tree root(wiq_json_loads((text + "\"last\":1}]").c_str(), 0, nullptr));
    ASSERT_NE(root, nullptr);
    const wiq_json_t* obj = wiq_json_array_get_ext(root.get(), 2, 0, nullptr);
    EXPECT_EQ(wiq_json_obj_size(obj), 3201);
    EXPECT_EQ(wiq_json_obj_get_i64(obj, "last", nullptr), 1);
}

}  // namespace

namespace {

// Returns an object of `count` members, built by calls and as text; `key_of` returns the i-th key.
template <class KeyOf>
Twins object_of(int count, KeyOf key_of) {
    Twins twins = {"{", wiq_json_obj_new(0, nullptr)};
    for (int i = 0; i < count; ++i) {
        const std::string key = key_of(i);
        wiq_json_obj_put_i64(twins.built, key.c_str(), i, nullptr);
        twins.text += (i == 0 ? "\"" : ",\"") + key + "\":" + std::to_string(i);
    }
    twins.text += "}";
    return twins;
}

void expect_twins(const Twins& twins) {
    Tree built(twins.built);
    Tree parsed(wiq_json_loads(twins.text.c_str(), 0, nullptr));
    ASSERT_NE(parsed, nullptr) << twins.text;
    EXPECT_EQ(text_of(parsed), text_of(built));
    EXPECT_EQ(keys_in_walking_order(parsed.get()), keys_in_walking_order(built.get()));
    for (const std::string& key : keys_in_walking_order(built.get())) {
        const wiq_json_t* member = wiq_json_obj_get_ext(parsed.get(), key.c_str(), 0, nullptr);
        ASSERT_NE(member, nullptr) << key;
        EXPECT_EQ(tree::parent(member), parsed.get());
        EXPECT_EQ(tree::count(member), 1);
        EXPECT_STREQ(wiq_json_parent_key(member), key.c_str());
    }
}

// A table that is built at the end is the same as one that has grown.
TEST(OpenContainers, TablesOfEverySizeEqualGrownOnes) {
    for (int count = 0; count < 220; ++count)
        expect_twins(object_of(count, [](int i) { return "key " + std::to_string(i * 7919); }));
    expect_twins(object_of(3000, [](int i) { return std::to_string(i); }));
}

// Each duplicate replaces the previous value, in its position.
TEST(OpenContainers, DuplicateKeys) {
    for (const int keys : {1, 2, 3, 5, 24, 48, 49, 50, 100}) {
        for (const int count : {2, 3, 4, 7, 48, 49, 97, 98, 300})
            expect_twins(
                object_of(count, [keys](int i) { return std::to_string(i * i % 101 % keys); }));
    }
}

TEST(OpenContainers, DuplicateKeysWhenOutOfMemory) {
    const std::string long_key(1500, 'k');
    for (const int count : {3, 60}) {
        const Twins twins =
            object_of(count, [&](int i) { return i % 5 == 4 ? long_key : std::to_string(i % 40); });
        wiq_json_unref(twins.built);
        sweep_load(twins.text);
        sweep_load("[" + twins.text + ",{\"a\":" + twins.text + "}]");
    }
    sweep_load("{\"$ref\":\"#/a\",\"$ref\":\"#\"}");
    sweep_load("{\"a\":{\"$ref\":\"#/a\",\"$ref\":\"#\"}}");
    sweep_load("{\"" + long_key + "\":{\"$ref\":\"#/a\",\"$ref\":\"#\"}}");
    sweep_load("{\"\\n" + long_key + "\":{\"$ref\":\"#/a\",\"$ref\":\"#\"}}");
    sweep_load("{\"\\n\":{\"$ref\":\"#/a\",\"$ref\":\"#\"}}");
}

TEST(OpenContainers, TheLastOfDuplicateKeysDecidesWhetherItIsAReference) {
    for (const char* text :
         {"{\"$ref\":\"#\"}", "{\"$ref\":\"#/a\",\"$ref\":\"#\"}", "{\"$ref\":1,\"$ref\":\"#\"}"}) {
        Tree root(wiq_json_loads(text, 0, nullptr));
        EXPECT_EQ(text_of(root), "@\"#\"") << text;
        Tree inside(
            wiq_json_loads((std::string("{\"\\u0061\":[") + text + "]}").c_str(), 0, nullptr));
        EXPECT_EQ(text_of(inside), "{\"a\":[@\"#\"]}") << text;
    }
    Tree no(wiq_json_loads("{\"$ref\":\"#\",\"$ref\":1}", 0, nullptr));
    EXPECT_EQ(text_of(no), "{\"$ref\":1}");
}

// Objects whose keys must be unique, keys in memory that is reused, and both.
TEST(OpenContainers, ContainersThatAreMadeBeforeTheyClose) {
    const i32 unique = static_cast<i32>(WIQ_JSON_REJECT_DUPLICATES);
    const std::string long_key(1500, 'k');
    for (const std::string& key :
         {std::string("a"), std::string("\\n"), long_key, "\\n" + long_key}) {
        for (const char* value : {"{}", "[]", "{\"b\":1}", "[1,[2]]", "{\"$ref\":\"#\"}",
                                  "{\"b\":{\"c\":{\"d\":[{}]}}}"}) {
            const std::string text = "{\"" + key + "\":" + value + ",\"z\":[" + value + "]}";
            Tree usual(wiq_json_loads(text.c_str(), 0, nullptr));
            Tree checked(wiq_json_loads(text.c_str(), unique, nullptr));
            ASSERT_NE(usual, nullptr) << text;
            EXPECT_EQ(text_of(usual), text_of(checked));
            sweep_load(text);
            sweep_load(text, unique);
            for (size_t length = 0; length < text.size(); length += 1 + text.size() / 60)
                EXPECT_EQ(wiq_json_loads(text.substr(0, length).c_str(), unique, nullptr), nullptr);
        }
    }
}

}  // namespace
