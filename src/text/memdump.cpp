// Memory as lines of hexadecimal digits in groups and blocks, with an optional column of
// characters. Each line is passed to a callback. Groups and blocks are counted from the start of
// the data, not of the line. So if their size does not divide that of a line, the separators are in
// different columns in different lines.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "text/ctype.h"

namespace {

// The two digits of each byte value.
constexpr std::array<std::array<char, 2>, 256> make_digits() {
    std::array<std::array<char, 2>, 256> digits{};
    const auto digit = [](size_t value) { return ke::to_lower(ke::kDigits[value]); };
    for (size_t byte = 0; byte < digits.size(); ++byte)
        digits[byte] = {digit(byte >> 4), digit(byte & 0xf)};
    return digits;
}
constexpr std::array<std::array<char, 2>, 256> kByteDigits = make_digits();

// The sizes of lines, groups and blocks in bytes of data, and the number of spaces between two
// blocks. In what follows, a cell is the position of one byte in a line.
struct Layout {
    u64 line;
    u64 group;
    u64 block;
    u64 gap;
    bool pad_last;
};

u64 size_or(int size, u64 otherwise) {
    return size < 1 ? otherwise : static_cast<u64>(size);
}

// Returns the largest number of separators between groups (or blocks) of `unit` cells that a line
// of `cells` can contain. The whole dump has `total` cells. If the unit does not divide the line,
// this is one more than the quotient.
u64 max_separators(u64 cells, u64 unit, u64 total) {
    return unit >= total ? 0 : cells / unit + (cells % unit != 0);
}

// Computes the size in bytes of the text of one line with its NUL; returns false if it does not fit
// into 64 bits.
bool text_size(const Layout& layout, u64 cells, u64 total, u64* size) {
    const u64 blocks = max_separators(cells, layout.block, total);
    u64 gaps = 0;
    return !__builtin_mul_overflow(cells, u64{2}, size) &&
           !__builtin_mul_overflow(blocks, layout.gap, &gaps) &&
           !__builtin_add_overflow(*size, gaps, size) &&
           !__builtin_add_overflow(*size, max_separators(cells, layout.group, total) + 1, size);
}

// Writes the characters of a line of `bytes`, padded with spaces to `cells`, and terminates them.
void write_column(const u8* data, u64 bytes, u64 cells, char* out) {
    for (u64 i = 0; i < bytes; ++i)
        out[i] = ke::is_print(static_cast<char>(data[i])) ? static_cast<char>(data[i]) : '.';
    memset(out + bytes, ' ', cells - bytes);
    out[cells] = '\0';
}

// Writes the hexadecimal text of one line after another, all into the same buffer. Between two
// lines it remembers how far the current group and block are filled.
class HexWriter {
  public:
    explicit HexWriter(const Layout& layout)
        : layout_(layout), to_group_(layout.group), to_block_(layout.block) {}

    // Writes the line of the `bytes` at `data`, padded to `cells`, and terminates it. It writes
    // runs of cells: up to the next separator, or, for groups of one byte, to the end of the block.
    void write_line(const u8* data, u64 bytes, u64 cells, char* out) {
        for (u64 cell = 0; cell < cells;) {
            const u64 left = cell < bytes ? bytes - cell : cells - cell;
            const bool apart = layout_.group == 1;
            const u64 run =
                apart ? std::min(left, to_block_) : std::min({left, to_group_, to_block_});
            const u64 size = apart ? run * 3 - 1 : run * 2;
            if (cell >= bytes)
                memset(out, ' ', size);
            else if (apart)
                write_apart(data + cell, run, out);
            else
                write_digits(data + cell, run, out);
            if (apart)
                to_group_ = run;
            cell += run;
            out = separate(run, cell == cells, out + size);
        }
        *out = '\0';
    }

  private:
    static void write_digits(const u8* data, u64 count, char* out) {
        for (u64 i = 0; i < count; ++i)
            memcpy(out + i * 2, kByteDigits[data[i]].data(), 2);
    }

    // Writes a run of groups of one byte, the usual layout, with spaces between them.
    static void write_apart(const u8* data, u64 count, char* out) {
        for (u64 i = 0; i + 1 < count; ++i, out += 3) {
            memcpy(out, kByteDigits[data[i]].data(), 2);
            out[2] = ' ';
        }
        memcpy(out, kByteDigits[data[count - 1]].data(), 2);
    }

    // Counts `run` cells as written. At the end of a group or block it adds the separator, except
    // at the end of a line.
    char* separate(u64 run, bool line_ends, char* out) {
        to_group_ -= run;
        to_block_ -= run;
        if (to_group_ == 0) {
            to_group_ = layout_.group;
            if (!line_ends)
                *out++ = ' ';
        }
        if (to_block_ == 0) {
            to_block_ = layout_.block;
            if (!line_ends)
                out = std::fill_n(out, layout_.gap, ' ');
        }
        return out;
    }

    const Layout layout_;
    u64 to_group_;  // number of cells until the current group is full; never 0 between two runs
    u64 to_block_;  // the same for the current block
};

i32 dump_lines(const u8* data, u64 len, const Layout& layout, char* hex, char* column,
               WiqMemdumpFn cb, void* user) {
    HexWriter writer(layout);
    for (u64 offset = 0; offset < len;) {
        const u64 bytes = std::min(layout.line, len - offset);
        const u64 cells = layout.pad_last ? layout.line : bytes;
        writer.write_line(data + offset, bytes, cells, hex);
        if (column != nullptr)
            write_column(data + offset, bytes, cells, column);
        const i32 status = cb(user, offset, hex, column);
        if (status != 0)
            return status;
        offset += bytes;
    }
    return 0;
}

}  // namespace

i32 wiq_memdump_ex(const u8* data, size_t len, int line_bytes, int group_bytes, int block_bytes,
                   int block_gap, bool ascii, bool pad_last, WiqMemdumpFn cb, void* user) {
    if (data == nullptr || cb == nullptr || len == 0 || block_gap < 0)
        return WIQ_ERR_INVALID_ARG;
    const Layout layout{size_or(line_bytes, len), size_or(group_bytes, len),
                        size_or(block_bytes, len), static_cast<u64>(block_gap), pad_last};
    const u64 cells = pad_last ? layout.line : std::min<u64>(layout.line, len);
    // With padding, the last line has as many cells as the others.
    const u64 total = pad_last ? (len - 1) / layout.line * layout.line + layout.line : len;
    u64 size = 0;
    if (!text_size(layout, cells, total, &size))
        return WIQ_ERR_NO_MEMORY;
    char* hex = static_cast<char*>(malloc(size));
    char* column = ascii ? static_cast<char*>(malloc(cells + 1)) : nullptr;
    const bool ready = hex != nullptr && (column != nullptr || !ascii);
    const i32 status =
        ready ? dump_lines(data, len, layout, hex, column, cb, user) : WIQ_ERR_NO_MEMORY;
    free(column);
    free(hex);
    return status;
}
