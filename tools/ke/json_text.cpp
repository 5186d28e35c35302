// See json_text.h.
#include "json_text.h"

#include <cstdlib>
#include <limits>

#include "failure.h"
#include "json_string.h"
#include "ke_utils.h"
#include "scanner.h"

namespace tool {

namespace {

void append_unit(std::string& text, u32 unit) {
    static constexpr char kDigits[] = "0123456789abcdef";
    text += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4)
        text += kDigits[unit >> shift & 0xF];
}

// The text is good JSON, so what is beyond ASCII is valid UTF-8.
std::string in_ascii(std::string_view text) {
    static constexpr u8 kLeadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    std::string ascii;
    ascii.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        const u32 length = wiq_utf8_char_sz(static_cast<u8>(text[at]));
        if (length < 2) {
            ascii += text[at++];
            continue;
        }
        u32 code_point = static_cast<u8>(text[at]) & kLeadBits[length];
        for (u32 i = 1; i < length; ++i)
            code_point = code_point << 6 | (static_cast<u8>(text[at + i]) & 0x3F);
        at += length;
        if (code_point >= 0x10000) {
            append_unit(ascii, 0xD800 + ((code_point - 0x10000) >> 10));
            append_unit(ascii, 0xDC00 + ((code_point - 0x10000) & 0x3FF));
        } else {
            append_unit(ascii, code_point);
        }
    }
    return ascii;
}

// Finds mistakes and numbers that a tree cannot hold.
void check_text(const std::string& name, std::string_view text) {
    Source source(name, text);
    Scanner scanner(source);
    for (Token token = scanner.next(); token != Token::end; token = scanner.next()) {
        if (token == Token::number && fit_of(scanner.text()) == Fit::too_large)
            throw scanner.failure(
                "the number " + std::string(scanner.text()) +
                    " cannot be kept exactly enough to be compared (integers have "
                    "128 bits, others the range of a double)",
                kExitNo);
    }
}

}  // namespace

Json parse_json(const std::string& name, std::string_view text) {
    check_text(name, text);
    const std::string ascii = in_ascii(text);
    if (ascii.size() >= static_cast<size_t>(std::numeric_limits<i32>::max()))
        throw Failure{name + ": has 2 GiB or more, too much for this command"};
    wiq_json_load_error err;
    Json root(wiq_json_loads(ascii.c_str(), 0, &err));
    if (!root)
        throw failure(name, err.status);
    return root;
}

std::string dump_json(wiq_json_t* node) {
    char* text = nullptr;
    const i32 length = wiq_json_sdump(node, &text, 0);
    check("the document", length);
    std::string result(text, static_cast<size_t>(length));
    free(text);
    return result;
}

}  // namespace tool
