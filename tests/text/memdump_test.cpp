// Memory dumps: the layout of lines, compared with a formatter that follows the rules one byte at a time.
#include <climits>
#include <string>
#include <vector>

#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "support/pch.h"

namespace {

struct Line {
    u64 offset;
    std::string hex;
    std::string column;
    bool has_column;

    bool operator==(const Line& other) const {
        return offset == other.offset && hex == other.hex && column == other.column &&
               has_column == other.has_column;
    }
};

std::ostream& operator<<(std::ostream& out, const Line& line) {
    return out << line.offset << " \"" << line.hex << "\" \"" << line.column << "\"";
}

struct Sizes {
    int line, group, block, gap;
    bool ascii, pad;
};

struct Collector {
    std::vector<Line> lines;
    i32 answer = 0;
    size_t stop_after = SIZE_MAX;
};

i32 collect(void* user, u64 offset, const char* hex, const char* column) {
    Collector* collector = static_cast<Collector*>(user);
    collector->lines.push_back({offset, hex, column == nullptr ? "" : column, column != nullptr});
    return collector->lines.size() >= collector->stop_after ? collector->answer : 0;
}

std::vector<Line> dump(const std::vector<u8>& data, const Sizes& sizes) {
    Collector collector;
    EXPECT_EQ(wiq_memdump_ex(data.data(), data.size(), sizes.line, sizes.group, sizes.block,
                             sizes.gap, sizes.ascii, sizes.pad, collect, &collector),
              0);
    return collector.lines;
}

// Formats cell by cell; `i` cells have been written when it decides on a separator.
std::vector<Line> dump_cell_by_cell(const std::vector<u8>& data, const Sizes& sizes) {
    const size_t len = data.size();
    const size_t line_bytes = sizes.line < 1 ? len : static_cast<size_t>(sizes.line);
    const size_t group = sizes.group < 1 ? len : static_cast<size_t>(sizes.group);
    const size_t block = sizes.block < 1 ? len : static_cast<size_t>(sizes.block);
    std::vector<Line> lines;
    Line line{0, "", "", sizes.ascii};
    for (size_t i = 1;; ++i) {
        const bool missing = i > len;
        char digits[3] = "  ";
        if (!missing)
            snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(data[i - 1]));
        line.hex += digits;
        if (sizes.ascii) {
            const u8 byte = missing ? u8{' '} : data[i - 1];
            line.column += byte >= 0x20 && byte < 0x7f ? static_cast<char>(byte) : '.';
        }
        const bool complete = i % line_bytes == 0 || (i == len && !sizes.pad);
        if (complete) {
            lines.push_back(line);
            if (i >= len)
                return lines;
            line = {i, "", "", sizes.ascii};
            continue;
        }
        if (i % group == 0)
            line.hex += ' ';
        if (i % block == 0)
            line.hex += std::string(static_cast<size_t>(sizes.gap), ' ');
    }
}

std::vector<u8> counting(size_t n) {
    std::vector<u8> data(n);
    for (size_t i = 0; i < n; ++i)
        data[i] = static_cast<u8>(i);
    return data;
}

TEST(Memdump, GroupsBlocksAndPadding) {
    const std::vector<Line> lines = dump(counting(20), {16, 4, 8, 1, false, true});
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].hex, "00010203 04050607  08090a0b 0c0d0e0f");
    EXPECT_EQ(lines[0].offset, 0u);
    EXPECT_EQ(lines[1].hex, "10111213 " + std::string(27, ' '));
    EXPECT_EQ(lines[1].hex.size(), lines[0].hex.size());
    EXPECT_EQ(lines[1].offset, 16u);
    EXPECT_FALSE(lines[0].has_column);
}

TEST(Memdump, ShortLastLineWithoutPadding) {
    const std::vector<Line> lines = dump(counting(20), {16, 4, 8, 1, true, false});
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[1].hex, "10111213");
    EXPECT_EQ(lines[1].column, "....");
}

TEST(Memdump, AllSizesZeroMakeOneLine) {
    const std::vector<Line> lines = dump(counting(5), {0, 0, 0, 0, false, false});
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], (Line{0, "0001020304", "", false}));
    EXPECT_EQ(dump(counting(5), {-1, INT_MIN, -7, 3, false, true}), lines);
}

