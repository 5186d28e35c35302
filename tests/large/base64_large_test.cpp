// Base64 texts of 2^31 and 2^32 characters and more.
#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "large/large_test.h"

namespace {

class Base64Large : public Large {};

TEST_F(Base64Large, ThereAndBack) {
    for (const size_t size : {k2G / 4 * 3 + 1, k4G / 4 * 3 + 5}) {
        SCOPED_TRACE(size);
        const size_t length = (size + 2) / 3 * 4;
        EXPECT_EQ(wiq_base64_encode_len(size), length + 1);
        Text text(length, '\0');
        size_t written = length;
        {
            Text bytes(size, '\xff');
            const auto* in = reinterpret_cast<const u8*>(bytes.data());
            EXPECT_EQ(wiq_base64_encode(in, size, text.data(), &written), WIQ_ERR_BUFFER_TOO_SMALL);
            written = length + 1;
            ASSERT_EQ(wiq_base64_encode(in, size, text.data(), &written), 0);
        }
        EXPECT_EQ(written, length);
        EXPECT_EQ(strlen(text.data()), length);
        EXPECT_TRUE(is_all(text.data(), length - 4, '/'));
        EXPECT_STREQ(text.end() - 4, size % 3 == 1 ? "/w==" : "//8=");
        EXPECT_EQ(wiq_base64_decode_len(text.data(), length), size);
        // Decode in place.
        u8* out = reinterpret_cast<u8*>(text.data());
        size_t decoded = size;
        EXPECT_EQ(wiq_base64_decode(text.data(), length, out, &decoded), 0);
        EXPECT_EQ(decoded, size);
        EXPECT_TRUE(is_all(text.data(), size, '\xff'));
    }
}

TEST_F(Base64Large, BuffersThatAreTooSmall) {
    Text text(k4G + 8, 'A');
    Text out(64, 'x');
    size_t written = 5;
    // As much is decoded as fits.
    EXPECT_EQ(
        wiq_base64_decode(text.data(), text.size(), reinterpret_cast<u8*>(out.data()), &written),
        WIQ_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(out[64 - 1], 'x');
    written = 5;
    EXPECT_EQ(wiq_base64_encode(reinterpret_cast<const u8*>(text.data()), text.size(), out.data(),
                                &written),
              WIQ_ERR_BUFFER_TOO_SMALL);
    EXPECT_STREQ(out.data(), "");
}

}  // namespace
