/**
 * @file strbuf.hpp
 * ke::strbuf, a growable text on the C interface's string buffer, with typed appending and formatting in
 * place of printf: what does not fit its placeholder does not compile.
 */
#ifndef KE_STRBUF_HPP
#define KE_STRBUF_HPP

#include <cmath>
#include <cstdio>
#include <functional>
#include <utility>

#include "ke/status.hpp"
#include "ke/text_arg.hpp"
#include "ke/uint128.hpp"
#include "ke_utils/containers.h"

namespace ke {

/** @addtogroup cpp
 *  @{ */

namespace detail {
// How many "{}" a format has; -1 for a brace that is neither doubled nor one of a pair.
constexpr int count_places(std::string_view format) noexcept {
    int places = 0;
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '{' && format[i] != '}')
            continue;
        const char next = i + 1 < format.size() ? format[i + 1] : '\0';
        if (format[i] == '{' && next == '}')
            ++places;
        else if (next != format[i])
            return -1;
        ++i;
    }
    return places;
}
#if defined(__cpp_consteval)
void the_format_has_another_number_of_places_than_there_are_arguments();
#endif
template <class T>
struct same {
    using type = T;
};
}  // namespace detail

/** A format for so many arguments: "{}" stands for each in turn, "{{" and "}}" for a brace. In C++20 a wrong
 *  number of them does not compile; in C++17 the call returns WIQ_ERR_BAD_FORMAT. */
template <class... Args>
class format_text {
  public:
    /** From a literal. */
    template <std::size_t N>
#if defined(__cpp_consteval)
    consteval
#else
    constexpr
#endif
        format_text(const char (&text)[N]) noexcept
        : text_(text, N - 1), fits_(detail::count_places(text_) == int{sizeof...(Args)}) {
#if defined(__cpp_consteval)
        if (!fits_)
            detail::the_format_has_another_number_of_places_than_there_are_arguments();
#endif
    }
    /** The text. */
    constexpr std::string_view view() const noexcept {
        return text_;
    }
    /** Whether it has a place for each argument. */
    constexpr bool fits() const noexcept {
        return fits_;
    }

  private:
    std::string_view text_;
    bool fits_;
};

/** A growable text. */
class strbuf {
  public:
    /** Empty, without memory. */
    strbuf() noexcept = default;
    strbuf(const strbuf&) = delete;
    strbuf& operator=(const strbuf&) = delete;
    /** @name Moves leave the other one empty or with what this one held
     *  @{ */
    /** Moves leave the other one empty or with what this one held. */
    strbuf(strbuf&& other) noexcept : buf_(std::exchange(other.buf_, wiq_strbuf{})) {}
    strbuf& operator=(strbuf&& other) & noexcept {
        std::swap(buf_, other.buf_);
        return *this;
    }
    /** @} */
    ~strbuf() { wiq_strbuf_finalize(&buf_); }

    /** @name The text, valid until the next append
     *  @{ */
    /** The text, valid until the next append. */
    std::string_view view() const& noexcept {
        return buf_.data == nullptr ? std::string_view() : std::string_view(buf_.data, buf_.len);
    }
    std::string_view view() && = delete;
    operator std::string_view() const noexcept { return view(); }
    std::string str() const { return std::string(view()); }
    const char* c_str() const noexcept { return buf_.data == nullptr ? "" : buf_.data; }
    u64 size() const noexcept { return buf_.len; }
    bool empty() const noexcept { return buf_.len == 0; }
    /** @} */

    /**
     * Appends texts, characters, numbers, bools ("true", "false"), each as it is written in C++: integers in
     * decimal, doubles with the digits that read back as the same number. 0; -5000; -7000 for a text with a
     * NUL inside; after a failure the text is as it was.
     */
    template <class... Args>
    // NOLINTNEXTLINE(misc-no-recursion): once, into another buffer
    status append(const Args&... args) {
        if (sizeof...(args) > 1 && (lies_here(args) || ...)) {
            strbuf all;  // the block may move before its own text is reached
            const status made = all.append(args...);
            return made.failed() ? made : append(all);
        }
        const u64 before = buf_.len;
        i32 status = 0;
        ((status = status != 0 ? status : append_one(args)), ...);
        return undo_if(status, before);
    }
    /** Appends a text with arguments in its places: `append_format("{} of {}", done, all)`. As append(). */
    template <class... Args>
    // NOLINTNEXTLINE(misc-no-recursion): once, into another buffer
    status append_format(typename detail::same<format_text<Args...>>::type format,
                         const Args&... args) {
        if (!format.fits())
            return WIQ_ERR_BAD_FORMAT;
        if ((lies_here(args) || ...)) {
            strbuf all;
            const status made = all.append_format(format, args...);
            return made.failed() ? made : append(all);
        }
        const u64 before = buf_.len;
        std::string_view rest = format.view();
        i32 status = 0;
        ((status = status != 0 ? status : append_up_to_place(rest),
          status = status != 0 ? status : append_one(args)),
         ...);
        status = status != 0 ? status : append_up_to_place(rest);
        return undo_if(status, before);
    }
    /** Appends two upper-case hexadecimal digits a byte. 0, -5000, -7000 for no bytes with a count. */
    status append_hex(const void* bytes, u64 count) noexcept {
        return count == 0 ? 0 : wiq_strbuf_printhex(&buf_, bytes, count);
    }
    /** Replaces the text by a field of fixed width, which ends at a NUL; `trim` leaves out blanks at its ends. */
    status assign_field(const void* bytes, u64 width, bool trim) noexcept {
        return wiq_strbuf_struct_str(&buf_, bytes, width, trim);
    }
    /** Makes room for exactly so many more bytes. 0, -5000. */
    status reserve_extra(u64 bytes) noexcept { return wiq_strbuf_extra_capacity(&buf_, bytes); }
    /** Cuts the text to a length. 0, -7000 for one that is longer. */
    status truncate(u64 length) noexcept {
        return length == 0 && buf_.data == nullptr ? 0 : wiq_strbuf_reset_pos(&buf_, length);
    }
    /** Empties it, keeps the block. */
    void clear() noexcept { (void)wiq_strbuf_reset(&buf_); }
    /** Hands the text over; the buffer is empty and usable afterwards. NULL without memory. */
    c_text release() noexcept { return c_text(wiq_strbuf_release(&buf_)); }
    /** The buffer itself, lent. */
    wiq_strbuf* get() noexcept { return &buf_; }

