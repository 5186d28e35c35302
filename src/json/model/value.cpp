// Values: the getters that read a number as another type, the names of the types, and the position
// of a node in its parent. Constructors are in make.cpp, questions about values in predicates.cpp.

#include <cstdlib>
#include <cstring>

#include "json/model/node.h"

namespace ke::json {
namespace {

constexpr double kTwoTo63 = 9223372036854775808.0;

// Rounds towards zero. Values that do not fit, and NaN, give the smallest value, as the processor's
// own conversion does.
i64 truncate_signed(double value) {
    if (!(value >= -kTwoTo63 && value < kTwoTo63))
        return INT64_MIN;
    return static_cast<i64>(value);
}

// Values below 2^63, and NaN, are converted as signed numbers. From larger ones 2^63 is subtracted
// before, and added again afterwards; so 2^64 and above give 0.
u64 truncate_unsigned(double value) {
    if (value >= kTwoTo63)
        return static_cast<u64>(truncate_signed(value - kTwoTo63)) + (u64{1} << 63);
    return static_cast<u64>(truncate_signed(value));
}

}  // namespace

}  // namespace ke::json

using namespace ke::json;

i64 wiq_json_i64_get(const wiq_json_t* node) {
    return node->type == kJsonDouble ? truncate_signed(as<DoubleNode>(node)->value)
                                     : static_cast<i64>(wiq_json_u64_get(node));
}

u64 wiq_json_u64_get(const wiq_json_t* node) {
    switch (node->type) {
        case kJsonI64:
            return static_cast<u64>(as<I64Node>(node)->value);
        case kJsonU64:
            return as<U64Node>(node)->value;
        case kJsonU128:
            return as<U128Node>(node)->value.lo;
        case kJsonDouble:
            return truncate_unsigned(as<DoubleNode>(node)->value);
        default:
            return 0;
    }
}

wiq_uint128* wiq_json_u128_get(wiq_uint128* out, const wiq_json_t* node) {
    const u64 high = node->type == kJsonU128 ? as<U128Node>(node)->value.hi : 0;
    out->lo = wiq_json_u64_get(node);
    out->hi = high;
    return out;
}

double wiq_json_double_get(const wiq_json_t* node) {
    switch (node->type) {
        case kJsonI64:
            return static_cast<double>(as<I64Node>(node)->value);
        case kJsonU64:
            return static_cast<double>(as<U64Node>(node)->value);
        case kJsonU128:
            return static_cast<double>(as<U128Node>(node)->value.lo);
        case kJsonDouble:
            return as<DoubleNode>(node)->value;
        default:
            return 0.0;
    }
}

const char* wiq_json_str_get(const wiq_json_t* node) {
    return as<TextNode>(node)->text;
}

const char* wiq_json_type_string(const wiq_json_t* node) {
    if (node == nullptr)
        return "<none>";
    switch (node->type) {
        case kJsonNull:
            return "null";
        case kJsonObject:
            return "object";
        case kJsonArray:
            return "array";
        case kJsonI64:
        case kJsonU64:
        case kJsonU128:
            return "integer";
        case kJsonDouble:
            return "number";
        case kJsonString:
            return "string";
        case kJsonTrue:
        case kJsonFalse:
            return "boolean";
        case kJsonRef:
            return "reference";
        default:
            return "<unknown>";
    }
}

// `position` is a union. The type of the parent tells which of its fields is valid.
i32 wiq_json_parent_index(const wiq_json_t* node) {
    if (node == nullptr || !wiq_json_is_array(node->parent))
        return -1;
    return static_cast<i32>(node->position.index);
}

const char* wiq_json_parent_key(const wiq_json_t* node) {
    if (node == nullptr || !wiq_json_is_obj(node->parent))
        return nullptr;
    return node->position.key;
}
