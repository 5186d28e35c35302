// Values: the constructors of all types without children, the getters that read a number as another
// type, and the names of the types. Questions about values are in predicates.cpp, reference counts
// and release in refcount.cpp.

#include <cstdlib>
#include <cstring>

#include "json/blocks.h"

namespace ke::json {
namespace {

constexpr double kTwoTo63 = 9223372036854775808.0;

// What the constructors share: do nothing after an earlier failure, make a node with its value,
// report the status.
template <class Node, class Value>
wiq_json_t* make(u16 type, const Value& value, u32* err) {
    if (has_failed(err)) {
        return nullptr;
    }
    wiq_json* node = new_node_of<Node>(type, value);
    report(err, node != nullptr ? 0 : WIQ_ERR_NO_MEMORY);
    return node;
}

wiq_json_t* make_bare(u16 type, u32* err) {
    if (has_failed(err)) {
        return nullptr;
    }
    wiq_json* node = new_node<wiq_json>(type);
    report(err, node != nullptr ? 0 : WIQ_ERR_NO_MEMORY);
    return node;
}

// Rounds towards zero. Values that do not fit, and NaN, give the smallest value, as the processor's
// own conversion does.
i64 truncate_signed(double value) {
    if (!(value >= -kTwoTo63 && value < kTwoTo63)) {
        return INT64_MIN;
    }
    return static_cast<i64>(value);
}

u64 truncate_unsigned(double value) {
    if (value >= kTwoTo63) {
        return static_cast<u64>(truncate_signed(value - kTwoTo63)) + (u64{1} << 63);
    }
    return static_cast<u64>(truncate_signed(value));
}

}  // namespace

wiq_json* allocate_node(u16 type, size_t size, const Key* key, Chunks* chunks) {
    constexpr size_t kUnit = 8;
    size_t offset = 0;
    if (key != nullptr && key->length <= kMaxKeyLengthWithNode && size <= kMaxSizeWithMember) {
        offset = member_span(key->length);
    }
    char* block = nullptr;
    size_t home = offset / kUnit;
    if (chunks == nullptr) {
        block = static_cast<char*>(std::malloc(offset + size));
    } else if (offset + size <= Chunks::kMaxBlockSize && (key == nullptr || offset != 0)) {
        block = chunks->take((offset + size + kUnit - 1) / kUnit * kUnit, offset);
        home = block != nullptr ? chunks->distance(block + offset) : 0;
    } else {
        // The node is too large, or its key too long: the node gets a chunk of its own, and its
        // member a block of its own.
        offset = 0;
        block = chunks->take_alone(size);
        home = Chunks::kDistanceAlone;
    }
    if (block == nullptr) {
        return nullptr;
    }
    auto* node = reinterpret_cast<wiq_json*>(block + offset);
    init_node(node, type, home, chunks != nullptr);
    if (offset != 0) {
        init_member(block, *key);
    }
    return node;
}

wiq_json* new_text_node(u16 type, const char* text, size_t length, const Key* key, Chunks* chunks) {
    const size_t text_size = text != nullptr ? length + 1 : 0;
    auto* node =
        static_cast<TextNode*>(allocate_node(type, sizeof(TextNode) + text_size, key, chunks));
    if (node == nullptr) {
        return nullptr;
    }
    node->text = nullptr;
    node->length = length;
    if (text != nullptr) {
        node->text = reinterpret_cast<char*>(node + 1);
        copy_short(node->text, text, length);
        node->text[length] = '\0';
    }
    return node;
}

wiq_json* new_string(const char* text, const Key* key) {
    wiq_json* node = new_text_node(kJsonString, text, std::strlen(text), key);
    return node != nullptr ? node : new_text_node(kJsonString, nullptr, 0, key);
}

}  // namespace ke::json

using namespace ke::json;

wiq_json_t* wiq_json_null_new(u32* err) {
    return make_bare(kJsonNull, err);
}

wiq_json_t* wiq_json_bool_new(bool value, u32* err) {
    return make_bare(value ? kJsonTrue : kJsonFalse, err);
}

wiq_json_t* wiq_json_i64_new(i64 value, u32* err) {
    return make<I64Node>(kJsonI64, value, err);
}

wiq_json_t* wiq_json_u64_new(u64 value, u32* err) {
    return make<U64Node>(kJsonU64, value, err);
}

wiq_json_t* wiq_json_u128_new(const wiq_uint128* value, u32* err) {
    if (!has_failed(err) && value == nullptr) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    return value != nullptr ? make<U128Node>(kJsonU128, *value, err) : nullptr;
}

wiq_json_t* wiq_json_double_new(double value, u32* err) {
    return make<DoubleNode>(kJsonDouble, value, err);
}

wiq_json_t* wiq_json_str_new(const char* text, u32* err) {
    if (has_failed(err)) {
        return nullptr;
    }
    if (text == nullptr) {
        report(err, WIQ_ERR_INVALID_ARG);
        return nullptr;
    }
    wiq_json* node = new_string(text);
    report(err, node != nullptr ? 0 : WIQ_ERR_NO_MEMORY);
    return node;
}

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
    if (node == nullptr) {
        return "<none>";
    }
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

i32 wiq_json_parent_index(const wiq_json_t* node) {
    if (node == nullptr || !wiq_json_is_array(node->parent)) {
        return -1;
    }
    return static_cast<i32>(node->position.index);
}

const char* wiq_json_parent_key(const wiq_json_t* node) {
    if (node == nullptr || !wiq_json_is_obj(node->parent)) {
        return nullptr;
    }
    return node->position.key;
}
