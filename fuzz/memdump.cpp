// Dumps with any parameters, compared with a model that lays out each line byte by byte.
#include <algorithm>
#include <vector>

#include "input.h"

namespace {

struct Layout {
    size_t line, group, block;
    int gap;
    bool ascii, pad;
};

struct Shown {
    std::string bytes;
    Layout layout;
    u64 next;
    int lines_left;  // after these, the callback ends the dump
};

// Returns one line, without the padding of a short last line.
std::string hex_of(const Shown& shown, size_t start, size_t stop) {
    std::string text;
    for (size_t i = start; i < stop; ++i) {
        char digits[3];
        snprintf(digits, sizeof(digits), "%02x", static_cast<u8>(shown.bytes[i]));
        text += digits;
        if (i + 1 == stop)
            break;
        if ((i + 1) % shown.layout.group == 0)
            text += ' ';
        if ((i + 1) % shown.layout.block == 0)
            text.append(static_cast<size_t>(shown.layout.gap), ' ');
    }
    return text;
}
std::string characters_of(const Shown& shown, size_t start, size_t stop) {
    std::string text = shown.bytes.substr(start, stop - start);
    for (char& c : text)
        c = c >= 0x20 && c <= 0x7e ? c : '.';
    return text;
}

// A padded line continues with nothing but blanks.
bool is_line(std::string text, const std::string& expected, bool padded) {
    if (padded && text.size() > expected.size() &&
        text.find_first_not_of(' ', expected.size()) == std::string::npos)
        text.resize(expected.size());
    return text == expected;
}

i32 take(void* user, u64 offset, const char* hex, const char* ascii) {
    auto* shown = static_cast<Shown*>(user);
    CHECK(offset == shown->next);
    const size_t stop = std::min<size_t>(offset + shown->layout.line, shown->bytes.size());
    const bool padded = shown->layout.pad && stop - offset < shown->layout.line;
    CHECK(is_line(hex, hex_of(*shown, offset, stop), padded));
    CHECK((ascii != nullptr) == shown->layout.ascii);
    if (ascii != nullptr)
        CHECK(is_line(ascii, characters_of(*shown, offset, stop), padded));
    shown->next = stop;
    return --shown->lines_left == 0 ? 4711 : 0;
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Input input(data, size);
    const int line = static_cast<i8>(input.byte());
    const int group = static_cast<i8>(input.byte());
    const int block = static_cast<i8>(input.byte());
    const int gap = static_cast<i8>(input.byte());
    const u8 flags = input.byte();
    const std::string bytes = input.rest();
    const auto count = [&](int asked) {
        return asked < 1 ? bytes.size() : static_cast<size_t>(asked);
    };
    Shown shown = {
        bytes,
        {count(line), count(group), count(block), gap, (flags & 1) != 0, (flags & 2) != 0},
        0,
        flags >> 2};
    const bool ends =
        shown.lines_left != 0 && !bytes.empty() &&
        static_cast<size_t>(shown.lines_left) <= (bytes.size() - 1) / shown.layout.line + 1;
    const i32 status =
        wiq_memdump_ex(reinterpret_cast<const u8*>(bytes.data()), bytes.size(), line, group, block,
                       gap, shown.layout.ascii, shown.layout.pad, take, &shown);
    if (bytes.empty() || gap < 0) {
        CHECK(status == WIQ_ERR_INVALID_ARG);
        return 0;
    }
    CHECK(status == (ends ? 4711 : 0));
    CHECK(ends || shown.next == bytes.size());
    return 0;
}
