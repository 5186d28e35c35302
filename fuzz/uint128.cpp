// Operations on 128-bit numbers, compared with those of the compiler's own 128-bit type.
#include "input.h"

namespace {

__extension__ using Native = unsigned __int128;

wiq_uint128 ours(Native value) {
    return {static_cast<u64>(value), static_cast<u64>(value >> 64)};
}
Native native(wiq_uint128 value) {
    return Native{value.hi} << 64 | value.lo;
}

void check_text(Native value, i32 base) {
    char text[140];
    CHECK(wiq_uint128_to_str(ours(value), base, text, sizeof(text)) >= 0);
    std::string expected;
    for (Native rest = value; rest != 0; rest /= static_cast<unsigned>(base))
        expected.insert(expected.begin(),
                        "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"[static_cast<unsigned>(
                            rest % static_cast<unsigned>(base))]);
    CHECK(text == (expected.empty() ? "0" : expected));
    wiq_uint128 again;
    if (base == 10) {
        CHECK(wiq_uint128_from_str(text, &again) == 0);
        CHECK(native(again) == value);
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Input input(data, size);
    const Native a = Native{input.number<u64>()} << 64 | input.number<u64>();
    const Native b = Native{input.number<u64>()} << 64 | input.number<u64>();
    const u8 shift = input.byte();
    CHECK(native(wiq_uint128_add(ours(a), ours(b))) == a + b);
    CHECK(native(wiq_uint128_sub(ours(a), ours(b))) == a - b);
    CHECK(native(wiq_uint128_mul(ours(a), ours(b))) == a * b);
    CHECK(native(wiq_uint128_neg(ours(a))) == -a);
    if (shift < 128) {
        CHECK(native(wiq_uint128_lshift(ours(a), shift)) == a << shift);
        CHECK(native(wiq_uint128_rshift(ours(a), shift)) == a >> shift);
    }
    CHECK(wiq_uint128_lt(ours(a), ours(b)) == (a < b));
    CHECK(wiq_uint128_le(ours(a), ours(b)) == (a <= b));
    wiq_uint128 quotient;
    wiq_uint128 remainder;
    if (b != 0) {
        CHECK(wiq_uint128_div(ours(a), ours(b), &quotient, &remainder) == 0);
        CHECK(native(quotient) == a / b);
        CHECK(native(remainder) == a % b);
    } else {
        CHECK(wiq_uint128_div(ours(a), ours(b), &quotient, &remainder) != 0);
    }
    check_text(a, 10);
    check_text(b, 2 + shift % 35);
    wiq_uint128 ignored;
    wiq_uint128_from_str(input.rest().c_str(), &ignored);
    return 0;
}
