/**
 * @file strbuf.hpp
 * Defines ke::strbuf, a growable text that uses the string buffer of the C interface. Its functions
 * that append and format know the types of their arguments, which printf does not: an argument of a
 * type that cannot be appended does not compile.
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
// Returns the number of "{}" in a format; -1 if it has a brace that is neither doubled nor part of
// a "{}".
constexpr int count_placeholders(std::string_view format) noexcept {
    int placeholders = 0;
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '{' && format[i] != '}')
            continue;
        const char next = i + 1 < format.size() ? format[i + 1] : '\0';
        if (format[i] == '{' && next == '}')
            ++placeholders;
        else if (next != format[i])
            return -1;
        ++i;
    }
    return placeholders;
}
#if defined(__cpp_consteval)
void the_format_does_not_have_one_placeholder_for_each_argument();
#endif
template <class T>
struct same {
    using type = T;
};
}  // namespace detail

/** A format for arguments of the types Args. Each "{}" stands for the next argument, and "{{" and
 *  "}}" stand for a brace. A format whose number of "{}" is not the number of arguments, or that
 *  has a single brace, does not compile in C++20; in C++17 the call returns WIQ_ERR_BAD_FORMAT
 *  (-7003). */
template <class... Args>
class format_text {
  public:
    /** Takes a literal. */
    template <std::size_t N>
#if defined(__cpp_consteval)
    consteval
#else
    constexpr
#endif
        format_text(const char (&text)[N]) noexcept
        : text_(text, N - 1), fits_(detail::count_placeholders(text_) == int{sizeof...(Args)}) {
#if defined(__cpp_consteval)
        if (!fits_)
            detail::the_format_does_not_have_one_placeholder_for_each_argument();
#endif
    }
    /** Returns the text. */
    constexpr std::string_view view() const noexcept {
        return text_;
    }
    /** Tells whether the format is valid and has one "{}" for each argument. */
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
    /** Makes an empty text; allocates nothing. */
    strbuf() noexcept = default;
    strbuf(const strbuf&) = delete;
    strbuf& operator=(const strbuf&) = delete;
    /** @name Moves
     *  @{ */
    /** The move constructor leaves the other text empty; a move assignment exchanges the two. */
    strbuf(strbuf&& other) noexcept : buf_(std::exchange(other.buf_, wiq_strbuf{})) {}
    strbuf& operator=(strbuf&& other) & noexcept {
        std::swap(buf_, other.buf_);
        return *this;
    }
    /** @} */
    ~strbuf() { wiq_strbuf_finalize(&buf_); }

    /** @name Access to the text
     *  Views and pointers are valid until the text is changed.
     *  @{ */
    /** Returns the text; views and pointers are valid until it is changed. */
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
     * Appends texts, characters, numbers and bools ("true" or "false"). Integers are written in
     * decimal, and doubles with as many digits as it takes to read back the same number. A text may
     * lie in this buffer.
     * @return 0; WIQ_ERR_NO_MEMORY (-5000) when out of memory; WIQ_ERR_INVALID_ARG (-7000) for a
     *         text with a NUL inside, a character that is NUL or a text that is NULL. After a
     *         failure the text is unchanged.
     */
    template <class... Args>
    // NOLINTNEXTLINE(misc-no-recursion): one level deep, into another buffer
    status append(const Args&... args) {
        if (sizeof...(args) > 1 && (lies_here(args) || ...)) {
            strbuf all;  // the block may move before the text in it is appended
            const status made = all.append(args...);
            return made.failed() ? made : append(all);
        }
        const u64 before = buf_.len;
        i32 status = 0;
        ((status = status != 0 ? status : append_one(args)), ...);
        return undo_if(status, before);
    }
    /** Appends a format with its arguments: `append_format("{} of {}", done, all)`. Arguments and
     *  statuses are those of append(), and WIQ_ERR_BAD_FORMAT for a format that does not fit its
     *  arguments. */
    template <class... Args>
    // NOLINTNEXTLINE(misc-no-recursion): one level deep, into another buffer
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
        ((status = status != 0 ? status : append_up_to_placeholder(rest),
          status = status != 0 ? status : append_one(args)),
         ...);
        status = status != 0 ? status : append_up_to_placeholder(rest);
        return undo_if(status, before);
    }
    /** Appends each byte as two upper-case hexadecimal digits. Returns 0, WIQ_ERR_NO_MEMORY, or
     *  WIQ_ERR_INVALID_ARG if `bytes` is NULL and `count` is not 0. */
    status append_hex(const void* bytes, u64 count) noexcept {
        return count == 0 ? 0 : wiq_strbuf_printhex(&buf_, bytes, count);
    }
    /** Replaces the text with that of a field of fixed width, which ends at the first NUL or fills
     *  the field. With `trim`, white space at both ends is left out. Returns 0; WIQ_ERR_INVALID_ARG
     *  if `bytes` is NULL and `width` is not 0; WIQ_ERR_NO_MEMORY, in which case the text is
     *  empty. */
    status assign_field(const void* bytes, u64 width, bool trim) noexcept {
        return wiq_strbuf_struct_str(&buf_, bytes, width, trim);
    }
    /** Resizes the block so that it has room for exactly `bytes` more bytes, which may also shrink
     *  it. Returns 0 or WIQ_ERR_NO_MEMORY. */
    status reserve_extra(u64 bytes) noexcept { return wiq_strbuf_extra_capacity(&buf_, bytes); }
    /** Truncates the text to a length. Returns 0, or WIQ_ERR_INVALID_ARG if the text is shorter. */
    status truncate(u64 length) noexcept {
        return length == 0 && buf_.data == nullptr ? 0 : wiq_strbuf_reset_pos(&buf_, length);
    }
    /** Empties the text and keeps its block of memory. */
    void clear() noexcept { (void)wiq_strbuf_reset(&buf_); }
    /** Hands the text over to the caller; the buffer is empty afterwards and may be used again.
     *  When out of memory, returns an empty owner and leaves the text unchanged. */
    c_text release() noexcept { return c_text(wiq_strbuf_release(&buf_)); }
    /** Returns the buffer of the C interface, still owned by this object. */
    wiq_strbuf* get() noexcept { return &buf_; }

  private:
    // Tells whether an argument is a text that lies in this buffer's own block.
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
        // Takes the lowest precision that reads back as the same number. Both functions use the
        // decimal point of the "C" locale.
        for (int precision = 15; precision <= 17; ++precision) {
            length = wiq_snprintf(digits, sizeof digits, "%.*g", precision, value);
            if (wiq_strtodouble(digits, &back) == 0 && !(back < value) && !(value < back))
                break;
        }
        return append_bytes({digits, static_cast<std::size_t>(length)});
    }
    i32 append_up_to_placeholder(std::string_view& rest) noexcept {
        std::size_t from = 0;
        for (std::size_t i = 0; i < rest.size(); ++i) {
            if (rest[i] != '{' && rest[i] != '}')
                continue;
            const bool is_placeholder = rest[i] == '{' && rest[i + 1] == '}';
            // The first brace of a doubled one is written together with the text before it.
            const i32 status = append_bytes(rest.substr(from, i - from + (is_placeholder ? 0 : 1)));
            if (status != 0)
                return status;
            from = i + 2;
            ++i;
            if (is_placeholder) {
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
