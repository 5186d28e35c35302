// Copies when allocations fail: there is no copy, the status is set, and nothing leaks.
#include <gtest/gtest.h>

#include "json/tree.h"
#include "support/alloc_faults.h"

namespace {

using tree::Tree;

void sweep_copy(const char* notation, size_t least_points) {
    SCOPED_TRACE(notation);
    Tree source = tree::make(notation);
    const std::string before = tree::text_of(source);
    const size_t points = SweepAllocations([&](AllocFaults& faults) {
        u32 err = 0;
        faults.arm();
        wiq_json_t* copy = wiq_json_copy(source.get(), &err);
        faults.disarm();
        EXPECT_EQ(copy == nullptr, faults.fired());
        EXPECT_EQ(static_cast<i32>(err), faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        if (copy != nullptr) {
            EXPECT_EQ(tree::text_of(copy), before);
        }
        wiq_json_unref(copy);
    });
    EXPECT_GE(points, 2 * least_points);
    EXPECT_EQ(tree::text_of(source), before);
}

TEST(JsonCopyFaults, EveryAllocationOfACopy) {
    sweep_copy("null", 1);
    sweep_copy("\"text\"", 1);
    sweep_copy("@\"/a\"", 1);
    sweep_copy("[]", 1);
    sweep_copy("{}", 1);
    // One block for the root, and chunks for everything below it.
    sweep_copy("[1,2u,3w,4.5,\"text\",@\"/0\",true,null,[[],{}]]", 5);
    sweep_copy("{\"a\":{\"b\":[1,\"x\"],\"c\":{}},\"d\":null,\"e\":@\"/a\"}", 6);
    // Texts and keys that need blocks of their own.
    const std::string key(500, 'k');
    const std::string text(2000, 't');
    sweep_copy(("{\"a\":\"" + text + "\",\"" + key + "\":1}").c_str(), 4);
}

TEST(JsonCopyFaults, EveryAllocationOfADeepCopy) {
    // Deep enough for the list of open containers to outgrow its inline storage.
    const std::string deep(100, '[');
    sweep_copy((deep + "1" + std::string(100, ']')).c_str(), 13);
}

}  // namespace
