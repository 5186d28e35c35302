/**
 * @file status.hpp
 * Defines the types that functions of this layer return: ke::status says how a call ended (a
 * number, a sentence and, for parsers, a location in the text), and ke::result holds a value or the
 * status of the call that failed to produce it. Both are [[nodiscard]].
 *
 * The layer itself throws nothing; only the standard library (std::bad_alloc) and functions of the
 * user that it calls may throw. If KE_UTILS_EXCEPTIONS is defined (in the whole program, before the
 * first header), status::value() and result::value() exist, which throw ke::bad_result.
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
 *  The layer has one header per family of functions under `ke/`; `ke_utils.hpp` includes them all.
 *  Every function calls one or a few C functions, and their comments apply here, too.
 *  @{ */

using ::i16;
using ::i32;
using ::i64;
using ::i8;
using ::u16;
using ::u32;
using ::u64;
using ::u8;

/** The only status that the C interface does not have (-20001): the handle or view that a function
 *  was called on, or that was passed as a value, is empty. It was default-constructed, or it comes
 *  from a look-up that found nothing. */
inline constexpr i32 err_empty = -20001;

/** Returns the meaning of a status in a few words: "success" for 0, "unknown status" for a number
 *  that is not a status. */
inline const char* status_text(i32 status) noexcept {
    return status == err_empty ? "the handle is empty: it was never filled, or nothing was found"
                               : ke_status_meaning(status);
}

/** Returns the name of a status, such as "WIQ_ERR_RANGE"; "" for success and for a number that is
 *  not a status. */
inline const char* status_name(i32 status) noexcept {
    return status == err_empty ? "ke::err_empty" : ke_status_name(status);
}

class json;
class status;

#if defined(KE_UTILS_EXCEPTIONS)
class bad_result;
#endif

namespace detail {
// True for owners whose functions return references to what they own. If such a function were
// called through operator-> of a temporary result, the reference would outlive the owner.
template <class T>
inline constexpr bool lends = false;
template <>
inline constexpr bool lends<json> = true;
}  // namespace detail

/**
 * Says how a call ended: 0 for success, otherwise what went wrong and, for parsers, where. It does
 * not convert to bool, since in C a true status is a failure while a true ke::result is a success.
 * Call ok() or failed(), or compare it with a number.
 */
class [[nodiscard]] status {
  public:
    /** Makes a success. */
    constexpr status() noexcept = default;
    /** Makes a status from the number that a C function returned. Every number from 0 up, such as a
     *  count, is a success. */
    constexpr status(i32 code) noexcept : error_{code < 0 ? code : 0, 0, 0, 0} {}
    /** Deleted: a bool is not a status, and `return false` would mean success. */
    template <class T, std::enable_if_t<std::is_same_v<T, bool>, int> = 0>
    status(T) = delete;
    /** Makes a status with a location in a text. */
    constexpr explicit status(const wiq_json_load_error& error) noexcept : error_(error) {}

    /** Tells whether the call succeeded. */
    constexpr bool ok() const noexcept { return error_.status == 0; }
    /** Tells whether the call failed. */
    constexpr bool failed() const noexcept { return error_.status != 0; }
    /** Deleted: call ok() or failed(). */
    explicit operator bool() const = delete;
    /** Returns the number. */
    constexpr i32 code() const noexcept { return error_.status; }
    /** Converts to the number implicitly, but only to `i32` and to no other type. */
    template <class T, class = std::enable_if_t<std::is_same_v<T, i32>>>
    constexpr operator T() const noexcept {
        return error_.status;
    }

    /** Returns the line in the text, from 1; 0 if the status has no location. */
    constexpr i32 line() const noexcept { return error_.line; }
    /** Returns the column in the line, from 1; 0 if no character of the line was consumed. */
    constexpr i32 column() const noexcept { return error_.column; }
    /** Returns how many bytes of the text were consumed. */
    constexpr i32 position() const noexcept { return error_.position; }
    /** Returns the name, such as "WIQ_ERR_RANGE". */
    const char* name() const noexcept { return status_name(error_.status); }
    /** Returns the meaning in a few words, without the location. */
    const char* message() const noexcept { return status_text(error_.status); }
    /** Returns the meaning with the location, if any: "line 2, column 4: an invalid ...". */
    std::string describe() const {
        std::string text;
        if (error_.line > 0)
            text = "line " + std::to_string(error_.line) + ", column " +
                   std::to_string(error_.column) + ": ";
        return text + message();
    }

#if defined(KE_UTILS_EXCEPTIONS)
    /** Throws ke::bad_result if the call failed. */
    void value() const;
#endif

