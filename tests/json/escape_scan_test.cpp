// Compares the scanner of plain characters with its bytewise counterpart: every byte value at every offset
// from the start, from the end, and from the blocks that are examined together.
#include "json/read/escape_scan.h"

#include <string>

#include "support/pch.h"

namespace {

using ke::json::skip_plain_ascii;
using ke::json::skip_plain_ascii_bytewise;

bool is_plain(int byte) {
    return byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\';
}

TEST(EscapeScan, EveryByteAtEveryPlace) {
    for (size_t length = 1; length <= 50; ++length) {
        for (size_t at = 0; at < length; ++at) {
            for (int byte = 0; byte < 256; ++byte) {
                std::string text(length, 'x');
                text[at] = static_cast<char>(byte);
                const char* end = text.data() + length;
                const size_t expected = is_plain(byte) ? length : at;
                ASSERT_EQ(skip_plain_ascii(text.data(), end) - text.data(),
                          static_cast<ptrdiff_t>(expected))
                    << length << " " << at << " " << byte;
                ASSERT_EQ(skip_plain_ascii_bytewise(text.data(), end) - text.data(),
                          static_cast<ptrdiff_t>(expected));
            }
        }
    }
}

// Whatever it finds, it copies all plain characters, and never writes beyond the length.
TEST(EscapeScan, CopiesEveryByteAtEveryPlace) {
    for (size_t length = 0; length <= 50; ++length) {
        for (size_t at = 0; at == 0 || at < length; ++at) {
            for (int byte = 0; byte < 256; ++byte) {
                std::string text(length, 'x');
                if (length != 0)
                    text[at] = static_cast<char>(byte);
                std::string copy(length + 32, '?');
                ASSERT_EQ(ke::json::copy_plain_ascii(copy.data(), text.data(), length),
                          length == 0 || is_plain(byte))
                    << length << " " << at << " " << byte;
                ASSERT_EQ(copy, text + std::string(32, '?'));
            }
        }
    }
}

TEST(EscapeScan, StopsAtTheFirst) {
    const std::string text = "0123456789abcdef0123\"56789abc\\ef";
    EXPECT_EQ(skip_plain_ascii(text.data(), text.data() + text.size()) - text.data(), 20);
    // Nothing after the end is examined.
    EXPECT_EQ(skip_plain_ascii(text.data(), text.data() + 20) - text.data(), 20);
    EXPECT_EQ(skip_plain_ascii(text.data(), text.data()) - text.data(), 0);
}

}  // namespace
