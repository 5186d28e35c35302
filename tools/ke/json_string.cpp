// See json_string.h.
#include "json_string.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>

#include "failure.h"
#include "ke_utils.h"
#include "utf8_text.h"

namespace tool {

namespace {

u32 hex_at(std::string_view token, size_t at) {
    u32 value = 0;
    for (char c : token.substr(at, 4))
        value = value << 4 | static_cast<u32>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
    return value;
}

char plain_escape(char c) {
    switch (c) {
        case 'b':
            return '\b';
        case 'f':
            return '\f';
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        default:
            return c;
    }
}

// A decimal number as its sign, its digits without zeros at either end, and the power of ten for a decimal
// point before the first digit.
struct Decimal {
    bool negative = false;
    std::string digits;  // empty for zero
    long long power = 0;
};

Decimal decimal_of(std::string_view token) {
    Decimal number;
    number.negative = token[0] == '-';
    size_t at = number.negative ? 1 : 0;
    bool fraction = false;
    for (; at < token.size() && token[at] != 'e' && token[at] != 'E'; ++at) {
        if (token[at] == '.') {
            fraction = true;
            continue;
        }
        if (number.digits.empty() && token[at] == '0') {
            number.power -= fraction ? 1 : 0;
            continue;
        }
        number.digits += token[at];
        number.power += fraction ? 0 : 1;
    }
    while (!number.digits.empty() && number.digits.back() == '0')
        number.digits.pop_back();
    if (number.digits.empty())
        return {};
    if (at < token.size()) {
        // No text has enough digits to make up for an exponent beyond 2^61, so all such exponents can be
        // treated alike.
        const long long exponent = strtoll(std::string(token.substr(at + 1)).c_str(), nullptr, 10);
        number.power += std::clamp(exponent, -(1LL << 61), 1LL << 61);
    }
    return number;
}

}  // namespace

std::string decode_string(std::string_view token) {
    std::string text;
    text.reserve(token.size());
    for (size_t at = 1; at + 1 < token.size();) {
        if (token[at] != '\\') {
            text += token[at++];
            continue;
        }
        if (token[at + 1] != 'u') {
            text += plain_escape(token[at + 1]);
            at += 2;
            continue;
        }
        u32 code_point = hex_at(token, at + 2);
        at += 6;
        if (code_point >= 0xD800 && code_point <= 0xDBFF) {
            code_point = 0x10000 + ((code_point - 0xD800) << 10) + (hex_at(token, at + 2) - 0xDC00);
            at += 6;
        }
        append_utf8(text, code_point);
    }
    return text;
}

std::string encode_string(std::string_view text) {
    struct Free {
        void operator()(char* block) const { free(block); }
    };
    const std::string whole(text);
    if (whole.find('\0') != std::string::npos)
        throw Failure{"a text with a zero byte cannot be a JSON string of the library"};
    const std::unique_ptr<char, Free> escaped(wiq_json_escape_str(whole.c_str()));
    if (!escaped)
        throw Failure{"a text is not valid UTF-8; convert it first"};
    return "\"" + std::string(escaped.get()) + "\"";
}

bool stands_for(std::string_view token, std::string_view text) {
    const std::string_view inside = token.substr(1, token.size() - 2);
    if (inside.find('\\') == std::string_view::npos)
        return inside == text;
    return inside.size() >= text.size() && decode_string(token) == text;
}

int compare_numbers(std::string_view a, std::string_view b) {
    const Decimal x = decimal_of(a);
    const Decimal y = decimal_of(b);
    const auto sign = [](const Decimal& d) { return d.digits.empty() ? 0 : d.negative ? -1 : 1; };
    if (sign(x) != sign(y) || sign(x) == 0)
        return sign(x) - sign(y);
    int larger = 0;  // magnitude
    if (x.power != y.power)
        larger = x.power < y.power ? -1 : 1;
    else
        larger = x.digits.compare(y.digits);
    return x.negative ? -larger : larger;
}

Fit fit_of(std::string_view number) {
    const std::string text(number);
    if (number.find_first_of(".eE") != std::string_view::npos) {
        double value = 0;
        if (wiq_strtodouble(text.c_str(), &value) != 0 || std::isinf(value))
            return Fit::too_large;
        // A nonzero number that a double rounds to zero is lost as well.
        return value == 0 && !decimal_of(number).digits.empty() ? Fit::too_large : Fit::real;
    }
    if (compare_numbers(number, "9223372036854775807") <= 0)
        return compare_numbers(number, "-9223372036854775808") >= 0 ? Fit::i64 : Fit::too_large;
    if (compare_numbers(number, "18446744073709551615") <= 0)
        return Fit::u64;
    return compare_numbers(number, "340282366920938463463374607431768211455") <= 0 ? Fit::u128
                                                                                   : Fit::too_large;
}

}  // namespace tool
