// Typed getters and pointer builders when allocations fail. A getter that follows a reference with a long
// name needs memory for the name; a builder also needs memory for missing containers.
#include <gtest/gtest.h>

#include "json/tree.h"
#include "support/alloc_faults.h"

namespace {

using tree::text_of;
using tree::Tree;

const std::string& long_name() {
    static const std::string name(400, 'k');
    return name;
}

// Returns {"ref": a reference to the other member, the long name: the value}.
Tree with_reference(const char* value) {
    return Tree(wiq_json_loads(
        ("{\"ref\":{\"$ref\":\"#/" + long_name() + "\"},\"" + long_name() + "\":" + value + "}")
            .c_str(),
        0, nullptr));
}

using Get = bool (*)(const wiq_json_t* obj, u32* err);

const struct {
    const char* name;
    const char* value;
    Get get;  // returns whether it got the value
} kGetters[] = {
    {"ext", "7",
     [](const wiq_json_t* o, u32* e) {
         return wiq_json_obj_get_ext(o, "ref", WIQ_JSON_FOLLOW_REFS, e) != nullptr;
     }},
    {"obj", "{}",
     [](const wiq_json_t* o, u32* e) { return wiq_json_obj_get_obj(o, "ref", e) != nullptr; }},
    {"array", "[]",
     [](const wiq_json_t* o, u32* e) { return wiq_json_obj_get_array(o, "ref", e) != nullptr; }},
    {"str", "\"x\"",
     [](const wiq_json_t* o, u32* e) { return wiq_json_obj_get_str(o, "ref", e) != nullptr; }},
    {"bool", "true",
     [](const wiq_json_t* o, u32* e) { return wiq_json_obj_get_bool(o, "ref", e); }},
    {"i64", "7",
     [](const wiq_json_t* o, u32* e) { return wiq_json_obj_get_i64(o, "ref", e) == 7; }},
    {"u64", "7",
     [](const wiq_json_t* o, u32* e) { return wiq_json_obj_get_u64(o, "ref", e) == 7; }},
    {"u128", "7",
     [](const wiq_json_t* o, u32* e) {
         wiq_uint128 value = {};
         return wiq_json_obj_get_u128(&value, o, "ref", e)->lo == 7;
     }},
    {"double", "7.5",
     [](const wiq_json_t* o, u32* e) { return wiq_json_obj_get_double(o, "ref", e) == 7.5; }},
};

TEST(GetterFaults, ReportThatAReferenceCouldNotBeFollowed) {
    for (const auto& row : kGetters) {
        SCOPED_TRACE(row.name);
        const size_t points = SweepAllocations([&](AllocFaults& faults) {
            Tree obj = with_reference(row.value);
            ASSERT_NE(obj, nullptr);
            u32 err = 0;
            faults.arm();
            const bool came = row.get(obj.get(), &err);
            faults.disarm();
            EXPECT_EQ(static_cast<i32>(err), faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
            EXPECT_EQ(came, !faults.fired());
        });
        EXPECT_GE(points, 2u);
    }
}

TEST(GetterFaults, References) {
    Tree obj = with_reference("7");
    wiq_json_t* ref = wiq_json_obj_get_jref(obj.get(), "ref", nullptr);
    ASSERT_NE(ref, nullptr);
    SweepAllocations([&](AllocFaults& faults) {
        u32 err = 0;
        faults.arm();
        const wiq_json_t* target = wiq_json_jref_resolve(ref, &err);
        faults.disarm();
        EXPECT_EQ(static_cast<i32>(err), faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        EXPECT_EQ(target == nullptr, faults.fired());
    });
    SweepAllocations([&](AllocFaults& faults) {
        u32 err = 0;
        faults.arm();
        wiq_json_jref_deref(ref, &err);
        faults.disarm();
        EXPECT_EQ(static_cast<i32>(err), faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
    });
}

using Put = wiq_json_t* (*)(wiq_json_t* root, const char* pointer, u32* err);

const struct {
    const char* name;
    Put put;
} kBuilders[] = {
    {"obj", [](wiq_json_t* r, const char* p, u32* e) { return wiq_json_ptr_put_obj(r, p, e); }},
    {"array", [](wiq_json_t* r, const char* p, u32* e) { return wiq_json_ptr_put_array(r, p, e); }},
    {"bool",
     [](wiq_json_t* r, const char* p, u32* e) { return wiq_json_ptr_put_bool(r, p, true, e); }},
    {"double",
     [](wiq_json_t* r, const char* p, u32* e) { return wiq_json_ptr_put_double(r, p, 1.5, e); }},
    {"i64", [](wiq_json_t* r, const char* p, u32* e) { return wiq_json_ptr_put_i64(r, p, 1, e); }},
    {"u64", [](wiq_json_t* r, const char* p, u32* e) { return wiq_json_ptr_put_u64(r, p, 1, e); }},
    {"u128",
     [](wiq_json_t* r, const char* p, u32* e) {
         const wiq_uint128 value = {1, 1};
         return wiq_json_ptr_put_u128(r, p, &value, e);
     }},
    {"jref",
     [](wiq_json_t* r, const char* p, u32* e) { return wiq_json_ptr_put_jref(r, p, "#/a", e); }},
};

TEST(PointerBuilderFaults, ReleaseWhatTheyMade) {
    const std::string pointer = "/" + long_name() + "/-/x";
    for (const auto& row : kBuilders) {
        SCOPED_TRACE(row.name);
        const size_t points = SweepAllocations([&](AllocFaults& faults) {
            Tree root(wiq_json_obj_new(0, nullptr));
            u32 err = 0;
            faults.arm();
            const wiq_json_t* node = row.put(root.get(), pointer.c_str(), &err);
            faults.disarm();
            EXPECT_EQ(static_cast<i32>(err), faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
            EXPECT_EQ(node == nullptr, faults.fired());
        });
        EXPECT_GE(points, 2 * 4u);
    }
}

TEST(PointerBuilderFaults, AStringMayLoseItsText) {
    SweepAllocations([](AllocFaults& faults) {
        Tree root(wiq_json_obj_new(0, nullptr));
        u32 err = 0;
        faults.arm();
        const wiq_json_t* node = wiq_json_ptr_put_str(root.get(), "/a/b", "text", &err);
        faults.disarm();
        EXPECT_EQ(static_cast<i32>(err), node != nullptr ? 0 : WIQ_ERR_NO_MEMORY);
        EXPECT_TRUE(node != nullptr || faults.fired());
    });
}

TEST(DumpIntoBufferFaults, KeepWhatWasThere) {
    Tree root(wiq_json_loads(("[\"" + std::string(3000, 'x') + "\",1]").c_str(), 0, nullptr));
    // The first dump builds the visitor's class, which is never freed.
    char* text = nullptr;
    ASSERT_GT(wiq_json_sdump(root.get(), &text, 0), 0);
    free(text);
    SweepAllocations([&](AllocFaults& faults) {
        wiq_strbuf buf;
        ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
        ASSERT_GE(wiq_strbuf_write(&buf, "before", 6), 0);
        faults.arm();
        const i32 status = wiq_json_sdump_ext(root.get(), &buf, 0, 0);
        faults.disarm();
        EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        EXPECT_EQ(std::string(buf.data, 6), "before");
        wiq_strbuf_finalize(&buf);
    });
    SweepAllocations([](AllocFaults& faults) {
        wiq_strbuf buf;
        ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
        const std::string quotes(500, '"');
        faults.arm();
        const i32 status = wiq_json_escape_str_ext(quotes.c_str(), &buf);
        faults.disarm();
        // Escaping returns the number of bytes written; a character for which there was no memory is left
        // out.
        EXPECT_EQ(status == 1000, !faults.fired());
        EXPECT_EQ(static_cast<u64>(status), buf.len);
        wiq_strbuf_finalize(&buf);
    });
}

}  // namespace
