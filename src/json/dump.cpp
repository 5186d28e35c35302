// The exported dump functions: each makes a visitor, gives it its target, and starts the walk. The
// conversion of doubles and the sorting of members, which all dumps share, are also here.

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "json/dump_visitor.h"
#include "json/dump_writer.h"
#include "json/text_limits.h"

namespace ke::json {

namespace {

bool has_lesser_key(const Member* a, const Member* b) {
    return strcmp(a->key(), b->key()) < 0;
}

// Returns whether a fraction is rounded up when its lowest `shift` bits are dropped: if they are
// more than a half, or a half and the last digit that is kept is odd.
bool rounds_up(u128 scaled, int shift) {
    const u128 half = u128{1} << (shift - 1);
    const u128 rest = scaled & (2 * half - 1);
    return rest > half || (rest == half && (scaled >> shift & 1) != 0);
}

}  // namespace

// A double is an integer, its mantissa, times a power of two. The mantissa times a million fits 128
// bits. For a value below kMaxMagnitude, a shift of this product then gives the value in
// millionths, in 64 bits, and the bits that are shifted out say exactly how to round it. The
// runtime's conversion writes larger values, infinities and NaN.
char* write_double(char* out, double value) {
    constexpr int kMantissa = 52;
    constexpr u64 kDecimals = 1000000;
    constexpr double kMaxMagnitude = 9e12;  // times a million, this is below 2^63
    const u64 bits = std::bit_cast<u64>(value);
    const int exponent = static_cast<int>(bits >> kMantissa & 0x7FF) - 1023 - kMantissa;
    if (!(std::fabs(value) < kMaxMagnitude))
        return std::to_chars(out, out + kMaxDoubleText, value, std::chars_format::fixed, 6).ptr;
    const u64 mantissa = (bits & ((u64{1} << kMantissa) - 1)) | u64{1} << kMantissa;
    const u128 scaled = static_cast<u128>(mantissa) * kDecimals;
    // The exponent is below 0, since 9e12 is less than 2^52. With a shift above 100, less than half
    // a millionth is left; so the bit that a normal mantissa has may also be set for zero and for
    // tiny numbers.
    const int shift = -exponent;
    u64 millionths = 0;
    if (shift <= 100)
        millionths = static_cast<u64>(scaled >> shift) + (rounds_up(scaled, shift) ? 1 : 0);
    if (std::signbit(value))
        *out++ = '-';
    out = write_u64(out, millionths / kDecimals);
    *out++ = '.';
    return write_six_digits(out, static_cast<u32>(millionths % kDecimals));
}

const Member** sorted_members(const ObjectNode* obj) {
    const size_t count = static_cast<size_t>(size_of(obj));
    auto** members = static_cast<const Member**>(malloc(count * sizeof(Member*)));
    if (members == nullptr)
        return nullptr;
    const Member** end = members;
    for (const Member* member = first_member(obj); member != nullptr;
         member = next_member(obj, member)) {
        *end++ = member;
    }
    // Not qsort(): in some runtimes that takes quadratic time for certain orders, which a hostile
    // document could bring about.
#ifndef __clang_analyzer__  // the analyzer takes the list for uninitialised
    std::sort(members, end, has_lesser_key);
#endif
    return members;
}

namespace {

i32 walk(JsonDumpVisitor* visitor, wiq_json_t* node, u32 flags, u32 indent) {
    visitor->flags = flags;
    visitor->indent = static_cast<i32>(indent);
    const auto* slots = reinterpret_cast<const WiqJsonVisitorClass*>(visitor->base.object.klass);
    return slots->visit(&visitor->base, node);
}

}  // namespace

}  // namespace ke::json

using ke::json::JsonDumpFileVisitor;
using ke::json::JsonDumpStrVisitor;

i32 wiq_json_sdump_ext(wiq_json_t* node, wiq_strbuf* buf, u32 flags, u32 indent) {
    if (node == nullptr || buf == nullptr)
        return WIQ_ERR_INVALID_ARG;
    WiqObject* object = object_new(&ke::json::JsonDumpStrVisitorType);
    if (object == nullptr)
        return WIQ_ERR_NO_MEMORY;
    auto* visitor = reinterpret_cast<JsonDumpStrVisitor*>(object);
    visitor->buf = buf;
    const i32 status = ke::json::walk(&visitor->base, node, flags, indent);
    object_unref(object);
    return status;
}

i32 ke::json::sdump_within(wiq_json_t* node, char** out, u32 flags, u64 max_length) {
    if (node == nullptr || out == nullptr)
        return WIQ_ERR_INVALID_ARG;
    wiq_strbuf buf;
    i32 status = wiq_strbuf_init(&buf, 0);
    if (status == 0)
        status = wiq_json_sdump_ext(node, &buf, flags, 0);
    if (status == 0)
        status = take_text(&buf, out, max_length);
    wiq_strbuf_finalize(&buf);
    return status;
}

i32 wiq_json_sdump(wiq_json_t* node, char** out, u32 flags) {
    return ke::json::sdump_within(node, out, flags, ke::json::kMaxTextLength);
}

i32 wiq_json_fdump(wiq_json_t* node, FILE* fp, u32 flags, u32 indent) {
    if (node == nullptr || fp == nullptr)
        return WIQ_ERR_INVALID_ARG;
    WiqObject* object = object_new(&ke::json::JsonDumpFileVisitorType);
    if (object == nullptr)
        return WIQ_ERR_NO_MEMORY;
    auto* visitor = reinterpret_cast<JsonDumpFileVisitor*>(object);
    visitor->stream = fp;
    const i32 status = ke::json::walk(&visitor->base, node, flags, indent);
    const i32 written = visitor->written;
    object_unref(object);
    return status != 0 ? status : written;
}
