// Base64 with the standard alphabet and padding of RFC 4648, section 4. Decoding differs from the
// RFC on purpose: line feeds are skipped, padding may be missing, and what follows the first "=" is
// not read.
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "ke_utils/core.h"
#include "ke_utils/text.h"

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kPadding = '=';

// What a byte means to the decoder: a sextet (0 to 63), or one of the marks. All marks have bit 6
// set and no sextet has, so one test finds a mark among several values that were combined with "|".
constexpr u8 kMarkBit = 0x40;
constexpr u8 kSkip = kMarkBit;
constexpr u8 kStop = kMarkBit | 1;
constexpr u8 kInvalid = kMarkBit | 2;

constexpr std::array<u8, 256> make_decoding_table() {
    std::array<u8, 256> table{};
    table.fill(kInvalid);
    for (size_t sextet = 0; sextet < kAlphabet.size(); ++sextet)
        table[static_cast<u8>(kAlphabet[sextet])] = static_cast<u8>(sextet);
    table['\n'] = kSkip;
    table[static_cast<u8>(kPadding)] = kStop;
    return table;
}
constexpr std::array<u8, 256> kDecoding = make_decoding_table();

u8 decode_byte(char c) {
    return kDecoding[static_cast<u8>(c)];
}

// The characters for twelve bits at a time: this halves the number of look-ups, and the table of 8
// KB fits into the first-level cache.
using Pair = std::array<char, 2>;
constexpr std::array<Pair, 4096> make_pairs() {
    std::array<Pair, 4096> pairs{};
    for (size_t bits = 0; bits < pairs.size(); ++bits)
        pairs[bits] = {kAlphabet[bits >> 6], kAlphabet[bits & 0x3f]};
    return pairs;
}
constexpr std::array<Pair, 4096> kPairs = make_pairs();

// Encodes six bytes as eight characters. Eight bytes must be readable at `in`, since they are
// loaded as one number.
void encode_six(const u8* in, char* out) {
    u64 bits = 0;
    memcpy(&bits, in, sizeof(bits));
    if constexpr (std::endian::native == std::endian::little)
        bits = __builtin_bswap64(bits);
    for (size_t i = 0; i < 4; ++i) {
        const Pair& pair = kPairs[bits >> 52];
        memcpy(out + 2 * i, pair.data(), pair.size());
        bits <<= 12;
    }
}

char sextet_at(u32 bits, u32 shift) {
    return kAlphabet[bits >> shift & 0x3f];
}

// Encodes three bytes as four characters; returns the end.
char* encode_group(const u8* in, char* out) {
    const u32 bits = static_cast<u32>(in[0] << 16 | in[1] << 8 | in[2]);
    out[0] = sextet_at(bits, 18);
    out[1] = sextet_at(bits, 12);
    out[2] = sextet_at(bits, 6);
    out[3] = sextet_at(bits, 0);
    return out + 4;
}

// Encodes the last one or two bytes, with padding; returns the end.
char* encode_tail(const u8* in, size_t n, char* out) {
    const u32 bits = static_cast<u32>(in[0] << 16 | (n == 2 ? in[1] << 8 : 0));
    out[0] = sextet_at(bits, 18);
    out[1] = sextet_at(bits, 12);
    out[2] = n == 2 ? sextet_at(bits, 6) : kPadding;
    out[3] = kPadding;
    return out + 4;
}

// Decodes into a buffer. Sextets that do not make a whole group yet are kept in bits_.
class Decoder {
  public:
    Decoder(u8* out, size_t capacity) : out_(out), capacity_(capacity) {}

    size_t written() const { return written_; }

    // Decodes up to the end of the text or the first "=". Written bytes never overtake the bytes
    // that are read, so `in` may be the buffer itself.
    i32 decode(const char* in, size_t n) {
        for (size_t i = 0; i < n;) {
            if (count_ == 0)
                i += take_groups(in + i, n - i);
            if (i == n)
                break;
            const u8 value = decode_byte(in[i++]);
            if (value == kStop)
                break;
            if (value == kInvalid)
                return WIQ_ERR_INVALID_VALUE;
            const i32 status = value == kSkip ? 0 : take_sextet(value);
            if (status != 0)
                return status;
        }
        return finish();
    }

