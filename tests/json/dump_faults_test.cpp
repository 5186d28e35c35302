// Fails every allocation of dumping and escaping once.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "json/json_text.h"
#include "ke_utils/core.h"
#include "ke_utils/json.h"
#include "support/alloc_faults.h"
#include "support/temporary_stream.h"

namespace {

constexpr const char* kRich =
    R"({"n":null,"i":-5,"g":18446744073709551616,"d":2.5,"s":"text","o":{"x":[1,"two",{"y":3}]},"r":{"$ref":"/i"}})";

TEST(DumpFaults, Dumps) {
    // Build the classes beforehand, so that each run makes the same allocations.
    wiq_json_t* warm = parsed(kRich);
    dumped(warm);
    FILE* stream = temporary_stream();
    ASSERT_NE(stream, nullptr);
    wiq_json_fdump(warm, stream, 0, 0);
    for (u32 flags :
         {0u, static_cast<u32>(WIQ_JSON_DUMP_SORT_KEYS), static_cast<u32>(WIQ_JSON_DUMP_PRETTY)}) {
        SweepAllocations([flags, warm](AllocFaults& faults) {
            char* text = nullptr;
            faults.arm();
            const i32 length = wiq_json_sdump(warm, &text, flags);
            faults.disarm();
            EXPECT_EQ(length == WIQ_ERR_NO_MEMORY, faults.fired());
            EXPECT_EQ(text == nullptr, faults.fired());
            free(text);
        });
        SweepAllocations([flags, warm, stream](AllocFaults& faults) {
            faults.arm();
            const i32 length = wiq_json_fdump(warm, stream, flags, 0);
            faults.disarm();
            EXPECT_EQ(length == WIQ_ERR_NO_MEMORY, faults.fired());
        });
    }
    fclose(stream);
    wiq_json_unref(warm);
}

TEST(DumpFaults, Escapes) {
    SweepAllocations([](AllocFaults& faults) {
        faults.arm();
        char* text = wiq_json_escape_str("some \"text\"");
        faults.disarm();
        EXPECT_EQ(text == nullptr, faults.fired());
        free(text);
    });
}

}  // namespace

namespace {

// For each length of the text, the buffer grows at another token.
TEST(DumpFaults, EveryTokenMeetsTheEndOfTheBuffer) {
    for (const u32 flags :
         {0u, static_cast<u32>(WIQ_JSON_DUMP_PRETTY), static_cast<u32>(WIQ_JSON_DUMP_SORT_KEYS)}) {
        for (size_t length = 0; length < 70; ++length) {
            const std::string text =
                "{\"" + std::string(length, 'k') +
                "\":[1,-2.5,\"\\n\\u0001\",{\"$ref\":\"#\"},{},340282366920938463463,null],"
                "\"z\":{\"a\":[[]],\"b\":true}}";
            wiq_json_t* root = wiq_json_loads(text.c_str(), 0, nullptr);
            ASSERT_NE(root, nullptr);
            char* warm = nullptr;
            ASSERT_GT(wiq_json_sdump(root, &warm, flags), 0);
            free(warm);
            SweepAllocations([&](AllocFaults& faults) {
                char* out = nullptr;
                faults.arm();
                const i32 result = wiq_json_sdump(root, &out, flags);
                faults.disarm();
                EXPECT_EQ(result < 0, faults.fired());
                EXPECT_EQ(out == nullptr, faults.fired());
                free(out);
            });
            wiq_json_unref(root);
        }
    }
}

// The first dump builds the visitor's class, which is never freed.
void build_class() {
    wiq_json_t* root = wiq_json_null_new(nullptr);
    char* out = nullptr;
    EXPECT_EQ(wiq_json_sdump(root, &out, 0), 4);
    free(out);
    wiq_json_unref(root);
}

TEST(DumpFaults, DeepDocuments) {
    build_class();
    const std::string deep = std::string(60, '[') + "{\"a\":{}}" + std::string(60, ']');
    wiq_json_t* root = wiq_json_loads(deep.c_str(), 0, nullptr);
    ASSERT_NE(root, nullptr);
    for (const u32 flags : {0u, static_cast<u32>(WIQ_JSON_DUMP_SORT_KEYS)}) {
        SweepAllocations([&](AllocFaults& faults) {
            char* out = nullptr;
            faults.arm();
            const i32 result = wiq_json_sdump(root, &out, flags);
            faults.disarm();
            EXPECT_EQ(result, faults.fired() ? WIQ_ERR_NO_MEMORY : static_cast<i32>(deep.size()));
            free(out);
        });
    }
    wiq_json_unref(root);
}

// A string without a text cannot be written, neither alone nor as part of a tree.
TEST(DumpFaults, AStringThatLostItsText) {
    build_class();
    wiq_json_t* text = nullptr;
    SweepAllocations([&text](AllocFaults& faults) {
        faults.arm();
        wiq_json_t* node = wiq_json_str_new("text", nullptr);
        faults.disarm();
        if (node != nullptr && wiq_json_str_get(node) == nullptr) {
            char* out = nullptr;
            EXPECT_EQ(wiq_json_sdump(node, &out, 0), WIQ_ERR_INVALID_ARG);
            EXPECT_EQ(out, nullptr);
            text = node;
        }
        wiq_json_unref(node);
    });
    EXPECT_NE(text, nullptr) << "there was one";
}

// A dump into a stream passes its text on as it goes, so it takes about the same memory for any document that is
// not deep: a buffer of 32 KB, which counts twice while it grows to that size, and a little for the walk.
TEST(DumpFaults, AStreamNeedsABoundedBuffer) {
    build_class();
    std::string text = "[";
    while (text.size() < 1'000'000)
        text += R"({"key":"text","n":[-12,2.5,true]},)";
    text.back() = ']';
    wiq_json_t* root = wiq_json_loads(text.c_str(), 0, nullptr);
    ASSERT_NE(root, nullptr);
    FILE* stream = temporary_stream();
    ASSERT_NE(stream, nullptr);
    for (const u32 flags :
         {0u, static_cast<u32>(WIQ_JSON_DUMP_SORT_KEYS), static_cast<u32>(WIQ_JSON_DUMP_PRETTY)}) {
        const long before = live_bytes();
        begin_peak();
        EXPECT_GE(wiq_json_fdump(root, stream, flags, 0), static_cast<i32>(text.size()));
        EXPECT_LE(peak_bytes() - before, 100'000) << flags;
        EXPECT_EQ(live_bytes(), before);
    }
    fclose(stream);
    wiq_json_unref(root);
}

}  // namespace
