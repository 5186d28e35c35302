// Base64: the vectors of RFC 4648, what the decoder accepts beyond the RFC, and capacities.
#include <cstdint>
#include <string>
#include <vector>

#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "support/pch.h"

namespace {

const u8* bytes_of(const std::string& text) {
    return reinterpret_cast<const u8*>(text.data());
}

struct Decoded {
    i32 status;
    std::string bytes;  // on failure, the whole buffer of `capacity` bytes
    size_t length;
};

// Decodes into a buffer of exactly `capacity` bytes, filled with "#", so that overruns are detected.
Decoded decode(const std::string& text, size_t capacity) {
    std::vector<u8> buffer(capacity, '#');
    u8 dummy = 0;
    size_t length = capacity;
    const i32 status = wiq_base64_decode(text.data(), text.size(),
                                         capacity == 0 ? &dummy : buffer.data(), &length);
    const size_t shown = status == 0 ? length : capacity;
    return {status, std::string(buffer.begin(), buffer.begin() + static_cast<long>(shown)), length};
}

std::string encode(const std::string& bytes) {
    std::string out(wiq_base64_encode_len(bytes.size()), '#');
    size_t length = out.size();
    EXPECT_EQ(wiq_base64_encode(bytes_of(bytes), bytes.size(), out.data(), &length), 0);
    EXPECT_EQ(length, out.size() - 1);
    EXPECT_EQ(out.back(), '\0');
    out.resize(length);
    return out;
}

std::string some_bytes(size_t n) {
    std::string bytes(n, '\0');
    u32 state = 12345;
    for (char& c : bytes) {
        state = state * 1664525 + 1013904223;
        c = static_cast<char>(state >> 24);
    }
    return bytes;
}

TEST(Base64, VectorsOfTheRfc) {
    const struct {
        const char* bytes;
        const char* text;
    } rows[] = {{"", ""},
                {"f", "Zg=="},
                {"fo", "Zm8="},
                {"foo", "Zm9v"},
                {"foob", "Zm9vYg=="},
                {"fooba", "Zm9vYmE="},
                {"foobar", "Zm9vYmFy"}};
    for (const auto& row : rows) {
        EXPECT_EQ(encode(row.bytes), row.text);
        const Decoded decoded = decode(row.text, 6);
        EXPECT_EQ(decoded.status, 0);
        EXPECT_EQ(decoded.bytes, row.bytes);
    }
}

TEST(Base64, EveryCharacterOfTheAlphabet) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const Decoded decoded = decode(alphabet, 48);
    ASSERT_EQ(decoded.status, 0);
    ASSERT_EQ(decoded.length, 48u);
    EXPECT_EQ(encode(decoded.bytes), alphabet);
    // Extract the sextets by hand; they must be 0, 1, 2, ...
    for (u32 i = 0; i < 64; ++i) {
        u32 sextet = 0;
        for (u32 bit = i * 6; bit < i * 6 + 6; ++bit)
            sextet = sextet << 1 | (static_cast<u8>(decoded.bytes[bit / 8]) >> (7 - bit % 8) & 1u);
        EXPECT_EQ(sextet, i);
    }
}

TEST(Base64, EncodeLength) {
    const size_t expected[] = {1, 5, 5, 5, 9, 9, 9, 13};
    for (size_t n = 0; n < 8; ++n)
        EXPECT_EQ(wiq_base64_encode_len(n), expected[n]);
    EXPECT_EQ(wiq_base64_encode_len(3000000), 4000001u);
}

TEST(Base64, EncodeRefusesShortBuffers) {
    for (size_t n : {size_t{0}, size_t{1}, size_t{2}, size_t{3}, size_t{4}, size_t{100}}) {
        const std::string bytes = some_bytes(n);
        const size_t need = wiq_base64_encode_len(n);
        for (size_t capacity = 0; capacity < need; ++capacity) {
            std::vector<char> out(need, '#');
            size_t length = capacity;
            EXPECT_EQ(wiq_base64_encode(bytes_of(bytes), n, out.data(), &length),
                      WIQ_ERR_BUFFER_TOO_SMALL);
            EXPECT_EQ(length, capacity);
            EXPECT_EQ(out[0], capacity == 0 ? '#' : '\0');
            EXPECT_EQ(std::string(out.begin() + 1, out.end()), std::string(need - 1, '#'));
        }
    }
}

TEST(Base64, EncodeRefusesLengthsBeyondMemory) {
    const u8 byte = 0;
    for (size_t n : {SIZE_MAX, SIZE_MAX - 1, SIZE_MAX / 4 * 3, SIZE_MAX / 2 + SIZE_MAX / 3}) {
        char out[8] = "#######";
        size_t length = sizeof out;
        EXPECT_EQ(wiq_base64_encode(&byte, n, out, &length), WIQ_ERR_BUFFER_TOO_SMALL);
        EXPECT_STREQ(out, "");
        EXPECT_EQ(length, sizeof out);
    }
}

