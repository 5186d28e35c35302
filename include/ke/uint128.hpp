/**
 * @file uint128.hpp
 * Defines ke::uint128, an unsigned 128-bit integer with operators, literals, hashing and streaming,
 * which uses the arithmetic of the C interface. Other text helpers are in text.hpp.
 */
#ifndef KE_UINT128_HPP
#define KE_UINT128_HPP

#include <cstddef>
#include <string>

#include "ke/status.hpp"
#include "ke/text_arg.hpp"
#include "ke_utils/text.h"

#if defined(__cpp_impl_three_way_comparison) && __has_include(<compare>)
#include <compare>
#endif

namespace ke {

/** @addtogroup cpp
 *  @{ */

/** An unsigned 128-bit integer. Arithmetic wraps modulo 2^128. After a division by zero, quotient
 *  and remainder are both 0; divide() reports it as a failure. */
class uint128 {
  public:
    /** Makes a zero. */
    constexpr uint128() noexcept = default;
    /** Converts a built-in integer. A signed one is sign-extended, as it is between built-in
     *  types. */
    template <class T, std::enable_if_t<std::is_integral_v<T>, int> = 0>
    constexpr uint128(T value) noexcept : value_{static_cast<u64>(value), upper_half(value)} {}
    /** Makes a number from its two halves. */
    static constexpr uint128 from_halves(u64 high, u64 low) noexcept {
        return uint128(wiq_uint128{low, high});
    }
    /** Converts from the record of the C interface. */
    constexpr uint128(const wiq_uint128& value) noexcept : value_(value) {}
    /** Converts to the record of the C interface. */
    constexpr operator wiq_uint128() const noexcept { return value_; }

    /** Returns bits 64 to 127. */
    constexpr u64 high() const noexcept { return value_.hi; }
    /** Returns bits 0 to 63. */
    constexpr u64 low() const noexcept { return value_.lo; }
    /** Tells whether the number is not zero. */
    constexpr explicit operator bool() const noexcept { return (value_.lo | value_.hi) != 0; }
    /** Converts to a built-in integer; bits that do not fit are lost. */
    template <class T, std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool>, int> = 0>
    constexpr explicit operator T() const noexcept {
        if constexpr (sizeof(T) > sizeof(u64))  // the compiler's own 128-bit integer
            return static_cast<T>(static_cast<T>(value_.hi) << 32 << 32 |
                                  static_cast<T>(value_.lo));
        else
            return static_cast<T>(value_.lo);
    }

    /** @name Arithmetic, modulo 2^128
     *  @{ */
    /** Computes modulo 2^128. */
    friend uint128 operator+(uint128 a, uint128 b) noexcept { return wiq_uint128_add(a, b); }
    friend uint128 operator-(uint128 a, uint128 b) noexcept { return wiq_uint128_sub(a, b); }
    friend uint128 operator-(uint128 a) noexcept { return wiq_uint128_neg(a); }
    friend uint128 operator*(uint128 a, uint128 b) noexcept { return wiq_uint128_mul(a, b); }
    friend uint128 operator/(uint128 a, uint128 b) noexcept {
        wiq_uint128 quotient{0, 0};
        wiq_uint128_div(a, b, &quotient, nullptr);
        return quotient;
    }
    friend uint128 operator%(uint128 a, uint128 b) noexcept {
        wiq_uint128 remainder{0, 0};
        wiq_uint128_div(a, b, nullptr, &remainder);
        return remainder;
    }
    friend uint128 operator<<(uint128 a, unsigned count) noexcept {
        return wiq_uint128_lshift(a, count);
    }
    friend uint128 operator>>(uint128 a, unsigned count) noexcept {
        return wiq_uint128_rshift(a, count);
    }
    friend constexpr uint128 operator&(uint128 a, uint128 b) noexcept {
        return from_halves(a.high() & b.high(), a.low() & b.low());
    }
    friend constexpr uint128 operator|(uint128 a, uint128 b) noexcept {
        return from_halves(a.high() | b.high(), a.low() | b.low());
    }
    friend constexpr uint128 operator^(uint128 a, uint128 b) noexcept {
        return from_halves(a.high() ^ b.high(), a.low() ^ b.low());
    }
    friend constexpr uint128 operator~(uint128 a) noexcept {
        return from_halves(~a.high(), ~a.low());
    }
    uint128& operator+=(uint128 b) noexcept { return *this = *this + b; }
    uint128& operator-=(uint128 b) noexcept { return *this = *this - b; }
    uint128& operator*=(uint128 b) noexcept { return *this = *this * b; }
    uint128& operator/=(uint128 b) noexcept { return *this = *this / b; }
    uint128& operator%=(uint128 b) noexcept { return *this = *this % b; }
    uint128& operator<<=(unsigned count) noexcept { return *this = *this << count; }
    uint128& operator>>=(unsigned count) noexcept { return *this = *this >> count; }
    uint128& operator&=(uint128 b) noexcept { return *this = *this & b; }
    uint128& operator|=(uint128 b) noexcept { return *this = *this | b; }
    uint128& operator^=(uint128 b) noexcept { return *this = *this ^ b; }
    uint128& operator++() noexcept { return *this += 1u; }
    uint128& operator--() noexcept { return *this -= 1u; }
    uint128 operator++(int) noexcept {
        const uint128 before = *this;
        ++*this;
        return before;
    }
    uint128 operator--(int) noexcept {
        const uint128 before = *this;
        --*this;
        return before;
    }
    /** @} */

