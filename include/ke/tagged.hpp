/**
 * @file tagged.hpp
 * Defines ke::tagged, a class that wraps the tagged value of the C interface and owns its contents.
 */
#ifndef KE_TAGGED_HPP
#define KE_TAGGED_HPP

#include "ke/status.hpp"
#include "ke/text_arg.hpp"
#include "ke/uint128.hpp"
#include "ke_utils/mtype.h"

namespace ke {

/** @addtogroup cpp
 *  @{ */

/** A status that is stored as a status; a plain number would be stored as a number. */
struct status_value {
    i32 code; /**< the status */
};
/** A block of bytes that somebody else owns. */
struct bytes_view {
    const void* data; /**< may be NULL with a size of 0 */
    u64 size;         /**< in bytes */
};

/** A value with a tag that tells its type: a number, bool, status, text, block of bytes, pointer or
 *  null. Texts and bytes are copied into it. The class has no copy constructor, since a copy can
 *  fail: call clone(). */
class tagged {
  public:
    /** Makes a null. */
    tagged() noexcept { wiq_mtype_init(&value_); }
    tagged(const tagged&) = delete;
    tagged& operator=(const tagged&) = delete;
    /** @name Moves
     *  @{ */
    /** The move constructor leaves the other one null; a move assignment exchanges the two. */
    tagged(tagged&& other) noexcept : tagged() { std::swap(value_, other.value_); }
    tagged& operator=(tagged&& other) & noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    /** @} */
    ~tagged() { wiq_mtype_finalize(&value_); }

    /** Returns the type tag. */
    wiq_mtype_tag type() const noexcept {
        return static_cast<wiq_mtype_tag>(wiq_mtype_get_type(&value_));
    }
    /** Tells whether the value is null. */
    bool is_null() const noexcept { return wiq_mtype_is_null(&value_); }

    /**
     * Stores a number, bool, 128-bit number, text, ke::status_value, ke::bytes_view, `void*` or
     * nullptr (which makes it null). An integer of 32 bits or fewer is stored as one of 32 bits.
     * What a `void*` points to still belongs to the caller.
     * @return 0; WIQ_ERR_NO_MEMORY (-5000) when out of memory, in which case the value is null (or
     *         unchanged, if a std::string_view of 256 bytes or more could not be copied for the
     *         call); WIQ_ERR_INVALID_ARG (-7000) for a text with a NUL inside, with the value
     *         unchanged
     */
    template <class T>
    status set(const T& value) noexcept {
        i32 status = 0;
        if constexpr (std::is_same_v<T, std::nullptr_t>)
            status = wiq_mtype_set_null(&value_);
        else if constexpr (std::is_same_v<T, bool>)
            status = wiq_mtype_set_bool(&value_, value ? 1 : 0);
        else if constexpr (std::is_same_v<T, uint128> || std::is_same_v<T, wiq_uint128>)
            status = wiq_mtype_set_uint128(&value_, value);
        else if constexpr (std::is_same_v<T, float>)
            status = wiq_mtype_set_float(&value_, value);
        else if constexpr (std::is_same_v<T, double>)
            status = wiq_mtype_set_double(&value_, value);
        else if constexpr (std::is_same_v<T, status_value>)
            status = wiq_mtype_set_status(&value_, value.code);
        else if constexpr (std::is_same_v<T, bytes_view>)
            status = wiq_mtype_set_blob(&value_, value.data, value.size, 1, 1);
        else if constexpr (std::is_same_v<T, void*>)
            status = wiq_mtype_set_ptr(&value_, value, 0);
        else if constexpr (std::is_convertible_v<const T&, std::string_view>) {
            const text_arg text(value);
            if (text.status() != 0)
                return text.status();
            status = wiq_mtype_set_utf8(&value_, text.c_str(), 1);
        } else {
            static_assert(detail::is_integer<T>, "a tagged value does not hold this type");
            if constexpr (std::is_signed_v<T>)
                status = sizeof(T) <= 4 ? wiq_mtype_set_int32(&value_, static_cast<i32>(value))
                                        : wiq_mtype_set_int64(&value_, value);
            else
                status = sizeof(T) <= 4 ? wiq_mtype_set_uint32(&value_, static_cast<u32>(value))
                                        : wiq_mtype_set_uint64(&value_, value);
        }
        if (status != 0)
            wiq_mtype_init(&value_);  // its old contents are already released
        return status;
    }

