// The getters of arrays: indices from both ends, references, the size.
#include <gtest/gtest.h>

#include "json/tree.h"

namespace {

using tree::count;
using tree::elem;
using tree::make;
using tree::status;
using tree::text_of;
using tree::Tree;

TEST(JsonArrayGet, CountsFromBothEnds) {
    Tree array = make("[10,20,30]");
    const struct {
        i32 index;
        i64 value;  // 0 means none
    } rows[] = {{0, 10},  {1, 20},  {2, 30},  {3, 0},  {INT32_MAX, 0},
                {-1, 30}, {-2, 20}, {-3, 10}, {-4, 0}, {INT32_MIN, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.index);
        u32 err = 0;
        wiq_json_t* node = wiq_json_array_get_ext(array.get(), row.index, 0, &err);
        EXPECT_EQ(status(err), row.value != 0 ? 0 : WIQ_ERR_INDEX_OUT_OF_RANGE);
        ASSERT_EQ(node != nullptr, row.value != 0);
        if (node != nullptr) {
            EXPECT_EQ(wiq_json_i64_get(node), row.value);
            EXPECT_EQ(count(node), 1);
        }
        EXPECT_EQ(wiq_json_array_get_ext(array.get(), row.index, 0, nullptr), node);
    }
    u32 err = 0;
    EXPECT_EQ(wiq_json_array_get_ext(make("[]").get(), -1, 0, &err), nullptr);
    EXPECT_EQ(status(err), WIQ_ERR_INDEX_OUT_OF_RANGE);
    EXPECT_EQ(wiq_json_array_get_ext(array.get(), 0, 0, &err), nullptr) << "chained";
    EXPECT_EQ(status(err), WIQ_ERR_INDEX_OUT_OF_RANGE);
    err = 0;
    EXPECT_EQ(wiq_json_array_get_ext(nullptr, 0, 0, &err), nullptr);
    EXPECT_EQ(status(err), WIQ_ERR_INVALID_ARG);
    err = 0;
    EXPECT_EQ(wiq_json_array_get_ext(make("{}").get(), 0, 0, &err), nullptr);
    EXPECT_EQ(status(err), WIQ_ERR_INVALID_ARG);
}

TEST(JsonArrayGet, FollowsReferencesOnlyWhenAsked) {
    Tree array = make("[5,@\"/0\",@\"/9\",@\"/3\"]");
    u32 err = 0;
    EXPECT_EQ(text_of(wiq_json_array_get_ext(array.get(), 1, 0, &err)), "@\"/0\"");
    EXPECT_EQ(wiq_json_array_get_ext(array.get(), 1, WIQ_JSON_FOLLOW_REFS, &err), elem(array, 0));
    EXPECT_EQ(wiq_json_array_get_ext(array.get(), 0, WIQ_JSON_FOLLOW_REFS, &err), elem(array, 0));
    EXPECT_EQ(err, 0u);
    EXPECT_EQ(wiq_json_array_get_ext(array.get(), 2, WIQ_JSON_FOLLOW_REFS, &err), nullptr);
    EXPECT_EQ(status(err), WIQ_ERR_INDEX_OUT_OF_RANGE);
    err = 0;
    EXPECT_EQ(wiq_json_array_get_ext(array.get(), 3, WIQ_JSON_FOLLOW_REFS, &err), nullptr);
    EXPECT_EQ(status(err), WIQ_ERR_JREF_CYCLE);
}

TEST(JsonArray, Size) {
    EXPECT_EQ(wiq_json_array_size(make("[]").get()), 0);
    EXPECT_EQ(wiq_json_array_size(make("[1,2]").get()), 2);
    EXPECT_EQ(wiq_json_array_size(nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_json_array_size(make("{}").get()), WIQ_ERR_INVALID_ARG);
}

}  // namespace
