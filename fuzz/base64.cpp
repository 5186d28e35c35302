// Base64: encoded bytes are decoded to the same bytes. Any text is decoded or refused as by a model of the rules,
// and nothing outside its bounds is read.
#include <vector>

#include "input.h"

namespace {

struct Decoded {
    i32 status;
    std::string bytes;  // what is written, even before a failure
};

// Decodes one character after the other.
Decoded decode(const char* text, size_t size, size_t capacity) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    Decoded result = {0, ""};
    u32 bits = 0;
    int count = 0;
    if (capacity == 0)
        return {WIQ_ERR_BUFFER_TOO_SMALL, ""};
    for (size_t i = 0; i < size && text[i] != '='; ++i) {
        if (text[i] == '\n')
            continue;
        const size_t value = text[i] == '\0' ? std::string::npos : alphabet.find(text[i]);
        if (value == std::string::npos)
            return {WIQ_ERR_INVALID_VALUE, result.bytes};
        bits = bits << 6 | static_cast<u32>(value);
        if (++count % 4 != 0)
            continue;
        if (result.bytes.size() + 3 > capacity)
            return {WIQ_ERR_BUFFER_TOO_SMALL, result.bytes};
        for (int shift = 16; shift >= 0; shift -= 8)
            result.bytes += static_cast<char>(bits >> shift);
    }
    const size_t left = count % 4 == 0 ? 0 : static_cast<size_t>(count % 4 - 1);
    if (result.bytes.size() + left > capacity)
        return {WIQ_ERR_BUFFER_TOO_SMALL, result.bytes};
    for (size_t i = 0; i < left; ++i)
        result.bytes += static_cast<char>(bits << 6 * (4 - count % 4) >> (16 - 8 * i));
    return result;
}

void check_decoding(const char* text, size_t size, size_t capacity) {
    // A block of exactly this size, so that the sanitizer detects an overrun.
    std::vector<u8> bytes(capacity);
    size_t room = capacity;
    const Decoded expected = decode(text, size, capacity);
    CHECK(wiq_base64_decode(text, size, capacity == 0 ? reinterpret_cast<u8*>(&room) : bytes.data(),
                            &room) == expected.status);
    CHECK(room == (expected.status == 0 ? expected.bytes.size() : capacity));
    CHECK(expected.bytes.empty() ||
          memcmp(bytes.data(), expected.bytes.data(), expected.bytes.size()) == 0);
    if (expected.status == 0)
        CHECK(wiq_base64_decode_len(text, size) == expected.bytes.size());
}

void check_encoding(const u8* data, size_t size) {
    size_t length = wiq_base64_encode_len(size);
    std::vector<char> text(length);
    CHECK(wiq_base64_encode(data, size, text.data(), &length) == 0);
    CHECK(length + 1 == text.size() && text[length] == '\0');
    const Decoded expected = decode(text.data(), length, size + 1);
    CHECK(expected.status == 0 && expected.bytes == std::string(data, data + size));
    // Decode in place.
    size_t room = text.size();
    CHECK(wiq_base64_decode(text.data(), length, reinterpret_cast<u8*>(text.data()), &room) == 0);
    CHECK(room == size && (size == 0 || memcmp(text.data(), data, size) == 0));
    std::vector<char> small(text.size() - 1);
    length = small.size();
    if (length != 0)
        CHECK(wiq_base64_encode(data, size, small.data(), &length) == WIQ_ERR_BUFFER_TOO_SMALL &&
              small[0] == '\0');
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    if (size != 0)
        check_encoding(data, size);
    const std::vector<char> text(data, data + size);
    for (const size_t capacity : {size_t{0}, size_t{1}, size / 2, size * 3 / 4, size, size + 1})
        check_decoding(text.data() == nullptr ? "" : text.data(), size, capacity);
    return 0;
}