    /**
     * Returns the value if it is of exactly this type: bool, i32, i64, u32, u64, ke::uint128,
     * float, double, std::string_view, ke::bytes_view, `void*` or ke::status_value. A
     * std::string_view or ke::bytes_view is valid until the value is changed.
     * @return the value, or WIQ_ERR_WRONG_TYPE (-7018) for a value of another type
     */
    template <class T>
    result<T> get() const noexcept {
        const auto is = [this](int tag) { return value_.type == tag; };
        if constexpr (std::is_same_v<T, bool>) {
            if (is(WIQ_MTYPE_BOOL))
                return wiq_mtype_get_bool(&value_);
        } else if constexpr (std::is_same_v<T, i32>) {
            if (is(WIQ_MTYPE_INT32))
                return wiq_mtype_get_int32(&value_);
        } else if constexpr (std::is_same_v<T, i64>) {
            if (is(WIQ_MTYPE_INT64))
                return wiq_mtype_get_int64(&value_);
        } else if constexpr (std::is_same_v<T, u32>) {
            if (is(WIQ_MTYPE_UINT32))
                return wiq_mtype_get_uint32(&value_);
        } else if constexpr (std::is_same_v<T, u64>) {
            if (is(WIQ_MTYPE_UINT64))
                return wiq_mtype_get_uint64(&value_);
        } else if constexpr (std::is_same_v<T, uint128>) {
            if (is(WIQ_MTYPE_UINT128))
                return uint128(wiq_mtype_get_uint128(&value_));
        } else if constexpr (std::is_same_v<T, float>) {
            if (is(WIQ_MTYPE_FLOAT))
                return wiq_mtype_get_float(&value_);
        } else if constexpr (std::is_same_v<T, double>) {
            if (is(WIQ_MTYPE_DOUBLE))
                return wiq_mtype_get_double(&value_);
        } else if constexpr (std::is_same_v<T, std::string_view>) {
            const char* const text = wiq_mtype_get_utf8(&value_);
            if (text != nullptr)
                return std::string_view(text);
        } else if constexpr (std::is_same_v<T, bytes_view>) {
            bytes_view bytes{nullptr, 0};
            bytes.data = wiq_mtype_get_blob(&value_, &bytes.size);
            if (is(WIQ_MTYPE_BLOB))
                return bytes;
        } else if constexpr (std::is_same_v<T, void*>) {
            if (is(WIQ_MTYPE_PTR))
                return wiq_mtype_get_ptr(&value_);
        } else if constexpr (std::is_same_v<T, status_value>) {
            if (is(WIQ_MTYPE_STATUS))
                return status_value{wiq_mtype_get_status(&value_)};
        } else {
            static_assert(detail::always_false<T>, "a tagged value is not read as this type");
        }
        return result<T>::failure(WIQ_ERR_WRONG_TYPE);
    }
    /** Converts any number, or a text that is a number, to u32 or u64 without loss. Returns the
     *  number, or a status of wiq_mtype_to_uint32(). */
    template <class T>
    result<T> convert() const noexcept {
        static_assert(std::is_same_v<T, u32> || std::is_same_v<T, u64>,
                      "a tagged value converts to u32 and u64");
        T number = 0;
        i32 status = 0;
        if constexpr (std::is_same_v<T, u32>)
            status = wiq_mtype_to_uint32(&value_, &number);
        else
            status = wiq_mtype_to_uint64(&value_, &number);
        return status == 0 ? result<T>(number) : result<T>::failure(status);
    }
    /** Returns a deep copy, or WIQ_ERR_NO_MEMORY when out of memory. What a stored `void*` points
     *  to is not copied: both values hold the same pointer, and neither owns the object. */
    result<tagged> clone() const noexcept {
        tagged copy;
        const i32 status = wiq_mtype_copy(&value_, &copy.value_);
        if (status == 0)
            return copy;
        wiq_mtype_init(&copy.value_);
        return result<tagged>::failure(status);
    }
    /** Tells whether both types and contents are equal. */
    friend bool operator==(const tagged& a, const tagged& b) noexcept {
        return wiq_mtype_equal(&a.value_, &b.value_);
    }
    /** Tells whether types or contents differ. */
    friend bool operator!=(const tagged& a, const tagged& b) noexcept { return !(a == b); }
    /** Returns the record of the C interface, still owned by this object. */
    wiq_mtype* get_record() noexcept { return &value_; }

  private:
    wiq_mtype value_;
};

/** @} */

}  // namespace ke

#endif
