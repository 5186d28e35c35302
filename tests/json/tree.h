// Trees for tests: built from a short notation and written back as text. Tests of counts and positions can
// also look inside nodes.
//
//   null true false  5 (signed)  5u (unsigned)  5w (128 bits)  5.0 inf nan (double)  "text"  @"reference"
//   [1,2]  {"a":1}  w[1,2] and w{"a":1} (weak containers)
//
// text_of() writes the same notation, members sorted by key. Texts must not need escapes, since none are
// written or read.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ke_utils/core.h"
#include "ke_utils/json.h"

namespace tree {

// The first fields of every node, in their documented order.
struct Header {
    u16 type;
    u8 flags;
    i32 refcount;
    Header* parent;
    union {
        u32 index;
        const char* key;
    } position;
};

inline const Header* header(const wiq_json_t* node) {
    return reinterpret_cast<const Header*>(node);
}
inline i32 count(const wiq_json_t* node) {
    return header(node)->refcount;
}
inline const wiq_json_t* parent(const wiq_json_t* node) {
    return reinterpret_cast<const wiq_json_t*>(header(node)->parent);
}

struct Unref {
    void operator()(wiq_json_t* node) const { wiq_json_unref(node); }
};
// Owns a node that has no parent.
using Tree = std::unique_ptr<wiq_json_t, Unref>;

class Reader {
  public:
    explicit Reader(const char* text) : at_(text) {}

    wiq_json_t* read() {
        switch (*at_) {
            case 'n':
                if (at_[1] == 'a') {
                    return read_number();
                }
                at_ += 4;
                return wiq_json_null_new(nullptr);
            case 't':
                at_ += 4;
                return wiq_json_bool_new(true, nullptr);
            case 'f':
                at_ += 5;
                return wiq_json_bool_new(false, nullptr);
            case '"':
                return wiq_json_str_new(read_text().c_str(), nullptr);
            case '@':
                ++at_;
                return wiq_json_jref_new(read_text().c_str(), nullptr);
            case 'w':
                ++at_;
                return read_container(true);
            case '[':
            case '{':
                return read_container(false);
            default:
                return read_number();
        }
    }

  private:
    std::string read_text() {
        const char* end = std::strchr(at_ + 1, '"');
        std::string text(at_ + 1, end);
        at_ = end + 1;
        return text;
    }

    wiq_json_t* read_container(bool weak) {
        const bool is_array = *at_ == '[';
        wiq_json_t* node = is_array
                               ? (weak ? wiq_json_array_weak_new : wiq_json_array_new)(0, nullptr)
                               : (weak ? wiq_json_obj_weak_new : wiq_json_obj_new)(0, nullptr);
        for (++at_; *at_ != ']' && *at_ != '}';) {
            if (is_array) {
                wiq_json_array_push_ext(node, read(), nullptr);
            } else {
                const std::string key = read_text();
                ++at_;  // the colon
                wiq_json_obj_put_ext(node, key.c_str(), read(), nullptr);
            }
            at_ += *at_ == ',' ? 1 : 0;
        }
        ++at_;
        return node;
    }

    wiq_json_t* read_number() {
        const char* end = at_ + std::strspn(at_, "+-.0123456789einfan");
        const std::string digits(at_, end);
        at_ = end;
        if (*at_ == 'u') {
            ++at_;
            return wiq_json_u64_new(std::strtoull(digits.c_str(), nullptr, 10), nullptr);
        }
        if (*at_ == 'w') {
            ++at_;
            wiq_uint128 value{};
            wiq_uint128_from_str(digits.c_str(), &value);
            return wiq_json_u128_new(&value, nullptr);
        }
        if (digits.find_first_of(".ein") != std::string::npos) {
            return wiq_json_double_new(std::strtod(digits.c_str(), nullptr), nullptr);
        }
        return wiq_json_i64_new(std::strtoll(digits.c_str(), nullptr, 10), nullptr);
    }

