// Questions about a value: what type it has, and whether a number can be read as another type
// without loss. All return false for NULL.

#include <cmath>

#include "json/model/node.h"

using namespace ke::json;

namespace {

constexpr double kTwoTo63 = 9223372036854775808.0;
constexpr double kTwoTo64 = 18446744073709551616.0;
constexpr i64 kTwoTo53 = i64{1} << 53;  // every integer up to this one is a double

bool has_type(const wiq_json_t* node, u16 type) {
    return node != nullptr && node->type == type;
}

// Returns whether the value is whole and within the bounds. The bounds belong to the range; they
// are compared as doubles, so the upper bounds 2^63 and 2^64 are accepted although they do not fit
// the target type. NaN fails every comparison.
bool is_integral(double value, double min, double max) {
    return value >= min && value <= max && std::trunc(value) == value;
}

}  // namespace

bool wiq_json_is_null(const wiq_json_t* node) {
    return has_type(node, kJsonNull);
}

bool wiq_json_is_obj(const wiq_json_t* node) {
    return has_type(node, kJsonObject);
}

bool wiq_json_is_array(const wiq_json_t* node) {
    return has_type(node, kJsonArray);
}

bool wiq_json_is_str(const wiq_json_t* node) {
    return has_type(node, kJsonString);
}

bool wiq_json_is_true(const wiq_json_t* node) {
    return has_type(node, kJsonTrue);
}

bool wiq_json_is_false(const wiq_json_t* node) {
    return has_type(node, kJsonFalse);
}

bool wiq_json_is_bool(const wiq_json_t* node) {
    return wiq_json_is_true(node) || wiq_json_is_false(node);
}

static_assert(kJsonI64 + 1 == kJsonU64 && kJsonU64 + 1 == kJsonU128 && kJsonU128 + 1 == kJsonDouble,
              "the types of numbers follow each other");

bool wiq_json_is_int(const wiq_json_t* node) {
    return node != nullptr && node->type >= kJsonI64 && node->type <= kJsonU128;
}

bool wiq_json_is_num(const wiq_json_t* node) {
    return node != nullptr && node->type >= kJsonI64 && node->type <= kJsonDouble;
}

bool wiq_json_is_jref(const wiq_json_t* node) {
    return has_type(node, kJsonRef);
}

bool wiq_json_has_weak_refs(const wiq_json_t* node) {
    return node != nullptr && is_weak(node);
}

bool wiq_json_is_i64_ext(const wiq_json_t* node, bool ext) {
    if (node == nullptr || !ext)
        return has_type(node, kJsonI64);
    switch (node->type) {
        case kJsonI64:
            return true;
        case kJsonU64:
            return as<U64Node>(node)->value <= INT64_MAX;
        case kJsonU128:
            return as<U128Node>(node)->value.hi == 0 && as<U128Node>(node)->value.lo <= INT64_MAX;
        case kJsonDouble:
            return is_integral(as<DoubleNode>(node)->value, -kTwoTo63, kTwoTo63);
        default:
            return false;
    }
}

bool wiq_json_is_u64_ext(const wiq_json_t* node, bool ext) {
    if (node == nullptr || !ext)
        return has_type(node, kJsonU64);
    switch (node->type) {
        case kJsonI64:
            return as<I64Node>(node)->value >= 0;
        case kJsonU64:
            return true;
        case kJsonU128:
            return as<U128Node>(node)->value.hi == 0;
        case kJsonDouble:
            return is_integral(as<DoubleNode>(node)->value, 0, kTwoTo64);
        default:
            return false;
    }
}

bool wiq_json_is_u128_ext(const wiq_json_t* node, bool ext) {
    if (has_type(node, kJsonU128))
        return true;
    return ext && wiq_json_is_u64_ext(node, true);
}

bool wiq_json_is_double_ext(const wiq_json_t* node, bool ext) {
    if (node == nullptr || !ext)
        return has_type(node, kJsonDouble);
    switch (node->type) {
        case kJsonI64:
            return as<I64Node>(node)->value >= -kTwoTo53 && as<I64Node>(node)->value <= kTwoTo53;
        case kJsonU64:
            return as<U64Node>(node)->value <= kTwoTo53;
        case kJsonU128:
            return as<U128Node>(node)->value.hi == 0 && as<U128Node>(node)->value.lo <= kTwoTo53;
        case kJsonDouble:
            return true;
        default:
            return false;
    }
}
