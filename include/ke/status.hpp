/**
 * @file status.hpp
 * What a call answers: ke::status, a number with a place in a text and a sentence, and ke::result, a value
 * or the status of the call that could not give one. Both are [[nodiscard]].
 *
 * Nothing throws. Where KE_UTILS_EXCEPTIONS is defined (for the whole program, before the first header),
 * status::value() and result::value() exist, which throw ke::bad_result.
 */
#ifndef KE_STATUS_HPP
#define KE_STATUS_HPP

#include <cassert>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "ke_utils/core.h"
#include "ke_utils/json.h"

#if defined(KE_UTILS_EXCEPTIONS)
#include <stdexcept>
#endif
#if defined(__has_include)
#if __has_include(<version>)
#include <version>
#endif
#endif
#if defined(__cpp_lib_expected)
#include <expected>
#endif

namespace ke {

/** @defgroup cpp The C++ layer
 *  Headers under `ke/`, one a family; `ke_utils.hpp` includes them all. Every call is one or a few calls of
 *  the C functions, whose comments hold.
 *  @{ */

using ::i16;
using ::i32;
using ::i64;
using ::i8;
using ::u16;
using ::u32;
using ::u64;
using ::u8;

/** The one status that the C interface does not have: the handle or view asked, or given as a value, is
 *  empty, since it was default-made or the look-up that it came from found nothing. */
inline constexpr i32 err_empty = -20001;

/** The meaning of a status in a few words; "success" for 0, "unknown status" for a number that is none. */
inline const char* status_text(i32 status) noexcept {
    return status == err_empty ? "the handle is empty: it was never filled, or nothing was found"
                               : ke_status_meaning(status);
}

/** The name of a status, as "WIQ_ERR_RANGE"; "" for success and for a number that is none. */
inline const char* status_name(i32 status) noexcept {
    return status == err_empty ? "ke::err_empty" : ke_status_name(status);
}

class json;
class status;

#if defined(KE_UTILS_EXCEPTIONS)
class bad_result;
#endif

namespace detail {
// Owners whose calls lend what they own. Through the arrow of a temporary result it would be gone too soon.
template <class T>
inline constexpr bool lends = false;
template <>
inline constexpr bool lends<json> = true;
}  // namespace detail

/**
 * How a call ended: 0, or what went wrong, and for the parsers where. It has no truth value, since in C a
 * true status is a failure and a true result is none: ask ok() or failed(), or compare with a number.
 */
class [[nodiscard]] status {
  public:
    /** Success. */
    constexpr status() noexcept = default;
    /** A status of the C interface; a count, which is 0 or more, is success. */
    constexpr status(i32 code) noexcept : error_{code < 0 ? code : 0, 0, 0, 0} {}
    /** A truth value is no status: `return false` would be a success. */
    template <class T, std::enable_if_t<std::is_same_v<T, bool>, int> = 0>
    status(T) = delete;
    /** A status with a place in a text. */
    constexpr explicit status(const wiq_json_load_error& error) noexcept : error_(error) {}

    /** Whether the call did what it was asked. */
    constexpr bool ok() const noexcept { return error_.status == 0; }
    /** Whether it did not. */
    constexpr bool failed() const noexcept { return error_.status != 0; }
    /** Not to be asked: see ok() and failed(). */
    explicit operator bool() const = delete;
    /** The number; it becomes an `i32`, and nothing else, by itself. */
    constexpr i32 code() const noexcept { return error_.status; }
    /** The number. */
    template <class T, class = std::enable_if_t<std::is_same_v<T, i32>>>
    constexpr operator T() const noexcept {
        return error_.status;
    }

    /** Line in the text, from 1; 0 where the failure has no place. */
    constexpr i32 line() const noexcept { return error_.line; }
    /** Column in the line, from 1 (0 in front of it). */
    constexpr i32 column() const noexcept { return error_.column; }
    /** Bytes of the text that were consumed. */
    constexpr i32 position() const noexcept { return error_.position; }
    /** The name, as "WIQ_ERR_RANGE". */
    const char* name() const noexcept { return status_name(error_.status); }
    /** The meaning in a few words, without the place. */
    const char* message() const noexcept { return status_text(error_.status); }
    /** The whole sentence, with the place if there is one: "line 2, column 4: an invalid ...". */
    std::string describe() const {
        std::string text;
        if (error_.line > 0)
            text = "line " + std::to_string(error_.line) + ", column " +
                   std::to_string(error_.column) + ": ";
        return text + message();
    }

#if defined(KE_UTILS_EXCEPTIONS)
    /** Throws ke::bad_result after a failure. */
    void value() const;
#endif

    /** @name Comparison by number
     *  @{ */
    /** Comparison by number. */
    friend constexpr bool operator==(const status& a, const status& b) noexcept {
        return a.code() == b.code();
    }
    friend constexpr bool operator==(const status& a, i32 b) noexcept {
        return a.code() == b;
    }
    friend constexpr bool operator==(i32 a, const status& b) noexcept {
        return a == b.code();
    }
    friend constexpr bool operator!=(const status& a, const status& b) noexcept {
        return !(a == b);
    }
    friend constexpr bool operator!=(const status& a, i32 b) noexcept {
        return !(a == b);
    }
    friend constexpr bool operator!=(i32 a, const status& b) noexcept {
        return !(a == b);
    }
    /** @} */

    /** Writes describe(). */
    template <class Traits>
    friend std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& out,
                                                        const status& status) {
        return out << status.describe();
    }