    const char* at_;
};

inline wiq_json_t* node(const char* notation) {
    return Reader(notation).read();
}
inline Tree make(const char* notation) {
    return Tree(node(notation));
}

inline void write(const wiq_json_t* node, std::string* out);

inline void write_members(const wiq_json_t* obj, std::string* out) {
    std::vector<std::string> members;
    wiq_json_obj_foreach(
        obj,
        [](const char* key, wiq_json_t* child, void* user) {
            std::string member = '"' + std::string(key) + "\":";
            write(child, &member);
            static_cast<std::vector<std::string>*>(user)->push_back(member);
            return true;
        },
        &members);
    std::sort(members.begin(), members.end());
    *out += '{';
    for (const std::string& member : members) {
        *out += (out->back() == '{' ? "" : ",") + member;
    }
    *out += '}';
}

inline void write_number(const wiq_json_t* node, std::string* out) {
    char text[64];
    wiq_uint128 value;
    switch (header(node)->type) {
        case 3:
            std::snprintf(text, sizeof(text), "%lld",
                          static_cast<long long>(wiq_json_i64_get(node)));
            break;
        case 4:
            std::snprintf(text, sizeof(text), "%lluu",
                          static_cast<unsigned long long>(wiq_json_u64_get(node)));
            break;
        case 5:
            wiq_uint128_to_str(*wiq_json_u128_get(&value, node), 10, text, sizeof(text));
            std::strcat(text, "w");
            break;
        default:
            std::snprintf(text, sizeof(text), "%.17g", wiq_json_double_get(node));
            if (std::strpbrk(text, ".ein") == nullptr) {
                std::strcat(text, ".0");
            }
            break;
    }
    *out += text;
}

inline void write(const wiq_json_t* node, std::string* out) {
    if (node == nullptr) {
        *out += "(none)";
    } else if (wiq_json_is_num(node)) {
        write_number(node, out);
    } else if (wiq_json_is_str(node) || wiq_json_is_jref(node)) {
        const char* text = wiq_json_str_get(node);
        *out += wiq_json_is_jref(node) ? "@" : "";
        *out += text != nullptr ? '"' + std::string(text) + '"' : "(no text)";
    } else if (wiq_json_is_array(node)) {
        *out += wiq_json_has_weak_refs(node) ? "w[" : "[";
        for (i32 i = 0; i < wiq_json_array_size(node); ++i) {
            *out += i > 0 ? "," : "";
            write(wiq_json_array_get_ext(node, i, 0, nullptr), out);
        }
        *out += ']';
    } else if (wiq_json_is_obj(node)) {
        *out += wiq_json_has_weak_refs(node) ? "w" : "";
        write_members(node, out);
    } else {
        *out += wiq_json_is_null(node) ? "null" : wiq_json_is_true(node) ? "true" : "false";
    }
}

inline std::string text_of(const wiq_json_t* node) {
    std::string text;
    write(node, &text);
    return text;
}
inline std::string text_of(const Tree& tree) {
    return text_of(tree.get());
}

// Returns the tree of a JSON text; empty if the text is invalid.
inline Tree parse(const std::string& text) {
    return Tree(wiq_json_loads(text.c_str(), 0, nullptr));
}

// A child as it is, even if it is a reference.
inline wiq_json_t* elem(const Tree& array, i32 index) {
    return wiq_json_array_get_ext(array.get(), index, 0, nullptr);
}
inline wiq_json_t* member(const Tree& obj, const std::string& key) {
    return wiq_json_obj_get_ext(obj.get(), key.c_str(), 0, nullptr);
}

// Returns the keys in the object's order.
inline std::vector<std::string> keys_of(const Tree& obj) {
    std::vector<std::string> keys;
    wiq_json_obj_foreach(
        obj.get(),
        [](const char* key, wiq_json_t*, void* user) {
            static_cast<std::vector<std::string>*>(user)->push_back(key);
            return true;
        },
        &keys);
    return keys;
}

// Statuses are negative, but the functions that return a node store them in a u32.
inline i32 status(u32 err) {
    return static_cast<i32>(err);
}

}  // namespace tree