    /** @name Comparison
     *  @{ */
    /** Compares two numbers. */
    friend constexpr bool operator==(uint128 a, uint128 b) noexcept {
        return a.low() == b.low() && a.high() == b.high();
    }
#if defined(__cpp_lib_three_way_comparison)
    friend constexpr std::strong_ordering operator<=>(uint128 a, uint128 b) noexcept {
        return a.high() != b.high() ? a.high() <=> b.high() : a.low() <=> b.low();
    }
#else
    friend constexpr bool operator!=(uint128 a, uint128 b) noexcept {
        return !(a == b);
    }
    friend constexpr bool operator<(uint128 a, uint128 b) noexcept {
        return a.high() != b.high() ? a.high() < b.high() : a.low() < b.low();
    }
    friend constexpr bool operator>(uint128 a, uint128 b) noexcept {
        return b < a;
    }
    friend constexpr bool operator<=(uint128 a, uint128 b) noexcept {
        return !(b < a);
    }
    friend constexpr bool operator>=(uint128 a, uint128 b) noexcept {
        return !(a < b);
    }
#endif
    /** @} */

    /** Computes quotient and remainder. Returns 0, or WIQ_ERR_INVALID_ARG (-7000) for a divisor of
     *  0, with both unchanged. */
    static ke::status divide(uint128 a, uint128 b, uint128& quotient, uint128& remainder) noexcept {
        wiq_uint128 q{0, 0};
        wiq_uint128 r{0, 0};
        const i32 status = wiq_uint128_div(a, b, &q, &r);
        if (status == 0) {
            quotient = q;
            remainder = r;
        }
        return status;
    }
    /** Parses a number as wiq_uint128_from_str() does, and returns it or a status of that
     *  function. */
    static result<uint128> parse(const text_arg& text) noexcept {
        wiq_uint128 value{0, 0};
        if (text.status() != 0)
            return result<uint128>::failure(text.status());
        const i32 status = wiq_uint128_from_str(text.c_str(), &value);
        return status == 0 ? result<uint128>(uint128(value)) : result<uint128>::failure(status);
    }
    /** Returns the digits in a base from 2 to 36, with letters in upper case; "" for any other
     *  base. */
    std::string to_string(int base = 10) const {
        char digits[132];
        if (base > 36)
            return {};
        const i32 length = wiq_uint128_to_str(value_, base, digits, sizeof digits);
        return length > 0 ? std::string(digits, static_cast<std::size_t>(length) - 1)
                          : std::string();
    }
    /** Writes the number to a stream in decimal. */
    template <class Traits>
    friend std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& out,
                                                        uint128 value) {
        return out << value.to_string();
    }

  private:
    template <class T>
    static constexpr u64 upper_half([[maybe_unused]] T value) noexcept {
        if constexpr (sizeof(T) > sizeof(u64))
            return static_cast<u64>(value >> 32 >> 32);
        else if constexpr (std::is_signed_v<T>)
            return value < 0 ? ~u64{0} : 0;
        else
            return 0;
    }

    wiq_uint128 value_{0, 0};
};

namespace detail {
struct wide {
    u64 high = 0;
    u64 low = 0;
    bool fits = true;
};
constexpr wide times_plus(wide value, u64 factor, u64 digit) noexcept {
    // Works on pieces of 32 bits, so that every product with its carry fits into 64.
    const u64 pieces[4] = {value.low & 0xFFFFFFFFu, value.low >> 32, value.high & 0xFFFFFFFFu,
                           value.high >> 32};
    u64 sums[4] = {};
    u64 carry = digit;
    for (int i = 0; i < 4; ++i) {
        const u64 sum = pieces[i] * factor + carry;
        sums[i] = sum & 0xFFFFFFFFu;
        carry = sum >> 32;
    }
    return {sums[3] << 32 | sums[2], sums[1] << 32 | sums[0], value.fits && carry == 0};
}
template <std::size_t N>
constexpr wide literal_value(const char (&digits)[N]) noexcept {
    wide value;
    u64 base = 10;
    std::size_t at = 0;
    if (N > 2 && digits[0] == '0') {
        const bool hex = digits[1] == 'x' || digits[1] == 'X';
        const bool binary = digits[1] == 'b' || digits[1] == 'B';
        base = hex ? 16 : binary ? 2 : 8;
        at = hex || binary ? 2 : 1;
    }
    for (; at + 1 < N; ++at) {
        const char c = digits[at];
        if (c == '\'')
            continue;
        const int digit = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                 : 99;
        if (digit >= static_cast<int>(base))
            value.fits = false;
        else
            value = times_plus(value, base, static_cast<u64>(digit));
    }
    return value;
}
}  // namespace detail

inline namespace literals {
/** Makes a 128-bit number: 340282366920938463463374607431768211455_u128, 0xFF_u128. */
template <char... Digits>
constexpr uint128 operator""_u128() noexcept {
    constexpr char digits[] = {Digits..., '\0'};
    constexpr detail::wide value = detail::literal_value(digits);
    static_assert(value.fits, "the literal is no integer of at most 128 bits");
    return uint128::from_halves(value.high, value.low);
}
}  // namespace literals

/** @} */

}  // namespace ke

namespace std {
/** Hashes 128-bit numbers, so that they can be keys of the standard library's hash tables. */
template <>
struct hash<ke::uint128> {
    /** Returns a hash of both halves. */
    std::size_t operator()(const ke::uint128& value) const noexcept {
        const auto low = std::hash<ke::u64>()(value.low());
        return low ^
               (std::hash<ke::u64>()(value.high()) + 0x9E3779B97F4A7C15u + (low << 6) + (low >> 2));
    }
};
}  // namespace std

#endif
