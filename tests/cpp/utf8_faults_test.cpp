// Sweeps of the helpers for non-ASCII JSON text: fails each of their allocations once.
#include <gtest/gtest.h>

#include <cstring>

#include "ke_utils/utf8.h"
#include "support/alloc_faults.h"

namespace {

TEST(CppUtf8Faults, LoadsNothingOrAll) {
    const char text[] = "{\"\xC3\xA9\":[1,\"\xF0\x9F\x98\x80\"]}";
    const size_t points = SweepAllocations([&](AllocFaults& faults) {
        wiq_json_load_error error;
        faults.arm();
        wiq_json_t* const root = ke_json_loads_utf8(text, std::strlen(text), 0, &error);
        faults.disarm();
        EXPECT_EQ(root == nullptr, faults.fired());
        EXPECT_EQ(error.status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        wiq_json_unref(root);
    });
    EXPECT_GT(points, 2u);
}

TEST(CppUtf8Faults, DumpsNothingOrAll) {
    wiq_json_t* const value = wiq_json_str_new("\xC3\xA9", nullptr);
    char* first = nullptr;  // the first dump builds the serializer's class, which is kept
    EXPECT_EQ(wiq_json_sdump(value, &first, 0), 4);
    free(first);
    const size_t points = SweepAllocations([&](AllocFaults& faults) {
        char* text = nullptr;
        faults.arm();
        const i32 length = ke_json_sdump_ascii(value, &text, 0);
        faults.disarm();
        EXPECT_EQ(length, faults.fired() ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : 8);
        EXPECT_EQ(text == nullptr, faults.fired());
        free(text);
    });
    EXPECT_GT(points, 1u);
    wiq_json_unref(value);
}

}  // namespace
