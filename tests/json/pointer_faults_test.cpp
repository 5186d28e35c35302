// Fails every allocation of expanding references and of JSON pointers once.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "json/json_text.h"
#include "ke_utils/core.h"
#include "ke_utils/json.h"
#include "support/alloc_faults.h"

namespace {

// Expands the document with each allocation failing; returns the number of allocations.
size_t sweep_expansion(const std::string& text) {
    return SweepAllocations([&text](AllocFaults& faults) {
        wiq_json_t* root = parsed(text);
        faults.arm();
        const i32 status = wiq_json_jref_expand(root);
        faults.disarm();
        EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        // If it cannot allocate its two lists, an expansion keeps the reference that it took to the root.
        wiq_json_delete_impl(root);
    });
}

TEST(ReferenceFaults, Expand) {
    EXPECT_GT(sweep_expansion(R"({"a":[1,{"$ref":"/c"}],"b":{"$ref":"/a"},"c":{"x":["y"]}})"), 20u);
}

TEST(PointerFaults, GetPutAndBuild) {
    static const std::string far = "/" + std::string(400, 'k');
    SweepAllocations([](AllocFaults& faults) {
        wiq_json_t* root = parsed("{}");
        wiq_json_t* value = wiq_json_i64_new(1, nullptr);
        const std::string way = far + "/0/x";
        faults.arm();
        const i32 status = wiq_json_ptr_put(root, way.c_str(), value);
        faults.disarm();
        EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        if (status != 0)
            wiq_json_unref(value);
        wiq_json_unref(root);
    });
    SweepAllocations([](AllocFaults& faults) {
        wiq_json_t* root = parsed("{}");
        u32 err = 0;
        char* prefix = nullptr;
        faults.arm();
        wiq_json_t* node = wiq_json_ptr_get(root, far.c_str(), &err, &prefix);
        faults.disarm();
        EXPECT_EQ(node, nullptr);
        EXPECT_EQ(static_cast<i32>(err),
                  faults.fired() ? WIQ_ERR_NO_MEMORY : WIQ_ERR_KEY_NOT_FOUND);
        EXPECT_EQ(prefix == nullptr, faults.fired());
        free(prefix);
        wiq_json_unref(root);
    });
    SweepAllocations([](AllocFaults& faults) {
        wiq_json_t* root = parsed(R"({"a":{"b":{}}})");
        wiq_json_t* node = wiq_json_ptr_get(root, "/a/b", nullptr, nullptr);
        char* text = nullptr;
        faults.arm();
        const i32 length = wiq_json_ptr(node, &text);
        faults.disarm();
        EXPECT_EQ(length, faults.fired() ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : 4);
        EXPECT_EQ(text == nullptr, faults.fired());
        free(text);
        wiq_json_unref(root);
    });
    SweepAllocations([](AllocFaults& faults) {
        wiq_json_t* root = parsed(R"({"a":{"b":[]}})");
        wiq_json_t* list = wiq_json_ptr_get(root, "/a/b", nullptr, nullptr);
        wiq_strbuf buf;
        ASSERT_EQ(wiq_strbuf_init(&buf, 1), 0);
        faults.arm();
        const i32 named = wiq_json_ptr_ext(list, &buf);
        faults.disarm();
        EXPECT_EQ(named, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        EXPECT_STREQ(buf.data, faults.fired() ? "" : "/a/b");
        wiq_strbuf_reset(&buf);
        wiq_strbuf_extra_capacity(&buf, 0);
        AllocFaults again(faults.nth(), faults.mode());
        again.arm();
        const i32 built = wiq_json_ptr_build_array_ext(list, &buf);
        again.disarm();
        EXPECT_EQ(built, again.fired() ? WIQ_ERR_NO_MEMORY : 0);
        EXPECT_STREQ(buf.data, again.fired() ? "" : "/a/b/0");
        wiq_strbuf_reset(&buf);
        wiq_strbuf_extra_capacity(&buf, 0);
        AllocFaults third(faults.nth(), faults.mode());
        third.arm();
        const i32 keyed = wiq_json_ptr_build_obj_ext(root, "key", &buf);
        third.disarm();
        EXPECT_EQ(keyed, third.fired() ? WIQ_ERR_NO_MEMORY : 0);
        EXPECT_STREQ(buf.data, third.fired() ? "" : "/key");
        wiq_strbuf_finalize(&buf);
        wiq_json_unref(root);
    });
}

}  // namespace

namespace {

// References that lead to one another; there are more of them than the walk has inline slots.
TEST(ReferenceFaults, LongChains) {
    // Put each reference inside one array, then inside two, so that the slots run out at either kind of step.
    for (const int arrays : {1, 2}) {
        const std::string open(static_cast<size_t>(arrays), '[');
        const std::string close(static_cast<size_t>(arrays), ']');
        std::string text = "[";
        for (int i = 1; i < 40; ++i)
            text += open + "{\"$ref\":\"#/" + std::to_string(i) + "\"}" + close + ",";
        text += "7]";
        sweep_expansion(text);
    }
}

// A chain of references that does not fit in the list that an expansion keeps on the stack.
TEST(ReferenceFaults, ExpandALongChain) {
    std::string text = "[{\"$ref\":\"/1\"}";
    for (int i = 1; i < 100; ++i)
        text += ",{\"$ref\":\"/" + std::to_string(i + 1) + "\"}";
    text += ",[1]]";
    EXPECT_GT(sweep_expansion(text), 100u);
}

TEST(PointerFaults, NamesInArrays) {
    wiq_json_t* root = parsed("{\"list\":[[1]]}");
    wiq_json_t* value = wiq_json_i64_new(1, nullptr);
    for (const char* pointer : {"/list/name", "/list/name/x", "/list/0/name", "/list/0/0/x/y"})
        EXPECT_LT(wiq_json_ptr_put(root, pointer, value), 0) << pointer;
    EXPECT_EQ(wiq_json_parent_key(value), nullptr);
    EXPECT_EQ(wiq_json_ptr_put(root, "/list/-/x", value), 0) << "a new element, an object";
    EXPECT_STREQ(wiq_json_parent_key(value), "x");
    wiq_json_unref(root);
}

}  // namespace
