// Base64: bytes come back, and anything can be decoded or is refused within its bounds.
#include <vector>

#include "input.h"

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    // Blocks of just the size, so that the sanitizer sees a byte too many.
    if (size != 0) {
        size_t length = wiq_base64_encode_len(size);
        std::vector<char> text(length);
        CHECK(wiq_base64_encode(data, size, text.data(), &length) == 0);
        size_t decoded = wiq_base64_decode_len(text.data(), length);
        std::vector<u8> bytes(decoded + 1);
        size_t room = bytes.size();
        CHECK(wiq_base64_decode(text.data(), length, bytes.data(), &room) == 0);
        CHECK(room == size);
        CHECK(memcmp(bytes.data(), data, size) == 0);
    }
    std::vector<char> text(data, data + size);
    for (const size_t capacity : {size_t{0}, size / 2, size, size + 1}) {
        std::vector<u8> bytes(capacity);
        size_t room = capacity;
        if (wiq_base64_decode(text.data(), size, bytes.data(), &room) == 0)
            CHECK(room <= capacity);
    }
    return 0;
}
