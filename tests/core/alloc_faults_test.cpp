// The allocation functions for client code when allocations fail: they return NULL and report the failure.
#include <gtest/gtest.h>

#include <cstdlib>

#include "ke_utils/core.h"
#include "support/alloc_faults.h"

namespace {

size_t g_told = 0;

void tell(size_t size) {
    g_told = size;
}

using Make = void* (*)();

const struct {
    const char* name;
    Make make;
    size_t told;  // the size that the failure hook receives
} kTable[] = {
    {"malloc", [] { return wiq_wrap_malloc(10, false, tell, nullptr, nullptr); }, 10},
    {"zeroed", [] { return wiq_wrap_malloc(10, true, tell, nullptr, nullptr); }, 10},
    {"realloc", [] { return wiq_wrap_realloc(nullptr, 20, tell, nullptr, nullptr); }, 20},
    {"strdup", []() -> void* { return wiq_wrap_strdup("text", tell, nullptr, nullptr); }, 5},
    {"malloc0", [] { return wiq_real_malloc0(10); }, 0},
};

TEST(AllocFaultsOfClients, ReturnNullAndReportTheFailure) {
    for (const auto& row : kTable) {
        SCOPED_TRACE(row.name);
        const size_t points = SweepAllocations([&row](AllocFaults& faults) {
            g_told = 0;
            faults.arm();
            void* block = row.make();
            faults.disarm();
            EXPECT_EQ(block == nullptr, faults.fired());
            EXPECT_EQ(g_told, faults.fired() ? row.told : 0);
            free(block);
        });
        EXPECT_EQ(points, 2u);
    }
}

TEST(AllocFaultsOfClients, AFailedReallocationKeepsTheBlock) {
    SweepAllocations([](AllocFaults& faults) {
        auto* block = static_cast<char*>(wiq_wrap_malloc(4, false, nullptr, nullptr, nullptr));
        ASSERT_NE(block, nullptr);
        block[0] = 'x';
        faults.arm();
        auto* larger = static_cast<char*>(wiq_wrap_realloc(block, 4000, nullptr, nullptr, nullptr));
        faults.disarm();
        EXPECT_EQ((larger == nullptr ? block : larger)[0], 'x');
        free(larger == nullptr ? block : larger);
    });
}

}  // namespace
