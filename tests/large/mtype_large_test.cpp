// Tagged values with texts and blobs of more than 2^31 and 2^32 bytes.
#include "ke_utils/core.h"
#include "ke_utils/mtype.h"
#include "large/large_test.h"

namespace {

class MtypeLarge : public Large {};

TEST_F(MtypeLarge, Texts) {
    for (const size_t length : kLarge) {
        SCOPED_TRACE(length);
        Text text(length, 'x');
        wiq_mtype value;
        wiq_mtype other;
        wiq_mtype_init(&value);
        wiq_mtype_init(&other);
        EXPECT_EQ(wiq_mtype_set_utf8(&value, text.data(), 1), 0);
        text.release();
        EXPECT_EQ(strlen(wiq_mtype_get_utf8(&value)), length);
        EXPECT_EQ(wiq_mtype_copy(&value, &other), 0);
        EXPECT_TRUE(wiq_mtype_equal(&value, &other));
        EXPECT_TRUE(wiq_mtype_equal_utf8(&value, &other));
        other.payload.utf8[length - 1] = 'y';
        EXPECT_FALSE(wiq_mtype_equal(&value, &other));
        wiq_mtype_finalize(&value);
        wiq_mtype_finalize(&other);
    }
}

TEST_F(MtypeLarge, Blobs) {
    for (const size_t length : kLarge) {
        SCOPED_TRACE(length);
        Text text(length, 'x');
        wiq_mtype value;
        wiq_mtype other;
        wiq_mtype_init(&value);
        wiq_mtype_init(&other);
        EXPECT_EQ(wiq_mtype_set_blob(&value, text.data(), length, 1, 1), 0);
        text.release();
        u64 size = 0;
        EXPECT_TRUE(
            is_all(static_cast<const char*>(wiq_mtype_get_blob(&value, &size)), length, 'x'));
        EXPECT_EQ(size, length);
        EXPECT_EQ(wiq_mtype_copy(&value, &other), 0);
        EXPECT_TRUE(wiq_mtype_equal(&value, &other));
        wiq_mtype_finalize(&other);
        wiq_mtype_init(&other);
        EXPECT_EQ(wiq_mtype_set_blob(&other, "xxxxx", 5, 0, 0), 0);
        EXPECT_FALSE(wiq_mtype_equal(&value, &other));
        EXPECT_EQ(wiq_mtype_copy_ref(&value, &other), 0);
        EXPECT_TRUE(wiq_mtype_equal(&value, &other));
        wiq_mtype_finalize(&other);
        wiq_mtype_finalize(&value);
    }
}

TEST_F(MtypeLarge, ATextThatIsANumber) {
    Text text(k4G + 5, '0');
    text.ending("17");
    wiq_mtype value;
    wiq_mtype_init(&value);
    wiq_mtype_set_utf8(&value, text.data(), 0);
    u32 number = 0;
    EXPECT_EQ(wiq_mtype_to_uint32(&value, &number), 0);
    EXPECT_EQ(number, 15u);
    u64 wide = 0;
    EXPECT_EQ(wiq_mtype_to_uint64(&value, &wide), 0);
    EXPECT_EQ(wide, 15u);
    wiq_mtype_finalize(&value);
}

}  // namespace
