// Tagged values: conversion to unsigned numbers, without loss or not at all.

#include "ke_utils/core.h"
#include "ke_utils/mtype.h"
#include "ke_utils/text.h"

namespace {

// What differs between conversions to 32 and to 64 bits.
template <class Unsigned>
struct Limits;

template <>
struct Limits<u32> {
    static constexpr u64 kMax = UINT32_MAX;
    static constexpr double kMaxDouble = 4294967295.0;
    static i32 parse(const char* text, u32* out) { return wiq_strtouint32(text, out); }
};

template <>
struct Limits<u64> {
    static constexpr u64 kMax = UINT64_MAX;
    // 2^64 itself is accepted, since the limit is compared as a double.
    static constexpr double kMaxDouble = 18446744073709551616.0;
    static i32 parse(const char* text, u64* out) { return wiq_strtouint64(text, out); }
};

// 2^64 does not fit into 64 bits. It gives the number that x86 processors return for such a
// conversion.
constexpr u64 kOutOfRange = u64{1} << 63;

template <class Unsigned>
i32 from_unsigned(u64 number, Unsigned* out) {
    if (number > Limits<Unsigned>::kMax)
        return WIQ_ERR_BAD_FORMAT;
    *out = static_cast<Unsigned>(number);
    return 0;
}

template <class Unsigned>
i32 from_signed(i64 number, Unsigned* out) {
    return number < 0 ? static_cast<i32>(WIQ_ERR_BAD_FORMAT)
                      : from_unsigned(static_cast<u64>(number), out);
}

template <class Unsigned>
i32 from_double(double number, Unsigned* out) {
    // Written so that NaN fails too.
    if (!(number >= 0 && number <= Limits<Unsigned>::kMaxDouble))
        return WIQ_ERR_BAD_FORMAT;
    if (number == Limits<u64>::kMaxDouble) {
        *out = static_cast<Unsigned>(kOutOfRange);
        return 0;
    }
    const u64 whole = static_cast<u64>(number);
    if (static_cast<double>(whole) != number)
        return WIQ_ERR_NOT_INTEGRAL;
    *out = static_cast<Unsigned>(whole);
    return 0;
}

// A text is read as an integer first. Unless that succeeds or the integer is out of range, it is
// read as a double, since "12.0" and "1e3" are whole numbers too.
template <class Unsigned>
i32 from_text(const char* text, Unsigned* out) {
    Unsigned number = 0;
    i32 status = Limits<Unsigned>::parse(text, &number);
    if (status == 0)
        *out = number;
    if (status == 0 || status == WIQ_ERR_RANGE)
        return status;
    double real = 0;
    status = wiq_strtodouble(text, &real);
    return status != 0 ? status : from_double(real, out);
}

template <class Unsigned>
i32 convert(const wiq_mtype* value, Unsigned* out) {
    if (value == nullptr || out == nullptr)
        return WIQ_ERR_INVALID_ARG;
    switch (value->type) {
        case WIQ_MTYPE_INT32:
            return from_signed(value->payload.int32, out);
        case WIQ_MTYPE_INT64:
            return from_signed(value->payload.int64, out);
        case WIQ_MTYPE_UINT32:
            return from_unsigned(value->payload.uint32, out);
        case WIQ_MTYPE_UINT64:
            return from_unsigned(value->payload.uint64, out);
        case WIQ_MTYPE_UINT128: {
            const wiq_uint128 number = wiq_mtype_get_uint128(value);
            return number.hi != 0 ? static_cast<i32>(WIQ_ERR_BAD_FORMAT)
                                  : from_unsigned(number.lo, out);
        }
        case WIQ_MTYPE_FLOAT:
            return from_double(static_cast<double>(value->payload.float32), out);
        case WIQ_MTYPE_DOUBLE:
            return from_double(value->payload.float64, out);
        case WIQ_MTYPE_UTF8:
            return from_text(value->payload.utf8, out);
        default:
            return WIQ_ERR_BAD_FORMAT;
    }
}

template <class Unsigned>
i32 convert_within(const wiq_mtype* value, Unsigned* out, Unsigned min, Unsigned max) {
    const i32 status = convert(value, out);
    if (status != 0)
        return status;
    return *out < min || *out > max ? static_cast<i32>(WIQ_ERR_RANGE) : 0;
}

}  // namespace

i32 wiq_mtype_to_uint32(const wiq_mtype* value, u32* out) {
    return convert(value, out);
}

i32 wiq_mtype_to_uint64(const wiq_mtype* value, u64* out) {
    return convert(value, out);
}

i32 wiq_mtype_to_uint32_ext(const wiq_mtype* value, u32* out, u32 min, u32 max) {
    return convert_within(value, out, min, max);
}

i32 wiq_mtype_to_uint64_ext(const wiq_mtype* value, u64* out, u64 min, u64 max) {
    return convert_within(value, out, min, max);
}
