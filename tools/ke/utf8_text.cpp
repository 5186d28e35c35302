// See utf8_text.h.
#include "utf8_text.h"

namespace tool {

void append_utf8(std::string& text, u32 code_point) {
    static constexpr u32 kLead[] = {0, 0, 0xC0, 0xE0, 0xF0};
    const int length = code_point < 0x80      ? 1
                       : code_point < 0x800   ? 2
                       : code_point < 0x10000 ? 3
                                              : 4;
    text += static_cast<char>(kLead[length] | code_point >> 6 * (length - 1));
    for (int i = length - 2; i >= 0; --i)
        text += static_cast<char>(0x80 | (code_point >> 6 * i & 0x3F));
}

u32 code_point_of(std::string_view character) {
    static constexpr u32 kLeadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    u32 value = static_cast<u8>(character[0]) & kLeadBits[character.size()];
    for (char c : character.substr(1))
        value = value << 6 | (static_cast<u8>(c) & 0x3F);
    return value;
}

}  // namespace tool
