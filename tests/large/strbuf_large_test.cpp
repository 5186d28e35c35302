// The string buffer with texts of more than 2^31 and 2^32 bytes. wiq_strbuf_write() uses only 32 bits of its
// count.
#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "large/large_test.h"

namespace {

class StrbufLarge : public Large {
  protected:
    void SetUp() override {
        Large::SetUp();
        ASSERT_EQ(wiq_strbuf_init(&buf_, 0), 0);
    }
    void TearDown() override {
        wiq_strbuf_finalize(&buf_);
        Large::TearDown();
    }
    void expect_text(size_t length, const char* tail) {
        EXPECT_EQ(buf_.len, length);
        EXPECT_LT(buf_.len, buf_.capacity);
        ASSERT_EQ(strlen(buf_.data), length);
        EXPECT_STREQ(buf_.data + length - strlen(tail), tail);
    }

    wiq_strbuf buf_ = {};
};

TEST_F(StrbufLarge, Operations) {
    for (const size_t length : kLarge) {
        SCOPED_TRACE(length);
        {
            Text text(length, 'x');
            EXPECT_EQ(wiq_strbuf_rwrite(&buf_, text.data(), length), static_cast<i32>(length));
        }
        expect_text(length, "xx");
        EXPECT_EQ(wiq_strbuf_putc(&buf_, 'a'), 0);
        EXPECT_EQ(wiq_strbuf_write(&buf_, "bcd", 99), 3);
        EXPECT_EQ(wiq_strbuf_printf(&buf_, "%d", 1234), 4);
        expect_text(length + 8, "xabcd1234");
        // Append its own last bytes when the block is full.
        EXPECT_EQ(wiq_strbuf_extra_capacity(&buf_, 0), 0);
        EXPECT_EQ(buf_.capacity, length + 9);
        EXPECT_EQ(wiq_strbuf_extra_capacity(&buf_, 100), 0);
        EXPECT_EQ(wiq_strbuf_write(&buf_, buf_.data + length + 4, 4), 4);
        expect_text(length + 12, "12341234");
        EXPECT_EQ(wiq_strbuf_pop(&buf_), 0);
        EXPECT_EQ(wiq_strbuf_erase(&buf_, 4), 0);
        expect_text(length + 7, "abcd123");
        EXPECT_EQ(wiq_strbuf_printhex(&buf_, "\xab", 1), 0);
        expect_text(length + 9, "123AB");
        EXPECT_EQ(wiq_strbuf_getc(&buf_, length > k4G ? -1 : 0), length > k4G ? 'x' : '\0')
            << "32 bits";
        EXPECT_EQ(wiq_strbuf_reset_pos(&buf_, length + 10), WIQ_ERR_INVALID_ARG);
        EXPECT_EQ(wiq_strbuf_reset_pos(&buf_, length + 1), 0);
        expect_text(length + 1, "xa");
        EXPECT_EQ(wiq_strbuf_erase(&buf_, length), 0);
        EXPECT_STREQ(buf_.data, "x");
    }
}

TEST_F(StrbufLarge, Released) {
    for (const size_t length : kLarge) {
        Text text(length, 'x');
        EXPECT_EQ(wiq_strbuf_write(&buf_, text.data(), UINT64_MAX / 2), WIQ_ERR_NO_MEMORY);
        EXPECT_EQ(wiq_strbuf_write(&buf_, text.data(), length), static_cast<i32>(length));
        text.release();
        char* released = wiq_strbuf_release(&buf_);
        ASSERT_NE(released, nullptr);
        EXPECT_EQ(strlen(released), length);
        free(released);
        ASSERT_EQ(wiq_strbuf_init(&buf_, 0), 0);
    }
}

TEST_F(StrbufLarge, HexadecimalDigits) {
    Text bytes(k2G + 5, '\x5a');
    EXPECT_EQ(wiq_strbuf_printhex(&buf_, bytes.data(), bytes.size()), 0);
    EXPECT_EQ(buf_.capacity, 2 * (bytes.size() + 1));
    expect_text(2 * bytes.size(), "5A5A");
    EXPECT_EQ(memcmp(buf_.data, buf_.data + 2, 2 * bytes.size() - 2), 0);
}

TEST_F(StrbufLarge, AField) {
    for (const size_t length : kLarge) {
        Text field(length, 'x');
        field.beginning(" ").ending(" ");
        EXPECT_EQ(wiq_strbuf_struct_str(&buf_, field.data(), length, true), 0);
        field.release();
        expect_text(length - 2, "xx");
        EXPECT_TRUE(is_all(buf_.data, length - 2, 'x'));
        wiq_strbuf_finalize(&buf_);
    }
}

TEST_F(StrbufLarge, Bytes) {
    for (const size_t extra : {k4G, size_t{SIZE_MAX} / 2, size_t{SIZE_MAX}}) {
        EXPECT_EQ(wiq_strbuf_extra_capacity(&buf_, extra),
                  extra == k4G ? 0 : i32{WIQ_ERR_NO_MEMORY});
        EXPECT_EQ(buf_.capacity, k4G + 1);
    }
    EXPECT_EQ(wiq_strbuf_printhex(&buf_, "x", UINT64_MAX / 2), WIQ_ERR_NO_MEMORY);
    EXPECT_STREQ(buf_.data, "");
}

}  // namespace
