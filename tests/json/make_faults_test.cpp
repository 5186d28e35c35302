// Constructors when allocations fail.
#include <gtest/gtest.h>

#include "json/tree.h"
#include "support/alloc_faults.h"

namespace {

using Constructor = wiq_json_t* (*)(u32* err);

const struct {
    const char* name;
    Constructor make;
    size_t allocations;
} kConstructors[] = {
    {"null", [](u32* err) { return wiq_json_null_new(err); }, 1},
    {"bool", [](u32* err) { return wiq_json_bool_new(true, err); }, 1},
    {"i64", [](u32* err) { return wiq_json_i64_new(1, err); }, 1},
    {"u64", [](u32* err) { return wiq_json_u64_new(1, err); }, 1},
    {"u128",
     [](u32* err) {
         const wiq_uint128 value = {1, 1};
         return wiq_json_u128_new(&value, err);
     },
     1},
    {"double", [](u32* err) { return wiq_json_double_new(1, err); }, 1},
    {"reference", [](u32* err) { return wiq_json_jref_new("#/a", err); }, 1},
    {"object", [](u32* err) { return wiq_json_obj_new(5, err); }, 1},
    {"large object", [](u32* err) { return wiq_json_obj_new(49, err); }, 2},
    {"weak object", [](u32* err) { return wiq_json_obj_weak_new(49, err); }, 2},
    {"empty object", [](u32* err) { return wiq_json_obj_new(0, err); }, 1},
    {"empty array", [](u32* err) { return wiq_json_array_new(0, err); }, 1},
    {"array", [](u32* err) { return wiq_json_array_new(5, err); }, 1},
    {"large array", [](u32* err) { return wiq_json_array_new(65, err); }, 2},
    {"weak array", [](u32* err) { return wiq_json_array_weak_new(65, err); }, 2},
};

TEST(JsonNewFaults, ReturnNullAndSetTheStatus) {
    for (const auto& row : kConstructors) {
        SCOPED_TRACE(row.name);
        const size_t points = SweepAllocations([&](AllocFaults& faults) {
            u32 err = 0;
            faults.arm();
            wiq_json_t* node = row.make(&err);
            faults.disarm();
            EXPECT_EQ(static_cast<i32>(err), faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
            EXPECT_EQ(node == nullptr, faults.fired());
            wiq_json_unref(node);
        });
        EXPECT_EQ(points, 2 * row.allocations);
    }
}

TEST(JsonNewFaults, AStringWithoutMemoryForItsTextIsStillANode) {
    int without_text = 0;
    int none = 0;
    SweepAllocations([&](AllocFaults& faults) {
        u32 err = 0;
        faults.arm();
        wiq_json_t* node = wiq_json_str_new("text", &err);
        faults.disarm();
        if (node == nullptr) {
            EXPECT_TRUE(faults.fired());
            EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_NO_MEMORY);
            ++none;
            return;
        }
        EXPECT_EQ(err, 0u);
        EXPECT_TRUE(wiq_json_is_str(node));
        if (faults.fired()) {
            EXPECT_EQ(wiq_json_str_get(node), nullptr);
            ++without_text;
        } else {
            EXPECT_STREQ(wiq_json_str_get(node), "text");
        }
        wiq_json_unref(node);
    });
    EXPECT_EQ(without_text, 1);
    EXPECT_EQ(none, 1);
}

TEST(JsonNewFaults, AStringWithoutATextIsAnOrdinaryValue) {
    AllocFaults faults(1, AllocFaults::kTransient);
    faults.arm();
    tree::Tree bare(wiq_json_str_new("text", nullptr));
    faults.disarm();
    ASSERT_NE(bare, nullptr);
    ASSERT_EQ(wiq_json_str_get(bare.get()), nullptr);

    tree::Tree empty = tree::make("\"\"");
    EXPECT_FALSE(wiq_json_equal(bare.get(), empty.get()));
    EXPECT_FALSE(wiq_json_equal(empty.get(), bare.get()));
    tree::Tree copy(wiq_json_copy(bare.get(), nullptr));
    EXPECT_EQ(wiq_json_str_get(copy.get()), nullptr);
    EXPECT_TRUE(wiq_json_equal(bare.get(), copy.get()));
    tree::Tree array = tree::make("[1]");
    wiq_json_array_push_ext(array.get(), copy.release(), nullptr);
    EXPECT_EQ(wiq_json_array_find_str(array.get(), ""), nullptr);
    EXPECT_NE(wiq_json_array_find(array.get(), bare.get()), nullptr);
}

}  // namespace