  private:
    wiq_json_load_error error_{0, 0, 0, 0};
};

#if defined(KE_UTILS_EXCEPTIONS)
/** Thrown by value() of a status or result that is a failure; what() is the sentence with the place. */
class bad_result : public std::runtime_error {
  public:
    /** From what failed. */
    explicit bad_result(const ke::status& status)
        : std::runtime_error(status.describe()), status_(status) {}
    /** What failed. */
    const ke::status& status() const noexcept { return status_; }

  private:
    ke::status status_;
};

inline void status::value() const {
    if (failed())
        throw bad_result(*this);
}
#endif

/** A value, or the status of the call that could not give one. True if there is a value. */
template <class T>
class [[nodiscard]] result {
  public:
    using value_type = T; /**< what it holds after success */

    /** A value. */
    result(T given) noexcept(std::is_nothrow_move_constructible_v<T>) : value_(std::move(given)) {}
    /** A failure; success has no place here, and counts as WIQ_ERR_FAILED. */
    result(ke::status failure) noexcept
        : status_(failure.failed() ? failure : ke::status(WIQ_ERR_FAILED)) {}
    /** A failure by its name, also where T is a number: `return WIQ_ERR_RANGE;`. */
    result(wiq_status failure) noexcept : result(ke::status(static_cast<i32>(failure))) {}
    /** The status of a call that gave no value. */
    static result failure(i32 code) noexcept { return result(ke::status(code)); }

    /** Whether there is a value. */
    explicit operator bool() const noexcept { return value_.has_value(); }
    /** Whether there is a value. */
    bool has_value() const noexcept { return value_.has_value(); }
    /** How the call ended. */
    ke::status status() const noexcept { return status_; }

    /** @name The failure's number, place and sentence, as of status()
     *  @{ */
    /** As of status(). */
    i32 code() const noexcept { return status_.code(); }
    i32 line() const noexcept { return status_.line(); }
    i32 column() const noexcept { return status_.column(); }
    i32 position() const noexcept { return status_.position(); }
    const char* message() const noexcept { return status_.message(); }
    std::string describe() const { return status_.describe(); }
    /** @} */

    /** @name The value; only for a result that has one
     *  Of a temporary result the value is handed over, so that nothing refers to what is gone.
     *  @{ */
    /** The value. */
    T& operator*() & noexcept { return assert(value_), *value_; }
    const T& operator*() const& noexcept { return assert(value_), *value_; }
    T operator*() && { return assert(value_), std::move(*value_); }
    T* operator->() & noexcept { return assert(value_), &*value_; }
    const T* operator->() const& noexcept { return assert(value_), &*value_; }
    template <class U = T>
    U* operator->() && noexcept {
        static_assert(!detail::lends<U>,
                      "what the result owns would be gone at the end of the line: name the result "
                      "first");
        return assert(value_), &*value_;
    }
    /** @} */

    /** The value, or another one in its place. */
    template <class U = T>
    T value_or(U&& other) const& {
        return value_ ? *value_ : static_cast<T>(std::forward<U>(other));
    }
    /** The same, moved out. */
    template <class U = T>
    T value_or(U&& other) && {
        return value_ ? std::move(*value_) : static_cast<T>(std::forward<U>(other));
    }

#if defined(KE_UTILS_EXCEPTIONS)
    /** @name The value; throws ke::bad_result if there is none
     *  @{ */
    /** The value; throws ke::bad_result if there is none. */
    T& value() & {
        status_.value();
        return *value_;
    }
    const T& value() const& {
        status_.value();
        return *value_;
    }
    T value() && {
        status_.value();
        return std::move(*value_);
    }
    /** @} */
#endif
#if defined(__cpp_lib_expected)
    /** The same as the standard has it. */
    operator std::expected<T, ke::status>() const& {
        if (value_)
            return *value_;
        return std::unexpected(status_);
    }
    /** The same, moved out. */
    operator std::expected<T, ke::status>() && {
        if (value_)
            return std::move(*value_);
        return std::unexpected(status_);
    }
#endif

  private:
    std::optional<T> value_;
    ke::status status_;
};

namespace detail {
inline ke::status as_status(const ke::status& status) noexcept {
    return status;
}
template <class T>
ke::status as_status(const result<T>& result) noexcept {
    return result.status();
}

template <class T>
inline constexpr bool always_false = false;
template <class T>
inline constexpr bool is_character = std::is_same_v<T, char> || std::is_same_v<T, wchar_t> ||
                                     std::is_same_v<T, char16_t> || std::is_same_v<T, char32_t>
#if defined(__cpp_char8_t)
                                     || std::is_same_v<T, char8_t>
#endif
    ;
// The integers that the C interface has. A compiler may have wider ones, which would lose their upper half.
template <class T>
inline constexpr bool is_integer = std::is_integral_v<T> && sizeof(T) <= sizeof(u64) &&
                                   !std::is_same_v<T, bool> && !is_character<T>;
template <class T>
using plain = std::remove_cv_t<std::remove_reference_t<T>>;
}  // namespace detail

/**
 * Ends the function with the status of a call that failed; it must return a ke::status or a ke::result.
 * @code
 * KE_TRY(report.set("checked", true));
 * @endcode
 */
#define KE_TRY(...)                                                              \
    do {                                                                         \
        const ::ke::status ke_try_status = ::ke::detail::as_status(__VA_ARGS__); \
        if (ke_try_status.failed())                                              \
            return ke_try_status;                                                \
    } while (false)

/** @} */

}  // namespace ke

#endif
