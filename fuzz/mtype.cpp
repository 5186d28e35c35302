// A script of operations on tagged values, compared with a model of what each holds; after each step, every
// getter, test and conversion is checked.
#include <cmath>
#include <variant>

#include "script.h"

namespace {

using Blob = std::vector<u8>;
struct Status {
    i32 code = 0;
};
// In the order of the tags.
using Model = std::variant<std::monostate, bool, i32, i64, u32, u64, unsigned __int128, float,
                           double, std::string, Blob, void*, Status>;

struct Value {
    wiq_mtype real;
    Model model;
};

u64 wide(const Op& op) {
    static constexpr u64 kEdges[] = {0,          1,           0x7fffffff, 0x80000000,
                                     0xffffffff, 0x100000000, INT64_MAX,  UINT64_MAX};
    u64 number = op.b % 2 == 0 ? kEdges[op.c % 8] : 0;
    return number + (static_cast<u64>(op.d) << op.e % 57);
}
double real_number(const Op& op) {
    static constexpr double kEdges[] = {
        0, -0.0, 0.5, 4294967295.0, 4294967296.0, 18446744073709551616.0, -1., HUGE_VAL};
    return op.b % 4 == 0 ? static_cast<double>(NAN) : kEdges[op.c % 8] + op.d / 4.0;
}
std::string text(const Op& op) {
    static const char* const kTexts[] = {"",    "0",   "42",   "-1", "4294967296",
                                         "1.5", "1e3", "0x10", "x",  "18446744073709551616"};
    return std::string(kTexts[op.b % 10]) +
           std::string(op.c % 3, static_cast<char>('0' + op.d % 20));
}

void set(Value* value, const Op& op) {
    wiq_mtype* real = &value->real;
    const u64 number = wide(op);
    switch (op.code % 13) {
        case 0:
            CHECK(wiq_mtype_set_null(real) == 0);
            value->model = Model();
            break;
        case 1:
            CHECK(wiq_mtype_set_bool(real, op.b) == 0);
            value->model = op.b != 0;
            break;
        case 2:
            CHECK(wiq_mtype_set_int32(real, static_cast<i32>(number)) == 0);
            value->model = static_cast<i32>(number);
            break;
        case 3:
            CHECK(wiq_mtype_set_int64(real, static_cast<i64>(number)) == 0);
            value->model = static_cast<i64>(number);
            break;
        case 4:
            CHECK(wiq_mtype_set_uint32(real, static_cast<u32>(number)) == 0);
            value->model = static_cast<u32>(number);
            break;
        case 5:
            CHECK(wiq_mtype_set_uint64(real, number) == 0);
            value->model = number;
            break;
        case 6:
            CHECK(wiq_mtype_set_uint128(real, {number, u64{op.e} / 128}) == 0);
            value->model = static_cast<unsigned __int128>(op.e / 128) << 64 | number;
            break;
        case 7:
            CHECK(wiq_mtype_set_float(real, static_cast<float>(real_number(op))) == 0);
            value->model = static_cast<float>(real_number(op));
            break;
        case 8:
            CHECK(wiq_mtype_set_double(real, real_number(op)) == 0);
            value->model = real_number(op);
            break;
        case 9: {
            const std::string string = text(op);
            CHECK(wiq_mtype_set_utf8(real, string.c_str(), 1) == 0);
            value->model = string;
            break;
        }
        case 10: {
            // Sizes around the one from which blobs have a record.
            const size_t size = op.b % 8 == 0 ? size_t{65533} + op.c % 4 : op.c;
            const Blob blob(size, op.d);
            CHECK(wiq_mtype_set_blob(real, blob.data(), size, 1, 1) == 0);
            value->model = blob;
            break;
        }
        case 11: {
            void* block = op.b % 2 == 0 ? malloc(op.c) : nullptr;
            CHECK(wiq_mtype_set_ptr(real, block, 1) == 0);
            value->model = block;
            break;
        }
        default:
            CHECK(wiq_mtype_set_status(real, static_cast<i32>(number)) == 0);
            value->model = Status{static_cast<i32>(number)};
    }
}

// Returns the model's result for one type: its value, or the default if it holds another type.
template <class T>
T held(const Model& model) {
    const T* value = std::get_if<T>(&model);
    return value == nullptr ? T() : *value;
}
template <class T>
bool same(T a, T b) {
    return memcmp(&a, &b, sizeof(T)) == 0;
}

void check_getters(const Value& value) {
    const wiq_mtype* real = &value.real;
    const Model& model = value.model;
    CHECK(wiq_mtype_get_type(real) == model.index());
    const bool tests[] = {
        wiq_mtype_is_null(real),    wiq_mtype_is_bool(real),   wiq_mtype_is_int32(real),
        wiq_mtype_is_int64(real),   wiq_mtype_is_uint32(real), wiq_mtype_is_uint64(real),
        wiq_mtype_is_uint128(real), wiq_mtype_is_float(real),  wiq_mtype_is_double(real),
        wiq_mtype_is_utf8(real),    wiq_mtype_is_blob(real),   wiq_mtype_is_ptr(real),
        wiq_mtype_is_status(real)};
    for (size_t i = 0; i < std::size(tests); ++i)
        CHECK(tests[i] == (i == model.index()));
    CHECK(wiq_mtype_get_bool(real) == held<bool>(model));
    CHECK(wiq_mtype_get_int32(real) == held<i32>(model));
    CHECK(wiq_mtype_get_int64(real) == held<i64>(model));
    CHECK(wiq_mtype_get_uint32(real) == held<u32>(model));
    CHECK(wiq_mtype_get_uint64(real) == held<u64>(model));
    const wiq_uint128 big = wiq_mtype_get_uint128(real);
    CHECK((static_cast<unsigned __int128>(big.hi) << 64 | big.lo) ==
          held<unsigned __int128>(model));
    CHECK(same(wiq_mtype_get_float(real), held<float>(model)));
    CHECK(same(wiq_mtype_get_double(real), held<double>(model)));
    CHECK(wiq_mtype_get_ptr(real) == held<void*>(model));
    CHECK(wiq_mtype_get_status(real) == held<Status>(model).code);
    const char* string = wiq_mtype_get_utf8(real);
    const auto* text = std::get_if<std::string>(&model);
    CHECK(text == nullptr ? string == nullptr : *text == string);
    u64 length = 1;
    const void* bytes = wiq_mtype_get_blob(real, &length);
    const Blob blob = held<Blob>(model);
    CHECK(length == blob.size());
    CHECK(blob.empty() ? bytes == nullptr : memcmp(bytes, blob.data(), blob.size()) == 0);
}

// Converts a number as the conversions do, from an integer or from a double.
i32 expected_of(const Model& model, long double limit, u64* out) {
    long double number = -1;
    if (const auto* real = std::get_if<double>(&model))
        number = static_cast<long double>(*real);
    else if (const auto* single = std::get_if<float>(&model))
        number = static_cast<long double>(*single);
    else if (std::holds_alternative<i32>(model))
        number = held<i32>(model);
    else if (std::holds_alternative<i64>(model))
        number = static_cast<long double>(held<i64>(model));
    else if (std::holds_alternative<u32>(model))
        number = held<u32>(model);
    else if (std::holds_alternative<u64>(model))
        number = static_cast<long double>(held<u64>(model));
    else if (std::holds_alternative<unsigned __int128>(model))
        number = static_cast<long double>(held<unsigned __int128>(model));
    const bool real = model.index() == 7 || model.index() == 8;
    if (real && number == 18446744073709551616.0L && limit > 4294967295.0L) {
        *out = u64{1} << 63;
        return 0;
    }
    if (!(number >= 0 && number <= limit))
        return WIQ_ERR_BAD_FORMAT;
    if (number != std::floor(number))
        return WIQ_ERR_NOT_INTEGRAL;
    *out = static_cast<u64>(number);
    return 0;
}

void check_conversions(const Value& value, const Op& op) {
    u32 narrow_out = 7;
    u64 out = 7;
    const i32 narrow_status = wiq_mtype_to_uint32(&value.real, &narrow_out);
    const i32 status = wiq_mtype_to_uint64(&value.real, &out);
    if (std::holds_alternative<std::string>(value.model)) {
        u64 number = 0;
        const i32 parsed = wiq_strtouint64(held<std::string>(value.model).c_str(), &number);
        if (parsed == 0)
            CHECK(status == 0 && out == number);
    } else {
        u64 expected = 7;
        CHECK(status == expected_of(value.model, 18446744073709551615.0L, &expected));
        CHECK(out == expected);
        expected = 7;
        CHECK(narrow_status == expected_of(value.model, 4294967295.0L, &expected));
        CHECK(narrow_out == expected);
    }
    const u32 min = op.d;
    const u32 max = min + op.e;
    u32 bounded = 7;
    i32 within = wiq_mtype_to_uint32_ext(&value.real, &bounded, min, max);
    CHECK(bounded == narrow_out);
    CHECK(within == (narrow_status != 0 || (bounded >= min && bounded <= max)
                         ? narrow_status
                         : static_cast<i32>(WIQ_ERR_RANGE)));
    u64 wide_bounded = 7;
    within = wiq_mtype_to_uint64_ext(&value.real, &wide_bounded, min, max);
    CHECK(wide_bounded == out);
    CHECK(within ==
          (status != 0 || (out >= min && out <= max) ? status : static_cast<i32>(WIQ_ERR_RANGE)));
}

struct Equal {
    template <class T>
    bool operator()(const T& a, const T& b) const {
        if constexpr (std::is_same_v<T, Status>)
            return a.code == b.code;
        else
            return a == b;
    }
    template <class T, class U>
    bool operator()(const T&, const U&) const {
        return false;
    }
};

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Value values[4];
    for (Value& value : values)
        wiq_mtype_init(&value.real);
    for (const Op& op : script_of(data, size)) {
        Value& a = values[op.a % 4];
        Value& b = values[op.b % 4];
        const bool pointer = a.model.index() == 11;
        if (op.code < 160) {
            set(&a, op);
        } else if (op.code < 200 && !pointer) {  // otherwise both would own the pointer
            CHECK(wiq_mtype_copy(&a.real, &b.real) == 0);
            if (&a != &b)
                b.model = a.model;
        } else if (op.code < 220) {
            // Lend it for a moment, except for a 128-bit number, whose cell would be shared.
            if (a.model.index() != 6) {
                wiq_mtype lent;
                wiq_mtype_init(&lent);
                CHECK(wiq_mtype_copy_ref(&a.real, &lent) == 0);
                check_getters({lent, a.model});
                CHECK(wiq_mtype_finalize(&lent) == 0);
            }
        } else if (op.code < 230 && a.model.index() == 9) {
            // Set it to a part of its own string.
            const std::string tail =
                held<std::string>(a.model).substr(op.c % (held<std::string>(a.model).size() + 1));
            const char* own = wiq_mtype_get_utf8(&a.real);
            CHECK(wiq_mtype_set_utf8(&a.real, own + strlen(own) - tail.size(), 1) == 0);
            a.model = tail;
        } else {
            CHECK(wiq_mtype_finalize(&a.real) == 0);
            wiq_mtype_init(&a.real);
            a.model = Model();
        }
        check_getters(a);
        check_getters(b);
        check_conversions(a, op);
        CHECK(wiq_mtype_equal(&a.real, &b.real) == std::visit(Equal(), a.model, b.model) ||
              a.model.index() == 0);
        CHECK(wiq_mtype_equal_utf8(&a.real, &b.real) ==
              (a.model.index() == 9 && b.model.index() == 9 &&
               held<std::string>(a.model) == held<std::string>(b.model)));
    }
    for (Value& value : values)
        CHECK(wiq_mtype_finalize(&value.real) == 0);
    return 0;
}
