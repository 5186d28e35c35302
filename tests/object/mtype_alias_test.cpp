// Tests of tagged values whose new contents are part of their old ones: setters that copy from the value
// itself, copies between a value and one that borrows from it, and copies of a value onto itself.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "ke_utils/core.h"
#include "ke_utils/mtype.h"

namespace {

const std::string kLong(70000, 'y');

// The kinds of values that own memory.
struct Owner {
    const char* name;
    void (*set)(wiq_mtype* value);
};

const Owner kOwners[] = {
    {"text", [](wiq_mtype* v) { EXPECT_EQ(wiq_mtype_set_utf8(v, "some text", 1), 0); }},
    {"blob", [](wiq_mtype* v) { EXPECT_EQ(wiq_mtype_set_blob(v, "some text", 10, 1, 1), 0); }},
    {"long blob",
     [](wiq_mtype* v) {
         EXPECT_EQ(wiq_mtype_set_blob(v, kLong.c_str(), kLong.size() + 1, 1, 1), 0);
     }},
    {"pointer", [](wiq_mtype* v) { EXPECT_EQ(wiq_mtype_set_ptr(v, strdup("some text"), 1), 0); }},
};

// Returns where the value's own text begins.
const char* own_text(const wiq_mtype* value) {
    if (const char* text = wiq_mtype_get_utf8(value))
        return text;
    if (const void* blob = wiq_mtype_get_blob(value, nullptr))
        return static_cast<const char*>(blob);
    return static_cast<const char*>(wiq_mtype_get_ptr(value));
}

TEST(MtypeAlias, SettersCopyFromTheValueItself) {
    for (const Owner& owner : kOwners) {
        for (const size_t offset : {size_t{0}, size_t{5}}) {
            SCOPED_TRACE(owner.name);
            wiq_mtype value;
            wiq_mtype_init(&value);
            owner.set(&value);
            const std::string expected = own_text(&value) + offset;
            EXPECT_EQ(wiq_mtype_set_utf8(&value, own_text(&value) + offset, 1), 0);
            EXPECT_EQ(wiq_mtype_get_utf8(&value), expected);
            EXPECT_EQ(value.flags, WIQ_MTYPE_OWNED);

            for (const u8 own : {u8{0}, u8{1}}) {
                owner.set(&value);
                u64 length = 0;
                EXPECT_EQ(
                    wiq_mtype_set_blob(&value, own_text(&value) + offset, expected.size(), 1, own),
                    0);
                const auto* blob = static_cast<const char*>(wiq_mtype_get_blob(&value, &length));
                EXPECT_EQ(std::string(blob, length), expected);
                EXPECT_EQ(value.flags & WIQ_MTYPE_OWNED, own);
                if (own == 0)
                    free(const_cast<char*>(blob));
            }
            EXPECT_EQ(wiq_mtype_finalize(&value), 0);
        }
    }
}

TEST(MtypeAlias, CopyOntoTheLenderReadsFirst) {
    for (const Owner& owner : kOwners) {
        SCOPED_TRACE(owner.name);
        wiq_mtype lender;
        wiq_mtype borrower;
        wiq_mtype_init(&lender);
        wiq_mtype_init(&borrower);
        owner.set(&lender);
        if (wiq_mtype_is_ptr(&lender)) {
            // A pointer is not copied, so it cannot outlive its owner.
            EXPECT_EQ(wiq_mtype_finalize(&lender), 0);
            continue;
        }
        const std::string expected = own_text(&lender);
        const u8 type = lender.type;
        ASSERT_EQ(wiq_mtype_copy_ref(&lender, &borrower), 0);
        EXPECT_EQ(wiq_mtype_copy(&borrower, &lender), 0);
        EXPECT_EQ(lender.type, type);
        EXPECT_EQ(own_text(&lender), expected);
        EXPECT_TRUE((lender.flags & WIQ_MTYPE_OWNED) != 0);
        EXPECT_EQ(wiq_mtype_finalize(&borrower), 0);
        EXPECT_EQ(own_text(&lender), expected);
        EXPECT_EQ(wiq_mtype_finalize(&lender), 0);
    }
    // A borrower shares the cell of a 128-bit number.
    wiq_mtype lender;
    wiq_mtype borrower;
    wiq_mtype_init(&lender);
    wiq_mtype_init(&borrower);
    ASSERT_EQ(wiq_mtype_set_uint128(&lender, {8, 9}), 0);
    ASSERT_EQ(wiq_mtype_copy_ref(&lender, &borrower), 0);
    EXPECT_EQ(wiq_mtype_copy(&borrower, &lender), 0);
    EXPECT_EQ(wiq_mtype_get_uint128(&lender).hi, 9u);
    EXPECT_EQ(wiq_mtype_finalize(&lender), 0);
}

TEST(MtypeAlias, CopyOntoItselfChangesNothing) {
    struct Row {
        const char* name;
        void (*set)(wiq_mtype* value);
    };
    static int target;
    for (const Row& row : {
             Row{"null", [](wiq_mtype* v) { wiq_mtype_set_null(v); }},
             Row{"number", [](wiq_mtype* v) { wiq_mtype_set_int64(v, -5); }},
             Row{"128 bits",
                 [](wiq_mtype* v) {
                     wiq_mtype_set_uint128(v, {1, 2});
                 }},
             Row{"text", [](wiq_mtype* v) { wiq_mtype_set_utf8(v, "text", 1); }},
             Row{"lent text", [](wiq_mtype* v) { wiq_mtype_set_utf8(v, "text", 0); }},
             Row{"no text", [](wiq_mtype* v) { wiq_mtype_set_utf8(v, nullptr, 0); }},
             Row{"blob", [](wiq_mtype* v) { wiq_mtype_set_blob(v, "blob", 4, 1, 1); }},
             Row{"lent blob", [](wiq_mtype* v) { wiq_mtype_set_blob(v, "blob", 4, 0, 0); }},
             Row{"empty blob", [](wiq_mtype* v) { wiq_mtype_set_blob(v, "blob", 0, 0, 0); }},
             Row{"long blob",
                 [](wiq_mtype* v) { wiq_mtype_set_blob(v, kLong.data(), kLong.size(), 1, 1); }},
             Row{"owned pointer", [](wiq_mtype* v) { wiq_mtype_set_ptr(v, strdup("p"), 1); }},
             Row{"pointer", [](wiq_mtype* v) { wiq_mtype_set_ptr(v, &target, 0); }},
         }) {
        SCOPED_TRACE(row.name);
        wiq_mtype value;
        memset(&value, 0, sizeof value);
        row.set(&value);
        const wiq_mtype before = value;
        EXPECT_EQ(wiq_mtype_copy(&value, &value), 0);
        EXPECT_EQ(memcmp(&value, &before, sizeof value), 0);
        EXPECT_EQ(wiq_mtype_copy_ref(&value, &value), 0);
        EXPECT_EQ(memcmp(&value, &before, sizeof value), 0);
        EXPECT_TRUE(wiq_mtype_equal(&value, &before));
        EXPECT_EQ(wiq_mtype_finalize(&value), 0);
    }
}

}  // namespace
