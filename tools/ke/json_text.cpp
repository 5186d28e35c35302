// See json_text.h.
#include "json_text.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "failure.h"
#include "ke_utils/core.h"

namespace tool {

namespace {

// The text in ASCII, and which byte of the original each part came from.
class AsciiText {
  public:
    AsciiText(const std::string& name, std::string_view text) {
        ascii_.reserve(text.size());
        for (size_t at = 0; at < text.size();) {
            const auto lead = static_cast<u8>(text[at]);
            if (lead == 0)
                throw failure_at(name, text, at, WIQ_ERR_JSON_BAD_TOKEN);
            if (lead < 0x80) {
                ascii_ += text[at++];
                continue;
            }
            const size_t length = sequence_length(text.substr(at));
            if (length == 0)
                throw failure_at(name, text, at, WIQ_ERR_JSON_BAD_UTF8);
            places_.push_back({ascii_.size(), at});
            append_escape(code_point(text.substr(at, length)));
            at += length;
            places_.push_back({ascii_.size(), at});
        }
    }

    const std::string& ascii() const { return ascii_; }

    // The original place of an ASCII offset; inside an escape, the start of its character.
    size_t original(size_t offset) const {
        const auto next =
            std::upper_bound(places_.begin(), places_.end(), offset,
                             [](size_t value, const Place& place) { return value < place.ascii; });
        if (next == places_.begin())
            return offset;
        const Place& known = *(next - 1);
        const bool in_escape = (next - places_.begin()) % 2 == 1;
        return in_escape ? known.original : known.original + (offset - known.ascii);
    }

  private:
    struct Place {
        size_t ascii;
        size_t original;
    };

    // The length of the valid UTF-8 sequence at the front, or 0. A text that cannot be escaped holds an
    // invalid sequence, so the library itself is asked.
    static size_t sequence_length(std::string_view text) {
        const u32 length = wiq_utf8_char_sz(static_cast<u8>(text[0]));
        if (length == 0 || length > text.size())
            return 0;
        char* escaped = wiq_json_escape_str(std::string(text.substr(0, length)).c_str());
        free(escaped);
        return escaped == nullptr ? 0 : length;
    }

    static u32 code_point(std::string_view sequence) {
        static constexpr u8 kLeadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
        u32 value = static_cast<u8>(sequence[0]) & kLeadBits[sequence.size()];
        for (char c : sequence.substr(1))
            value = value << 6 | (static_cast<u8>(c) & 0x3F);
        return value;
    }

    void append_escape(u32 code_point) {
        if (code_point >= 0x10000) {
            append_unit(0xD800 + ((code_point - 0x10000) >> 10));
            append_unit(0xDC00 + ((code_point - 0x10000) & 0x3FF));
        } else {
            append_unit(code_point);
        }
    }

    void append_unit(u32 unit) {
        static constexpr char kDigits[] = "0123456789abcdef";
        ascii_ += "\\u";
        for (int shift = 12; shift >= 0; shift -= 4)
            ascii_ += kDigits[unit >> shift & 0xF];
    }

    std::string ascii_;
    // In pairs: the start of an escape, and the first byte behind it.
    std::vector<Place> places_;
};

}  // namespace

Json parse_json(const std::string& name, std::string_view text) {
    const AsciiText ascii(name, text);
    wiq_json_load_error err;
    Json root(wiq_json_loads(ascii.ascii().c_str(), 0, &err));
    if (root)
        return root;
    // The position counts the byte that was found wrong; at an early end there is none.
    auto place = static_cast<size_t>(std::max(err.position, 0));
    if (place > 0 && err.status != WIQ_ERR_JSON_UNEXPECTED_END)
        --place;
    throw failure_at(name, text, ascii.original(place), err.status);
}

std::string dump_json(wiq_json_t* node, u32 flags) {
    char* text = nullptr;
    const i32 length = wiq_json_sdump(node, &text, flags);
    check("the document", length);
    std::string result(text, static_cast<size_t>(length));
    free(text);
    return result;
}

wiq_json_t* find(wiq_json_t* root, const std::string& pointer) {
    u32 err = 0;
    char* prefix = nullptr;
    wiq_json_t* node = wiq_json_ptr_get(root, pointer.c_str(), &err, &prefix);
    if (node != nullptr)
        return node;
    const std::string reached = prefix == nullptr ? pointer : prefix;
    free(prefix);
    std::string subject = "pointer \"" + pointer + "\"";
    if (reached != pointer)
        subject += ", at \"" + reached + "\"";
    throw failure(subject, static_cast<i32>(err));
}

}  // namespace tool
