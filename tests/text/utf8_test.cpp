// The lengths that UTF-8 lead bytes announce.
#include "ke_utils/text.h"
#include "support/pch.h"

namespace {

TEST(Utf8, LengthOfEveryLeadByte) {
    const struct {
        int first, last;
        u32 length;
    } ranges[] = {{0x00, 0x7f, 1}, {0x80, 0xbf, 0}, {0xc0, 0xc1, 0}, {0xc2, 0xdf, 2},
                  {0xe0, 0xef, 3}, {0xf0, 0xf4, 4}, {0xf5, 0xff, 0}};
    int seen = 0;
    for (const auto& range : ranges) {
        for (int byte = range.first; byte <= range.last; ++byte, ++seen)
            EXPECT_EQ(wiq_utf8_char_sz(static_cast<u8>(byte)), range.length) << byte;
    }
    EXPECT_EQ(seen, 256);
}

}  // namespace
