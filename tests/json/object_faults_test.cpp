// Objects when allocations fail: the object is unchanged, and a child keeps its reference count.
#include <gtest/gtest.h>

#include "json/tree.h"
#include "support/alloc_faults.h"

namespace {

using tree::make;
using tree::text_of;
using tree::Tree;

// This object is full: the next member makes its table grow.
const char kFull[] = "{\"a\":1,\"b\":2,\"c\":3}";

TEST(JsonObjFaults, PutLeavesObjectAndChildUnchanged) {
    for (const i32 references : {0, 1, 2}) {
        const size_t points = SweepAllocations([&](AllocFaults& faults) {
            Tree obj = make(kFull);
            wiq_json_t* child = tree::node("[\"x\"]");
            for (i32 i = 0; i < references; ++i) {
                wiq_json_ref(child);
            }
            u32 err = 0;
            faults.arm();
            const i32 status = wiq_json_obj_put_ext(obj.get(), "d", child, &err);
            faults.disarm();
            EXPECT_EQ(static_cast<i32>(err), status);
            if (faults.fired()) {
                EXPECT_EQ(status, WIQ_ERR_NO_MEMORY);
                EXPECT_EQ(text_of(obj), kFull);
                EXPECT_EQ(tree::count(child), references);
                EXPECT_EQ(tree::parent(child), nullptr);
                // The object accepts the child once there is memory.
                EXPECT_EQ(wiq_json_obj_put_ext(obj.get(), "d", child, nullptr), 0);
            } else {
                EXPECT_EQ(status, 0);
            }
            EXPECT_EQ(text_of(obj), "{\"a\":1,\"b\":2,\"c\":3,\"d\":[\"x\"]}");
            EXPECT_EQ(tree::count(child), references + 1);
            obj.reset();
            for (i32 i = 0; i < references; ++i) {
                wiq_json_unref(child);
            }
        });
        EXPECT_EQ(points, 2 * 2u) << "the member and the table, each in both modes";
    }
}

// A member with a long key has a block of its own, which is freed if the table cannot grow.
TEST(JsonObjFaults, NewChildrenUnderLongKeys) {
    const std::string key(500, 'k');
    const size_t points = SweepAllocations([&](AllocFaults& faults) {
        Tree obj = make(kFull);
        faults.arm();
        const wiq_json_t* child = wiq_json_obj_put_i64(obj.get(), key.c_str(), 4, nullptr);
        faults.disarm();
        EXPECT_EQ(child == nullptr, faults.fired());
        EXPECT_EQ(wiq_json_obj_size(obj.get()), faults.fired() ? 3 : 4);
    });
    EXPECT_EQ(points, 2 * 3u) << "the node, the member and the table, each in both modes";
}

TEST(JsonObjFaults, ReplacingNeedsNoMemory) {
    for (const char* text : {kFull, "w{\"a\":1,\"b\":2,\"c\":3}"}) {
        const size_t points = SweepAllocations([&](AllocFaults& faults) {
            Tree obj = make(text);
            wiq_json_t* child = tree::node("4");
            faults.arm();
            const i32 status = wiq_json_obj_put_ext(obj.get(), "b", child, nullptr);
            faults.disarm();
            EXPECT_EQ(status, 0);
            EXPECT_EQ(text_of(wiq_json_obj_get_ext(obj.get(), "b", 0, nullptr)), "4");
        });
        EXPECT_EQ(points, 0u);
    }
}

using Build = wiq_json_t* (*)(wiq_json_t*, u32*);

const struct {
    const char* name;
    Build build;
} kBuilders[] = {
    {"null", [](wiq_json_t* o, u32* e) { return wiq_json_obj_put_null(o, "d", e); }},
    {"bool", [](wiq_json_t* o, u32* e) { return wiq_json_obj_put_bool(o, "d", true, e); }},
    {"i64", [](wiq_json_t* o, u32* e) { return wiq_json_obj_put_i64(o, "d", 1, e); }},
    {"u64", [](wiq_json_t* o, u32* e) { return wiq_json_obj_put_u64(o, "d", 1, e); }},
    {"u128",
     [](wiq_json_t* o, u32* e) {
         const wiq_uint128 value = {1, 1};
         return wiq_json_obj_put_u128(o, "d", &value, e);
     }},
    {"double", [](wiq_json_t* o, u32* e) { return wiq_json_obj_put_double(o, "d", 1, e); }},
    {"reference", [](wiq_json_t* o, u32* e) { return wiq_json_obj_put_jref(o, "d", "/a", e); }},
    {"object", [](wiq_json_t* o, u32* e) { return wiq_json_obj_put_obj(o, "d", e); }},
    {"array", [](wiq_json_t* o, u32* e) { return wiq_json_obj_put_array(o, "d", e); }},
    {"get or create object",
     [](wiq_json_t* o, u32* e) { return wiq_json_obj_getd_obj(o, "d", e); }},
    {"get or create array",
     [](wiq_json_t* o, u32* e) { return wiq_json_obj_getd_array(o, "d", e); }},
};

TEST(JsonObjFaults, BuildersReplaceWithTheNodeAlone) {
    for (const auto& row : kBuilders) {
        if (std::string(row.name).find("get or create") == 0) {
            continue;
        }
        SCOPED_TRACE(row.name);
        const size_t points = SweepAllocations([&](AllocFaults& faults) {
            Tree obj = make("{\"a\":1,\"d\":\"old\"}");
            u32 err = 0;
            faults.arm();
            const wiq_json_t* node = row.build(obj.get(), &err);
            faults.disarm();
            EXPECT_EQ(static_cast<i32>(err), faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
            EXPECT_EQ(node == nullptr, faults.fired());
            if (faults.fired()) {
                EXPECT_EQ(text_of(obj), "{\"a\":1,\"d\":\"old\"}");
            } else {
                EXPECT_EQ(wiq_json_obj_get_ext(obj.get(), "d", 0, nullptr), node);
                EXPECT_EQ(tree::count(node), 1);
            }
        });
        EXPECT_EQ(points, 2 * 1u) << "the node";
    }
}

// The block that a member and its first node share is freed with whichever of them is released last.
TEST(JsonObjFaults, MemberAndFirstNodeLeaveInAnyOrder) {
    for (const bool node_first : {false, true}) {
        const long before = live_blocks();
        Tree obj = make("{}");
        wiq_json_t* first = wiq_json_obj_put_str(obj.get(), "k", "first", nullptr);
        wiq_json_ref(first);
        const long with_first = live_blocks();
        ASSERT_NE(wiq_json_obj_put_i64(obj.get(), "k", 2, nullptr), nullptr);
        EXPECT_EQ(live_blocks(), with_first + 1);
        if (node_first) {
            wiq_json_unref(first);
            EXPECT_EQ(live_blocks(), with_first + 1) << "the member's";
            EXPECT_EQ(wiq_json_obj_remove(obj.get(), "k"), 0);
            EXPECT_EQ(live_blocks(), with_first - 1);
        } else {
            EXPECT_EQ(wiq_json_obj_remove(obj.get(), "k"), 0);
            EXPECT_EQ(live_blocks(), with_first) << "the node's";
            EXPECT_STREQ(wiq_json_str_get(first), "first");
            wiq_json_unref(first);
            EXPECT_EQ(live_blocks(), with_first - 1);
        }
        obj.reset();
        EXPECT_EQ(live_blocks(), before);
    }
}

// When a member's first value, a large text, is released, its memory is freed although the member remains.
TEST(JsonObjFaults, ALargeTextHasABlockOfItsOwn) {
    Tree obj = make("{}");
    const std::string text(100000, 'x');
    ASSERT_NE(wiq_json_obj_put_str(obj.get(), "k", text.c_str(), nullptr), nullptr);
    const long before = live_blocks();
    ASSERT_NE(wiq_json_obj_put_i64(obj.get(), "k", 2, nullptr), nullptr);
    EXPECT_EQ(live_blocks(), before) << "one block allocated, one freed";
}

TEST(JsonObjFaults, BuildersReleaseWhatTheyMade) {
    for (const auto& row : kBuilders) {
        SCOPED_TRACE(row.name);
        const size_t points = SweepAllocations([&](AllocFaults& faults) {
            Tree obj = make(kFull);
            u32 err = 0;
            faults.arm();
            const wiq_json_t* node = row.build(obj.get(), &err);
            faults.disarm();
            EXPECT_EQ(static_cast<i32>(err), faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
            EXPECT_EQ(node == nullptr, faults.fired());
            EXPECT_EQ(wiq_json_obj_size(obj.get()), faults.fired() ? 3 : 4);
            EXPECT_EQ(wiq_json_obj_has_key(obj.get(), "d"), !faults.fired());
        });
        EXPECT_EQ(points, 2 * 2u) << "the member with its node, and the table";
    }
}

TEST(JsonObjFaults, AStringMemberMayLoseItsText) {
    SweepAllocations([&](AllocFaults& faults) {
        Tree obj = make(kFull);
        u32 err = 0;
        faults.arm();
        wiq_json_t* node = wiq_json_obj_put_str(obj.get(), "d", "text", &err);
        faults.disarm();
        EXPECT_EQ(static_cast<i32>(err), node != nullptr ? 0 : WIQ_ERR_NO_MEMORY);
        EXPECT_EQ(wiq_json_obj_size(obj.get()), node != nullptr ? 4 : 3);
        if (!faults.fired()) {
            EXPECT_STREQ(wiq_json_str_get(node), "text");
        }
    });
}

// An object in a document gets its first table, but there is no memory for the child. Releasing the document frees
// the table, which is not in its record.
TEST(JsonObjFaults, ATableWithoutAChildIsReleased) {
    for (const bool builds : {true, false}) {
        SweepAllocations([&](AllocFaults& faults) {
            const Tree root(wiq_json_loads("{\"empty\":{},\"other\":[1]}", 0, nullptr));
            wiq_json_t* empty = wiq_json_obj_get_ext(root.get(), "empty", 0, nullptr);
            const Tree child = make("[\"x\"]");
            wiq_json_ref(child.get());
            faults.arm();
            if (builds)
                wiq_json_obj_put_null(empty, "a", nullptr);
            else
                wiq_json_obj_put_ext(empty, "a", child.get(), nullptr);
            faults.disarm();
            EXPECT_EQ(wiq_json_obj_size(empty), faults.fired() ? 0 : 1);
        });
    }
}

TEST(JsonObjFaults, KeysLeaveTheVectorUnchanged) {
    SweepAllocations([&](AllocFaults& faults) {
        Tree obj = make(kFull);
        wiq_strv keys;
        wiq_strv_init(&keys);
        wiq_strv_push(&keys, "before");
        faults.arm();
        const i32 result = wiq_json_obj_keys(obj.get(), &keys);
        faults.disarm();
        EXPECT_EQ(result, faults.fired() ? WIQ_ERR_NO_MEMORY : 3);
        EXPECT_EQ(wiq_vector_size(&keys), faults.fired() ? 1 : 4);
        EXPECT_STREQ(wiq_strv_get(&keys, 0), "before");
        wiq_strv_finalize(&keys);
    });
}

TEST(JsonObjFaults, ReadingAndRemovingNeedNoMemory) {
    Tree obj = make("{\"a\":1,\"b\":2,\"c\":@\"/d\",\"d\":@\"/b\"}");
    AllocFaults faults(1, AllocFaults::kPersistent);
    faults.arm();
    const i64 followed = wiq_json_obj_get_i64(obj.get(), "c", nullptr);
    const i64 value = wiq_json_obj_get_i64(obj.get(), "b", nullptr);
    const i32 removed = wiq_json_obj_remove(obj.get(), "a");
    const i32 walked = wiq_json_obj_foreach(
        obj.get(), [](const char*, wiq_json_t*, void*) { return true; }, nullptr);
    faults.disarm();
    EXPECT_FALSE(faults.fired());
    EXPECT_EQ(followed, 2);
    EXPECT_EQ(value, 2);
    EXPECT_EQ(removed, 0);
    EXPECT_EQ(walked, 0);
    EXPECT_EQ(text_of(obj), "{\"b\":2,\"c\":@\"/d\",\"d\":@\"/b\"}");
}

}  // namespace

namespace {

// A key that is too long for its member and node to share a block.
TEST(JsonObjFaults, LongKeys) {
    const std::string key(3000, 'k');
    const size_t points = SweepAllocations([&key](AllocFaults& faults) {
        Tree obj(wiq_json_obj_new(0, nullptr));
        u32 err = 0;
        faults.arm();
        const wiq_json_t* node = wiq_json_obj_put_i64(obj.get(), key.c_str(), 7, &err);
        faults.disarm();
        EXPECT_EQ(node == nullptr, faults.fired());
        EXPECT_EQ(static_cast<i32>(err), faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        EXPECT_EQ(wiq_json_obj_size(obj.get()), faults.fired() ? 0 : 1);
    });
    EXPECT_EQ(points, 2 * 3u) << "the node, the member and the table";
    SweepAllocations([&key](AllocFaults& faults) {
        Tree obj(wiq_json_obj_new(0, nullptr));
        ASSERT_NE(wiq_json_obj_put_i64(obj.get(), key.c_str(), 7, nullptr), nullptr);
        u32 err = 0;
        faults.arm();
        wiq_json_t* copy = wiq_json_copy(obj.get(), &err);
        faults.disarm();
        EXPECT_EQ(copy == nullptr, faults.fired());
        wiq_json_unref(copy);
    });
}

}  // namespace
