// Dumps with any parameters: every byte is shown once, in order.
#include "input.h"

namespace {

struct Shown {
    std::string digits;
    u64 next;
    int lines;
};

i32 take(void* user, u64 offset, const char* hex, const char*) {
    auto* shown = static_cast<Shown*>(user);
    CHECK(offset == shown->next);
    for (; *hex != '\0'; ++hex) {
        if (*hex != ' ')
            shown->digits += *hex;
    }
    shown->next = shown->digits.size() / 2;
    ++shown->lines;
    return 0;
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
    Shown shown = {};
    const i32 status =
        wiq_memdump_ex(reinterpret_cast<const u8*>(bytes.data()), bytes.size(), line, group, block,
                       gap, (flags & 1) != 0, (flags & 2) != 0, take, &shown);
    if (status != 0)
        return 0;
    CHECK(shown.digits.size() == 2 * bytes.size());
    for (size_t i = 0; i < bytes.size(); ++i) {
        char expected[3];
        snprintf(expected, sizeof(expected), "%02x", static_cast<u8>(bytes[i]));
        CHECK(strncasecmp(shown.digits.c_str() + 2 * i, expected, 2) == 0);
    }
    return 0;
}
