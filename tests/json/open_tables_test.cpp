// The parser's memory for open containers: documents whose open containers outgrow it again and again,
// compared with trees that are built by calls.
#include <gtest/gtest.h>

#include "json/open_tables.h"
#include "json/tree.h"
#include "support/alloc_faults.h"

namespace {

using tree::text_of;
using tree::Tree;

// Objects in arrays in objects, each container with `width` children of which the middle one goes on.
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

TEST(OpenTables, TreesAreThoseOfCalls) {
    for (const auto& [depth, width] :
         {std::pair{1, 0}, {2, 1}, {3, 2}, {40, 3}, {9, 100}, {7, 700}, {3, 5000}, {300, 9}}) {
        const Twins twins = nested(depth, width);
        Tree built(twins.built);
        Tree parsed(wiq_json_loads(twins.text.c_str(), 0, nullptr));
        ASSERT_NE(parsed, nullptr) << depth << " deep, " << width << " wide";
        EXPECT_EQ(text_of(parsed), text_of(built));
        EXPECT_EQ(keys_in_walking_order(parsed.get()), keys_in_walking_order(built.get()));
    }
}

TEST(OpenTables, ParsedContainersGrowOn) {
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

TEST(OpenTables, AbandonedWhereverTheTextEnds) {
    const Twins twins = nested(6, 5);
    const std::string& whole = twins.text;
    wiq_json_unref(twins.built);
    for (size_t length = 0; length < whole.size(); ++length) {
        wiq_json_load_error error = {};
        EXPECT_EQ(wiq_json_loads(whole.substr(0, length).c_str(), 0, &error), nullptr);
        EXPECT_NE(error.status, 0) << length;
    }
}

TEST(OpenTables, EveryAllocationWhileTheyGrow) {
    const Twins twins = nested(3, 700);
    wiq_json_unref(twins.built);
    // Only now and then, or the sweep takes minutes: the tables grow at a few of some two thousand.
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

// Fails every allocation of loading a text, from the stretch's own to the containers'.
void sweep_load(const std::string& text) {
    SweepAllocations([&text](AllocFaults& faults) {
        wiq_json_load_error error = {};
        faults.arm();
        wiq_json_t* node = wiq_json_loads(text.c_str(), 0, &error);
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

// The stretch holds 1024 places without memory of its own; each of these needs the next one for something
// else.
TEST(OpenTables, EveryWayToRunOut) {
    const std::string long_key(3000, 'k');
    sweep_load("[" + nulls(1100) + "null]");
    sweep_load("[" + nulls(1023) + "{\"a\":1}]");
    sweep_load("[" + nulls(1023) + "{\"" + long_key + "\":1}]");
    sweep_load("[" + nulls(1020) + "{\"a\":1,\"b\":2,\"c\":3,\"d\":4}]");
    sweep_load("[" + nulls(1020) + "{\"a\":1,\"b\":2,\"c\":3,\"" + long_key + "\":4}]");
    sweep_load("{\"" + long_key + "\":{\"$ref\":\"#\"},\"b\":[\"\\n\"]}");
}

// More at once than twice what there is.
TEST(OpenTables, OneTableOutgrowsTheRest) {
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