TEST(Memdump, ColumnShowsPrintableAscii) {
    std::vector<u8> data = counting(256);
    const std::vector<Line> lines = dump(data, {0, 0, 0, 0, true, false});
    ASSERT_EQ(lines.size(), 1u);
    ASSERT_EQ(lines[0].column.size(), 256u);
    for (int byte = 0; byte < 256; ++byte) {
        const bool printable = byte >= 0x20 && byte <= 0x7e;
        EXPECT_EQ(lines[0].column[static_cast<size_t>(byte)],
                  printable ? static_cast<char>(byte) : '.');
    }
}

TEST(Memdump, PaddedColumnHoldsBlanks) {
    const std::vector<Line> lines = dump({'a', 'b', 'c'}, {2, 1, 0, 0, true, true});
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], (Line{0, "61 62", "ab", true}));
    EXPECT_EQ(lines[1], (Line{2, "63   ", "c ", true}));
}

TEST(Memdump, SeparatorsAreCountedFromTheStartOfTheData) {
    // With groups of 3 and lines of 4 bytes, 2 bytes are left for the second line's first group.
    const std::vector<Line> lines = dump(counting(12), {4, 3, 0, 0, false, false});
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].hex, "000102 03");
    EXPECT_EQ(lines[1].hex, "0405 0607");
    EXPECT_EQ(lines[2].hex, "08 090a0b");
}

TEST(Memdump, EveryCombinationOfSmallSizes) {
    size_t compared = 0;
    for (size_t len : {size_t{1}, size_t{2}, size_t{5}, size_t{8}, size_t{16}, size_t{17}}) {
        const std::vector<u8> data = counting(len);
        for (int line = 0; line <= 18; line += 1 + line / 6) {
            for (int group = 0; group <= 9; ++group) {
                for (int block = 0; block <= 9; block += 1 + block / 4) {
                    for (int gap : {0, 1, 3}) {
                        for (int bits = 0; bits < 4; ++bits) {
                            const Sizes sizes{line, group,           block,
                                              gap,  (bits & 1) != 0, (bits & 2) != 0};
                            ASSERT_EQ(dump(data, sizes), dump_cell_by_cell(data, sizes))
                                << len << ": " << line << " " << group << " " << block << " " << gap
                                << " " << bits;
                            ++compared;
                        }
                    }
                }
            }
        }
    }
    EXPECT_GT(compared, 5000u);
}

TEST(Memdump, LinesLongerThanTheData) {
    const std::vector<u8> data = counting(3);
    for (bool pad : {false, true}) {
        const Sizes sizes{1000, 2, 4, 2, true, pad};
        EXPECT_EQ(dump(data, sizes), dump_cell_by_cell(data, sizes));
    }
    // Without padding, a large line size costs nothing, and neither does a gap that is never written.
    EXPECT_EQ(dump(data, {INT_MAX, 0, 0, INT_MAX, false, false}),
              (std::vector<Line>{{0, "000102", "", false}}));
}

TEST(Memdump, ACallbackStopsTheDump) {
    Collector collector;
    collector.answer = 123;
    collector.stop_after = 2;
    const std::vector<u8> data = counting(64);
    EXPECT_EQ(
        wiq_memdump_ex(data.data(), data.size(), 16, 4, 8, 1, true, false, collect, &collector),
        123);
    EXPECT_EQ(collector.lines.size(), 2u);
    collector = {};
    collector.answer = WIQ_ERR_IO;
    collector.stop_after = 1;
    EXPECT_EQ(wiq_memdump_ex(data.data(), 1, 0, 0, 0, 0, false, false, collect, &collector),
              WIQ_ERR_IO);
}

TEST(Memdump, BadArguments) {
    Collector collector;
    const u8 byte = 0;
    EXPECT_EQ(wiq_memdump_ex(nullptr, 1, 0, 0, 0, 0, false, false, collect, &collector),
              WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_memdump_ex(&byte, 0, 0, 0, 0, 0, false, false, collect, &collector),
              WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_memdump_ex(&byte, 1, 0, 0, 0, 0, false, false, nullptr, &collector),
              WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_memdump_ex(&byte, 1, 0, 0, 0, -1, false, false, collect, &collector),
              WIQ_ERR_INVALID_ARG);
    EXPECT_TRUE(collector.lines.empty());
}

TEST(Memdump, ALineThatDoesNotFitInMemory) {
    Collector collector;
    const u8 byte = 0;
    EXPECT_EQ(wiq_memdump_ex(&byte, 1, INT_MAX, 1, 1, INT_MAX, false, true, collect, &collector),
              WIQ_ERR_NO_MEMORY);
    EXPECT_TRUE(collector.lines.empty());
}

}  // namespace
