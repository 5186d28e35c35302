// Fails every allocation of parsing and copying a document.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "json/tree.h"
#include "support/alloc_faults.h"

// Runs the sweep and returns the number of failure points.
inline size_t SweepParseAndCopy(const std::string& text, i32 flags) {
    const tree::Tree whole(wiq_json_loads(text.c_str(), 0, nullptr));
    return SweepAllocations([&](AllocFaults& faults) {
        faults.arm();
        wiq_json_load_error error;
        u32 err = 0;
        wiq_json_t* parsed = wiq_json_loads(text.c_str(), flags, &error);
        wiq_json_t* copied = parsed != nullptr ? wiq_json_copy(parsed, &err) : nullptr;
        faults.disarm();
        EXPECT_EQ(copied == nullptr, faults.fired());
        if (parsed == nullptr) {
            EXPECT_EQ(error.status, WIQ_ERR_NO_MEMORY);
        } else {
            EXPECT_EQ(static_cast<i32>(err), copied == nullptr ? WIQ_ERR_NO_MEMORY : 0);
        }
        if (copied != nullptr) {
            EXPECT_TRUE(wiq_json_equal(copied, whole.get()));
        }
        wiq_json_unref(copied);
        wiq_json_unref(parsed);
    });
}
