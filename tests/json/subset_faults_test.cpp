// The subset test when allocations fail: it returns false.
#include <gtest/gtest.h>

#include "json/tree.h"
#include "support/alloc_faults.h"

namespace {

using tree::make;
using tree::Tree;

TEST(JsonSubsetFaults, OutOfMemoryAnswersNo) {
    const std::string deep = std::string(100, '[') + "1" + std::string(100, ']');
    Tree a = make(deep.c_str());
    Tree b = make(deep.c_str());
    for (const u32 flags : {0u, 15u}) {
        const size_t points = SweepAllocations([&](AllocFaults& faults) {
            faults.arm();
            const bool answer = wiq_json_subset(a.get(), b.get(), flags);
            faults.disarm();
            EXPECT_EQ(answer, !faults.fired());
        });
        EXPECT_GE(points, 2 * 1u);
    }
}

TEST(JsonSubsetFaults, OrdinaryDocumentsNeedNoMemory) {
    Tree a = make("{\"a\":[1,{\"b\":[2,[3,{\"c\":null}]]}],\"d\":\"x\"}");
    Tree b = make("{\"a\":[1,{\"b\":[2,[3,{\"c\":null}]]}],\"d\":\"x\"}");
    AllocFaults faults(1, AllocFaults::kPersistent);
    faults.arm();
    const bool answer = wiq_json_equal(a.get(), b.get());
    faults.disarm();
    EXPECT_TRUE(answer);
    EXPECT_FALSE(faults.fired());
}

}  // namespace