  private:
    bool fits(size_t more) const { return more <= capacity_ - written_; }

    void put_group(u32 group) {
        out_[written_] = static_cast<u8>(group >> 16);
        out_[written_ + 1] = static_cast<u8>(group >> 8);
        out_[written_ + 2] = static_cast<u8>(group);
        written_ += 3;
    }

    // Decodes groups of four alphabet characters, as long as they follow each other directly and
    // fit. Stops before the first group that does not. Returns the number of characters taken. Only
    // for count_ == 0.
    size_t take_groups(const char* in, size_t n) {
        size_t i = 0;
        for (; n - i >= 4 && fits(3); i += 4) {
            const u32 a = decode_byte(in[i]);
            const u32 b = decode_byte(in[i + 1]);
            const u32 c = decode_byte(in[i + 2]);
            const u32 d = decode_byte(in[i + 3]);
            if (((a | b | c | d) & kMarkBit) != 0)
                break;
            put_group(a << 18 | b << 12 | c << 6 | d);
        }
        return i;
    }

    i32 take_sextet(u8 sextet) {
        bits_ = bits_ << 6 | sextet;
        if (++count_ < 4)
            return 0;
        if (!fits(3))
            return WIQ_ERR_BUFFER_TOO_SMALL;
        put_group(bits_);
        bits_ = 0;
        count_ = 0;
        return 0;
    }

    // Decodes what is left over: three sextets contain two bytes, two contain one, and a single one
    // contains none.
    i32 finish() {
        const size_t bytes = count_ == 0 ? 0 : count_ - 1;
        if (!fits(bytes))
            return WIQ_ERR_BUFFER_TOO_SMALL;
        const u32 group = bits_ << (6 * (4 - count_));
        for (size_t i = 0; i < bytes; ++i)
            out_[written_++] = static_cast<u8>(group >> (16 - 8 * i));
        return 0;
    }

    u8* const out_;
    const size_t capacity_;
    size_t written_ = 0;
    u32 bits_ = 0;
    u32 count_ = 0;  // number of sextets in bits_
};

}  // namespace

size_t wiq_base64_encode_len(size_t n) {
    return (n + 2) / 3 * 4 + 1;
}

i32 wiq_base64_encode(const u8* in, size_t n, char* out, size_t* out_len) {
    if (in == nullptr || out == nullptr || out_len == nullptr)
        return WIQ_ERR_INVALID_ARG;
    // Beyond this, the length of the text does not fit into a size_t.
    constexpr size_t kMaxInput = SIZE_MAX / 4 * 3 - 3;
    if (n > kMaxInput || *out_len < wiq_base64_encode_len(n)) {
        if (*out_len != 0)
            out[0] = '\0';
        return WIQ_ERR_BUFFER_TOO_SMALL;
    }
    char* end = out;
    // encode_six() reads two bytes more than it encodes, so the last bytes are encoded by threes.
    for (; n >= sizeof(u64); in += 6, n -= 6, end += 8)
        encode_six(in, end);
    for (; n >= 3; in += 3, n -= 3)
        end = encode_group(in, end);
    if (n != 0)
        end = encode_tail(in, n, end);
    *end = '\0';
    *out_len = static_cast<size_t>(end - out);
    return 0;
}

size_t wiq_base64_decode_len(const char* in, size_t n) {
    size_t count = 0;
    for (size_t i = 0; in != nullptr && i < n; ++i) {
        const u8 value = decode_byte(in[i]);
        if (value == kSkip)
            continue;
        if ((value & kMarkBit) != 0)
            break;
        ++count;
    }
    return count / 4 * 3 + count % 4 * 3 / 4;
}

i32 wiq_base64_decode(const char* in, size_t n, u8* out, size_t* out_len) {
    if (in == nullptr || out == nullptr || out_len == nullptr)
        return WIQ_ERR_INVALID_ARG;
    if (*out_len == 0)
        return WIQ_ERR_BUFFER_TOO_SMALL;
    Decoder decoder(out, *out_len);
    const i32 status = decoder.decode(in, n);
    if (status == 0)
        *out_len = decoder.written();
    return status;
}
