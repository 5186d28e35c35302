// Moving nodes when allocations fail: only the placeholder of an array element needs memory.
#include <gtest/gtest.h>

#include "json/tree.h"
#include "support/alloc_faults.h"

namespace {

using tree::make;
using tree::text_of;
using tree::Tree;

TEST(JsonOrphanFaults, AnInnerElementStaysIfThereIsNoPlaceholder) {
    const size_t points = SweepAllocations([](AllocFaults& faults) {
        Tree array = make("[0,1,2]");
        wiq_json_t* node = wiq_json_array_get_ext(array.get(), 1, 0, nullptr);
        u32 err = 0;
        faults.arm();
        const i32 status = wiq_json_make_orphan_ex(node, &err);
        faults.disarm();
        EXPECT_EQ(static_cast<i32>(err), status);
        if (faults.fired()) {
            EXPECT_EQ(status, WIQ_ERR_NO_MEMORY);
            EXPECT_EQ(text_of(array), "[0,1,2]");
            EXPECT_EQ(tree::count(node), 1);
            EXPECT_EQ(tree::parent(node), array.get());
            return;
        }
        EXPECT_EQ(status, 0);
        EXPECT_EQ(text_of(array), "[0,null,2]");
        wiq_json_unref(node);
    });
    EXPECT_EQ(points, 2 * 1u);
}

TEST(JsonOrphanFaults, OtherMovesNeedNoMemory) {
    Tree root = make("{\"a\":1,\"b\":2,\"c\":[3,4,6]}");
    Tree replacement = make("5");
    wiq_json_t* a = wiq_json_obj_get_ext(root.get(), "a", 0, nullptr);
    wiq_json_t* list = wiq_json_obj_get_array(root.get(), "c", nullptr);
    wiq_json_t* inner = wiq_json_array_get_ext(list, 0, 0, nullptr);
    wiq_json_t* last = wiq_json_array_get_ext(list, 2, 0, nullptr);
    wiq_json_t* b = wiq_json_obj_get_ext(root.get(), "b", 0, nullptr);
    Tree other = make("7");
    AllocFaults faults(1, AllocFaults::kPersistent);
    faults.arm();
    const i32 orphaned = wiq_json_make_orphan(a);
    const i32 swapped = wiq_json_swap_child(inner, replacement.get());
    const i32 popped = wiq_json_make_orphan(last);
    const i32 member_swapped = wiq_json_swap_child(b, other.get());
    faults.disarm();
    EXPECT_FALSE(faults.fired());
    replacement.release();
    EXPECT_EQ(orphaned, 0);
    EXPECT_EQ(swapped, 0);
    EXPECT_EQ(popped, 0);
    EXPECT_EQ(member_swapped, 0);
    other.release();
    wiq_json_unref(b);
    EXPECT_EQ(text_of(root), "{\"b\":7,\"c\":[5,4]}");
    for (wiq_json_t* node : {a, inner, last}) {
        EXPECT_EQ(tree::count(node), 0);
        wiq_json_unref(node);
    }
}

}  // namespace
