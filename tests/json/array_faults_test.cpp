// Arrays when allocations fail: the array is unchanged, and a child keeps its reference count.
#include <gtest/gtest.h>

#include "json/tree.h"
#include "support/alloc_faults.h"

namespace {

using tree::make;
using tree::text_of;
using tree::Tree;

// This array is full: the next element makes its block grow.
const char kFull[] = "[1,2,3]";

using Attach = i32 (*)(wiq_json_t* array, wiq_json_t* child);

TEST(JsonArrayFaults, AttachingLeavesArrayAndChildUnchanged) {
    const Attach attaches[] = {
        [](wiq_json_t* array, wiq_json_t* child) {
            u32 err = 0;
            const i32 status = wiq_json_array_push_ext(array, child, &err);
            EXPECT_EQ(static_cast<i32>(err), status);
            return status;
        },
        [](wiq_json_t* array, wiq_json_t* child) { return wiq_json_array_put(array, 3, child); },
    };
    for (const Attach attach : attaches) {
        const size_t points = SweepAllocations([&](AllocFaults& faults) {
            Tree array = make(kFull);
            wiq_json_t* child = tree::node("5");
            faults.arm();
            const i32 status = attach(array.get(), child);
            faults.disarm();
            if (faults.fired()) {
                EXPECT_EQ(status, WIQ_ERR_NO_MEMORY);
                EXPECT_EQ(text_of(array), kFull);
                EXPECT_EQ(tree::count(child), 0);
                EXPECT_EQ(tree::parent(child), nullptr);
                EXPECT_EQ(attach(array.get(), child), 0);
            }
            EXPECT_EQ(text_of(array), "[1,2,3,5]");
        });
        EXPECT_EQ(points, 2 * 1u);
    }
}

using Build = wiq_json_t* (*)(wiq_json_t*, u32*);

TEST(JsonArrayFaults, BuildersReleaseWhatTheyMade) {
    const Build builders[] = {
        [](wiq_json_t* a, u32* e) { return wiq_json_array_push_bool(a, true, e); },
        [](wiq_json_t* a, u32* e) { return wiq_json_array_push_i64(a, 1, e); },
        [](wiq_json_t* a, u32* e) { return wiq_json_array_push_u64(a, 1, e); },
        [](wiq_json_t* a, u32* e) {
            const wiq_uint128 value = {1, 1};
            return wiq_json_array_push_u128(a, &value, e);
        },
        [](wiq_json_t* a, u32* e) { return wiq_json_array_push_double(a, 1, e); },
        [](wiq_json_t* a, u32* e) { return wiq_json_array_push_obj(a, e); },
        [](wiq_json_t* a, u32* e) { return wiq_json_array_push_array(a, e); },
    };
    for (const Build build : builders) {
        const size_t points = SweepAllocations([&](AllocFaults& faults) {
            Tree array = make(kFull);
            u32 err = 0;
            faults.arm();
            const wiq_json_t* node = build(array.get(), &err);
            faults.disarm();
            EXPECT_EQ(static_cast<i32>(err), faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
            EXPECT_EQ(node == nullptr, faults.fired());
            EXPECT_EQ(wiq_json_array_size(array.get()), faults.fired() ? 3 : 4);
        });
        EXPECT_GE(points, 2 * 2u);
    }
}

TEST(JsonArrayFaults, AStringElementMayLoseItsText) {
    SweepAllocations([&](AllocFaults& faults) {
        Tree array = make(kFull);
        u32 err = 0;
        faults.arm();
        const wiq_json_t* node = wiq_json_array_push_str(array.get(), "text", &err);
        faults.disarm();
        EXPECT_EQ(static_cast<i32>(err), node != nullptr ? 0 : WIQ_ERR_NO_MEMORY);
        EXPECT_EQ(wiq_json_array_size(array.get()), node != nullptr ? 4 : 3);
    });
}

TEST(JsonArrayFaults, AFilterOfAWeakArrayCallsNothingWhenOutOfMemory) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        Tree weak = make("w[1,\"x\",2]");
        i32 asked = 0;
        faults.arm();
        const i32 status = wiq_json_array_filter(
            weak.get(),
            [](wiq_json_t* n, void* count) {
                ++*static_cast<i32*>(count);
                return wiq_json_is_int(n);
            },
            &asked);
        faults.disarm();
        EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        EXPECT_EQ(asked, faults.fired() ? 0 : 3);
        EXPECT_EQ(text_of(weak), faults.fired() ? "w[1,\"x\",2]" : "w[1,2]");
    });
    EXPECT_EQ(points, 2 * 1u);
}

TEST(JsonArrayFaults, EverythingElseNeedsNoMemory) {
    Tree array = make("[5,2,\"x\",4,1]");
    Tree child = make("3");
    AllocFaults faults(1, AllocFaults::kPersistent);
    faults.arm();
    wiq_json_t* old = wiq_json_array_swap(array.get(), 0, child.get(), nullptr);
    const wiq_json_t* found = wiq_json_array_find_str(array.get(), "x");
    const i32 filtered = wiq_json_array_filter(
        array.get(), [](wiq_json_t* n, void*) { return wiq_json_is_int(n); }, nullptr);
    wiq_json_t* last = wiq_json_array_pop_elem(array.get());
    const i32 popped = wiq_json_array_pop(array.get(), 1);
    faults.disarm();
    EXPECT_FALSE(faults.fired());
    child.release();
    EXPECT_EQ(text_of(old), "5");
    EXPECT_NE(found, nullptr);
    EXPECT_EQ(filtered, 0);
    EXPECT_EQ(text_of(last), "1");
    EXPECT_EQ(popped, 0);
    EXPECT_EQ(text_of(array), "[3,2]");
    wiq_json_unref(old);
    wiq_json_unref(last);
}

}  // namespace
