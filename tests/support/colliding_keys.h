// Keys that all have the same hash, as an attacker would make them to slow a program down. Tests and
// benchmarks use them to find out what long chains cost.
//
// The hash processes a text in words of 4 bytes. Each word turns one state into another, and every step of
// that can be inverted. So for any first word there is a second one that leads to a chosen state. A key
// consists of two such pairs of words; a thousand of each pair give a million keys.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace colliding {

constexpr uint32_t kSeed = 0x11223344;

// Returns the multiplicative inverse of an odd number modulo 2^32.
constexpr uint32_t inverse(uint32_t odd) {
    uint32_t result = odd;
    for (int i = 0; i < 4; ++i)
        result *= 2 - odd * result;
    return result;
}

inline uint32_t scramble(uint32_t word) {
    return std::rotl(word * 0xcc9e2d51u, 15) * 0x1b873593u;
}
inline uint32_t add_word(uint32_t state, uint32_t word) {
    return std::rotl(state ^ scramble(word), 13) * 5 + 0xe6546b64u;
}
// Returns the word that turns the state `from` into `to`.
inline uint32_t word_between(uint32_t from, uint32_t to) {
    const uint32_t scrambled = std::rotr((to - 0xe6546b64u) * inverse(5), 13) ^ from;
    return std::rotr(scrambled * inverse(0x1b873593u), 15) * inverse(0xcc9e2d51u);
}
// Returns the state before the final steps, from which a text of this length gets this hash.
inline uint32_t state_before(uint32_t hash, uint32_t length) {
    hash ^= hash >> 16;
    hash *= inverse(0xc2b2ae35u);
    hash ^= hash >> 13 ^ hash >> 26;
    hash *= inverse(0x85ebca6bu);
    hash ^= hash >> 16;
    return hash ^ length;
}

// Returns whether a word can appear in JSON text without escapes.
inline bool is_plain(uint32_t word) {
    for (int i = 0; i < 4; ++i, word >>= 8) {
        const uint32_t byte = word & 0xff;
        if (byte <= ' ' || byte >= 0x7f || byte == '"' || byte == '\\' || byte == '/' ||
            byte == '~')
            return false;
    }
    return true;
}

// Returns `count` different texts of 8 bytes, each of which turns the state `from` into `to`.
inline std::vector<std::string> pairs_of_words(uint32_t from, uint32_t to, size_t count) {
    std::vector<std::string> pairs;
    constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";
    for (uint32_t n = 0; pairs.size() < count && n < 1u << 24; ++n) {
        char text[8];
        for (uint32_t i = 0; i < 4; ++i)
            text[i] = kLetters[n >> 6 * i & 63];
        uint32_t first = 0;
        std::memcpy(&first, text, sizeof(first));
        const uint32_t second = word_between(add_word(from, first), to);
        if (!is_plain(second))
            continue;
        std::memcpy(text + 4, &second, sizeof(second));
        pairs.emplace_back(text, sizeof(text));
    }
    return pairs;
}

// Returns `count` different keys with this hash, each 16 printable characters long.
inline std::vector<std::string> keys(size_t count, uint32_t hash = 12345) {
    constexpr uint32_t kBetween = 0x5eed;
    size_t side = 1;
    while (side * side < count)
        ++side;
    const auto front = pairs_of_words(kSeed, kBetween, side);
    const auto back = pairs_of_words(kBetween, state_before(hash, 17), side);
    std::vector<std::string> result;
    result.reserve(count);
    for (const std::string& first : front) {
        for (const std::string& second : back) {
            if (result.size() == count)
                return result;
            result.push_back(first + second);
        }
    }
    return result;
}

// Returns `count` keys with the same hash as `key`, each of which begins with `key`. The length of `key` must be
// a multiple of 4.
inline std::vector<std::string> longer_keys(const std::string& key, size_t count,
                                            uint32_t hash = 12345) {
    const auto length = static_cast<uint32_t>(key.size());
    std::vector<std::string> result =
        pairs_of_words(state_before(hash, length + 1), state_before(hash, length + 9), count);
    for (std::string& longer : result)
        longer.insert(0, key);
    return result;
}

// Returns as many ordinary keys of the same length, for comparison.
inline std::vector<std::string> ordinary_keys(size_t count) {
    std::vector<std::string> result;
    result.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        const std::string digits = std::to_string(i);
        result.push_back("ordinary-" + std::string(7 - digits.size(), '0') + digits);
    }
    return result;
}

// Returns an object with these keys as JSON text; each value is the key's number.
inline std::string object_text(const std::vector<std::string>& keys) {
    std::string text = "{";
    for (size_t i = 0; i < keys.size(); ++i) {
        text += text.size() > 1 ? "," : "";
        text += "\"" + keys[i] + "\":" + std::to_string(i);
    }
    return text + "}";
}

}  // namespace colliding