TEST(Base64, NullPointers) {
    u8 bytes[4] = {};
    char text[8] = "AAAA";
    size_t length = 8;
    EXPECT_EQ(wiq_base64_encode(nullptr, 0, text, &length), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_base64_encode(bytes, 1, nullptr, &length), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_base64_encode(bytes, 1, text, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_base64_decode(nullptr, 0, bytes, &length), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_base64_decode(text, 4, nullptr, &length), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_base64_decode(text, 4, bytes, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_STREQ(text, "AAAA");
    EXPECT_EQ(length, 8u);
    EXPECT_EQ(wiq_base64_decode_len(nullptr, 5), 0u);
}

TEST(Base64, DecodeTable) {
    const struct {
        const char* text;
        i32 status;
        const char* bytes;
        size_t estimate;  // the result of wiq_base64_decode_len()
    } rows[] = {
        {"Zm9v\nYmFy", 0, "foobar", 6},
        {"\nZ\nm\n9\nv\n", 0, "foo", 3},
        {"\n\n\n", 0, "", 0},
        {"Zm9v\r\nYmFy", WIQ_ERR_INVALID_VALUE, nullptr, 3},
        {"Zm9v YmFy", WIQ_ERR_INVALID_VALUE, nullptr, 3},
        {"Zm8=", 0, "fo", 2},
        {"Zm8", 0, "fo", 2},
        {"Zg", 0, "f", 1},
        {"Zh", 0, "f", 1},  // left-over bits are ignored
        {"Z", 0, "", 0},
        {"Zm9vZ", 0, "foo", 3},
        {"=", 0, "", 0},
        {"Zg==Zm8=", 0, "f", 1},
        {"Zm9v=\xff", 0, "foo", 3},
        {"Zm9-", WIQ_ERR_INVALID_VALUE, nullptr, 2},
        {"_", WIQ_ERR_INVALID_VALUE, nullptr, 0},
        {"Zm\xc3\xa9v", WIQ_ERR_INVALID_VALUE, nullptr, 1},
        {"Zm9vYmFyZm9v\x80", WIQ_ERR_INVALID_VALUE, nullptr, 9},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const Decoded decoded = decode(row.text, 64);
        EXPECT_EQ(decoded.status, row.status);
        if (row.status == 0)
            EXPECT_EQ(decoded.bytes, row.bytes);
        else
            EXPECT_EQ(decoded.length, 64u) << "capacity changed on failure";
        EXPECT_EQ(wiq_base64_decode_len(row.text, strlen(row.text)), row.estimate);
    }
}

TEST(Base64, EveryByteIsSextetMarkOrInvalid) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text = std::string("AAA") + static_cast<char>(byte);
        const Decoded decoded = decode(text, 8);
        const size_t sextet = alphabet.find(static_cast<char>(byte));
        if (sextet != std::string::npos) {
            EXPECT_EQ(decoded.bytes, std::string({'\0', '\0', static_cast<char>(sextet)}));
        } else if (byte == '\n' || byte == '=') {
            EXPECT_EQ(decoded.bytes, std::string(2, '\0'));
        } else {
            EXPECT_EQ(decoded.status, WIQ_ERR_INVALID_VALUE) << byte;
        }
    }
}

TEST(Base64, DecodeChecksCapacityBeforeLength) {
    size_t length = 0;
    u8 out = 7;
    EXPECT_EQ(wiq_base64_decode("", 0, &out, &length), WIQ_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(wiq_base64_decode("Zg==", 4, &out, &length), WIQ_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 0u);
    length = 1;
    EXPECT_EQ(wiq_base64_decode("", 0, &out, &length), 0);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(out, 7);
}

TEST(Base64, DecodeKeepsWhatWasWrittenBeforeTheBufferWasFull) {
    const std::string bytes = some_bytes(10);
    for (const std::string& text : {encode(bytes), "\n" + encode(bytes), encode(bytes) + "\n"}) {
        for (size_t capacity = 1; capacity < 10; ++capacity) {
            const Decoded decoded = decode(text, capacity);
            EXPECT_EQ(decoded.status, WIQ_ERR_BUFFER_TOO_SMALL);
            EXPECT_EQ(decoded.length, capacity);
            const size_t whole = capacity / 3 * 3;  // only complete groups are written
            EXPECT_EQ(decoded.bytes, bytes.substr(0, whole) + std::string(capacity - whole, '#'));
        }
        EXPECT_EQ(decode(text, 10).bytes, bytes);
    }
}

TEST(Base64, DecodeInPlace) {
    const std::string bytes = some_bytes(100);
    std::string text = encode(bytes);
    text.insert(31, "\n\n");
    size_t length = text.size();
    ASSERT_EQ(
        wiq_base64_decode(text.data(), text.size(), reinterpret_cast<u8*>(text.data()), &length),
        0);
    EXPECT_EQ(text.substr(0, length), bytes);
}

TEST(Base64, AnInvalidByteInTheGroupThatDoesNotFitIsFoundFirst) {
    EXPECT_EQ(decode("Zm9vYm!y", 3).status, WIQ_ERR_INVALID_VALUE);
    EXPECT_EQ(decode("Zm9vYmF!", 3).status, WIQ_ERR_INVALID_VALUE);
    EXPECT_EQ(decode("Zm9vYmFy!", 3).status, WIQ_ERR_BUFFER_TOO_SMALL);
}

TEST(Base64, RoundTripsOfEveryLengthWithLineFeedsAnywhere) {
    for (size_t n = 0; n < 200; ++n) {
        const std::string bytes = some_bytes(n);
        std::string text = encode(bytes);
        EXPECT_EQ(decode(text, n + 1).bytes, bytes);
        for (size_t at = n % 7; at < text.size(); at += 2 + n % 13)
            text.insert(at, "\n");
        const Decoded decoded = decode(text, n == 0 ? 1 : n);
        EXPECT_EQ(decoded.status, 0);
        EXPECT_EQ(decoded.bytes, bytes);
        EXPECT_EQ(wiq_base64_decode_len(text.data(), text.size()), n);
    }
}

}  // namespace