  private:
    // Whether an argument is a text in this very block.
    template <class T>
    bool lies_here(const T& value) const noexcept {
        if constexpr (std::is_convertible_v<const T&, const char*>) {
            return within(value);
        } else if constexpr (std::is_convertible_v<const T&, std::string_view>) {
            return within(static_cast<std::string_view>(value).data());
        } else {
            (void)value;
            return false;
        }
    }
    bool within(const char* text) const noexcept {
        return buf_.data != nullptr && !std::less<const char*>()(text, buf_.data) &&
               std::less<const char*>()(text, buf_.data + buf_.capacity);
    }
    i32 append_bytes(std::string_view text) noexcept {
        if (text.empty())
            return 0;
        if (std::memchr(text.data(), '\0', text.size()) != nullptr)
            return WIQ_ERR_INVALID_ARG;
        const i32 written = wiq_strbuf_write(&buf_, text.data(), text.size());
        return written < 0 ? written : 0;
    }
    template <class T>
    i32 append_one(const T& value) {
        if constexpr (std::is_same_v<T, char>) {
            return value == '\0' ? static_cast<i32>(WIQ_ERR_INVALID_ARG)
                                 : wiq_strbuf_putc(&buf_, value);
        } else if constexpr (std::is_same_v<T, bool>) {
            return append_bytes(value ? "true" : "false");
        } else if constexpr (std::is_convertible_v<const T&, std::string_view>) {
            if constexpr (std::is_convertible_v<const T&, const char*>) {
                const char* const text = value;
                return text == nullptr ? static_cast<i32>(WIQ_ERR_INVALID_ARG) : append_bytes(text);
            } else {
                return append_bytes(static_cast<std::string_view>(value));
            }
        } else if constexpr (std::is_same_v<T, uint128> || std::is_same_v<T, wiq_uint128>) {
            char digits[40];
            const i32 length = wiq_uint128_to_str(value, 10, digits, sizeof digits);
            return append_bytes({digits, static_cast<std::size_t>(length) - 1});
        } else if constexpr (std::is_floating_point_v<T>) {
            return append_real(static_cast<double>(value));
        } else {
            static_assert(detail::is_integer<T>,
                          "append() takes texts in char, characters, numbers and bools");
            char digits[24];
            const int length =
                std::is_signed_v<T>
                    ? wiq_snprintf(digits, sizeof digits, "%lld", static_cast<long long>(value))
                    : wiq_snprintf(digits, sizeof digits, "%llu",
                                   static_cast<unsigned long long>(value));
            return append_bytes({digits, static_cast<std::size_t>(length)});
        }
    }
    i32 append_real(double value) noexcept {
        if (std::isnan(value))
            return append_bytes("nan");
        if (std::isinf(value))
            return append_bytes(value < 0 ? "-inf" : "inf");
        char digits[40];
        int length = 0;
        double back = 0;
        // The shortest of the precisions that reads back; the decimal point is that of the "C" locale.
        for (int precision = 15; precision <= 17; ++precision) {
            length = wiq_snprintf(digits, sizeof digits, "%.*g", precision, value);
            if (wiq_strtodouble(digits, &back) == 0 && !(back < value) && !(value < back))
                break;
        }
        return append_bytes({digits, static_cast<std::size_t>(length)});
    }
    i32 append_up_to_place(std::string_view& rest) noexcept {
        std::size_t from = 0;
        for (std::size_t i = 0; i < rest.size(); ++i) {
            if (rest[i] != '{' && rest[i] != '}')
                continue;
            const bool place = rest[i] == '{' && rest[i + 1] == '}';
            // Of a doubled brace the first one is written with what is in front of it.
            const i32 status = append_bytes(rest.substr(from, i - from + (place ? 0 : 1)));
            if (status != 0)
                return status;
            from = i + 2;
            ++i;
            if (place) {
                rest.remove_prefix(from);
                return 0;
            }
        }
        return append_bytes(rest.substr(from < rest.size() ? from : rest.size()));
    }
    status undo_if(i32 status, u64 length) noexcept {
        if (status < 0 && buf_.len != length)
            (void)wiq_strbuf_reset_pos(&buf_, length);
        return status;
    }

    wiq_strbuf buf_ = {};
};

/** @} */

}  // namespace ke

#endif
