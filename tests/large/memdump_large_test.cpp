// Dumps of more than 2^31 and 2^32 bytes, in few lines or in many.
#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "large/large_test.h"

namespace {

class MemdumpLarge : public Large {};

struct Seen {
    u64 lines = 0;
    u64 last = 0;    // offset
    u64 digits = 0;  // of the last line
    std::string tail;
    std::string ascii;
};

i32 see(void* user, u64 offset, const char* hex, const char* ascii) {
    auto* seen = static_cast<Seen*>(user);
    ++seen->lines;
    seen->last = offset;
    seen->digits = strlen(hex);
    seen->tail = hex + (seen->digits < 8 ? 0 : seen->digits - 8);
    seen->ascii = ascii == nullptr ? "" : std::string(ascii, strnlen(ascii, 8));
    return 0;
}

TEST_F(MemdumpLarge, Lines) {
    for (const size_t size : kLarge) {
        SCOPED_TRACE(size);
        Text data(size, 'a');
        data.ending("xyz");
        const auto* bytes = reinterpret_cast<const u8*>(data.data());
        Seen seen;
        EXPECT_EQ(wiq_memdump_ex(bytes, size, 1 << 20, 0, 0, 0, false, false, see, &seen), 0);
        EXPECT_EQ(seen.lines, (size >> 20) + 1);
        EXPECT_EQ(seen.last, size - 5);
        EXPECT_EQ(seen.digits, 10u);
        EXPECT_EQ(seen.tail, "6178797a");
    }
}

TEST_F(MemdumpLarge, LinesWithColumns) {
    Text data(k2G, 'a');
    data.ending("z");
    Seen seen;
    EXPECT_EQ(wiq_memdump_ex(reinterpret_cast<const u8*>(data.data()), k2G, INT32_MAX, 1, 0, 0,
                             true, false, see, &seen),
              0);
    EXPECT_EQ(seen.lines, 2u);
    EXPECT_EQ(seen.last, k2G - 1);
    EXPECT_EQ(seen.tail, "7a");
    EXPECT_EQ(seen.ascii, "z");
}

TEST_F(MemdumpLarge, OneLine) {
    Text data(k2G + 5, 'a');
    data.ending("xyz");
    Seen seen;
    EXPECT_EQ(wiq_memdump_ex(reinterpret_cast<const u8*>(data.data()), data.size(), 0, 0, 0, 0,
                             false, true, see, &seen),
              0);
    EXPECT_EQ(seen.lines, 1u);
    EXPECT_EQ(seen.digits, 2 * data.size());
    EXPECT_EQ(seen.tail, "6178797a");
}

}  // namespace