    /** @name Comparison by number; the location does not count
     *  @{ */
    /** Compares the numbers only; the location does not count. */
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

    /** Writes the text of describe() to a stream. */
    template <class Traits>
    friend std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& out,
                                                        const status& status) {
        return out << status.describe();
    }

  private:
    wiq_json_load_error error_{0, 0, 0, 0};
};

#if defined(KE_UTILS_EXCEPTIONS)
/** Thrown by value() of a status or result that is a failure; what() returns the text of
 *  status::describe(). */
class bad_result : public std::runtime_error {
  public:
    /** Makes an exception from the status of the call that failed. */
    explicit bad_result(const ke::status& status)
        : std::runtime_error(status.describe()), status_(status) {}
    /** Returns the status of the call that failed. */
    const ke::status& status() const noexcept { return status_; }

  private:
    ke::status status_;
};

inline void status::value() const {
    if (failed())
        throw bad_result(*this);
}
#endif

/** Holds a value, or the status of the call that failed to produce it. It is true in a condition if
 *  there is a value. */
template <class T>
class [[nodiscard]] result {
  public:
    using value_type = T; /**< the type of the value */

    /** Makes a result with a value. */
    result(T given) noexcept(std::is_nothrow_move_constructible_v<T>) : value_(std::move(given)) {}
    /** Makes a failure. A status of success is stored as WIQ_ERR_FAILED (-7), since there is no
     *  value. */
    result(ke::status failure) noexcept
        : status_(failure.failed() ? failure : ke::status(WIQ_ERR_FAILED)) {}
    /** Makes a failure from the name of a status, even if T is a number:
     *  `return WIQ_ERR_RANGE;`. */
    result(wiq_status failure) noexcept : result(ke::status(static_cast<i32>(failure))) {}
    /** Makes a failure from the number of a status. */
    static result failure(i32 code) noexcept { return result(ke::status(code)); }

    /** Tells whether there is a value. */
    explicit operator bool() const noexcept { return value_.has_value(); }
    /** Tells whether there is a value. */
    bool has_value() const noexcept { return value_.has_value(); }
    /** Returns how the call ended; success if there is a value. */
    ke::status status() const noexcept { return status_; }

    /** @name The number, location and meaning of the status
     *  @{ */
    /** Does what the function of the same name of status() does. */
    i32 code() const noexcept { return status_.code(); }
    i32 line() const noexcept { return status_.line(); }
    i32 column() const noexcept { return status_.column(); }
    i32 position() const noexcept { return status_.position(); }
    const char* message() const noexcept { return status_.message(); }
    std::string describe() const { return status_.describe(); }
    /** @} */

    /** @name Access to the value
     *  The result must have a value. Operator `*` of a temporary result returns the value itself,
     *  not a reference to it, so that nothing refers to the result when it is gone.
     *  @{ */
    /** Returns the value; the result must have one. */
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

    /** Returns a copy of the value; if the call failed, returns `other`. */
    template <class U = T>
    T value_or(U&& other) const& {
        return value_ ? *value_ : static_cast<T>(std::forward<U>(other));
    }
    /** Moves the value out and returns it; if the call failed, returns `other`. */
    template <class U = T>
    T value_or(U&& other) && {
        return value_ ? std::move(*value_) : static_cast<T>(std::forward<U>(other));
    }

#if defined(KE_UTILS_EXCEPTIONS)
    /** @name Access to the value with a check
     *  @{ */
    /** Returns the value; throws ke::bad_result if the call failed. */
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
    /** Converts to std::expected, with a copy of the value. */
    operator std::expected<T, ke::status>() const& {
        if (value_)
            return *value_;
        return std::unexpected(status_);
    }
    /** Converts to std::expected and moves the value into it. */
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
// True for the integers that the C interface takes. A compiler may have wider ones, which would
// lose their upper half.
template <class T>
inline constexpr bool is_integer = std::is_integral_v<T> && sizeof(T) <= sizeof(u64) &&
                                   !std::is_same_v<T, bool> && !is_character<T>;
template <class T>
using plain = std::remove_cv_t<std::remove_reference_t<T>>;
}  // namespace detail

/**
 * Makes a call and, if it fails, returns its status from the current function, which must return a
 * ke::status or a ke::result.
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
