// A plain implementation of the subset test, recursive and with its own type for values.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "ke_utils/types.h"

namespace subset_model {

// A value as the model sees it. Numbers are small enough to be doubles, so two numbers are equal if their
// values are, whatever their kinds.
struct Value {
    enum Kind { kAtom, kNumber, kArray, kObject } kind;
    std::string text;  // its notation, for atoms and numbers
    double number = 0;
    std::vector<Value> elems;
    std::map<std::string, Value> members;

    std::string notation() const {
        std::string out;
        if (kind == kArray) {
            for (const Value& elem : elems) {
                out += (out.empty() ? "[" : ",") + elem.notation();
            }
            return (out.empty() ? "[" : out) + "]";
        }
        if (kind == kObject) {
            for (const auto& [key, value] : members) {
                out += (out.empty() ? "{" : ",") + ('"' + key + "\":") + value.notation();
            }
            return (out.empty() ? "{" : out) + "}";
        }
        return text;
    }
};

inline bool plain_subset(const Value& a, const Value& b, u32 flags);

inline bool plain_run(const Value& a, const Value& b, u32 flags, size_t offset) {
    for (size_t i = 0; i < a.elems.size(); ++i) {
        if (!plain_subset(a.elems[i], b.elems[offset + i], flags)) {
            return false;
        }
    }
    return true;
}

inline bool plain_array(const Value& a, const Value& b, u32 flags) {
    if ((flags & 1) == 0) {
        size_t next = 0;
        for (const Value& elem : a.elems) {
            while (next < b.elems.size() && !plain_subset(elem, b.elems[next], flags)) {
                ++next;
            }
            if (next == b.elems.size()) {
                return false;
            }
            ++next;
        }
        return true;
    }
    if ((flags & 7) == 7 && a.elems.size() != b.elems.size()) {
        return false;
    }
    for (size_t offset = 0; offset + a.elems.size() <= b.elems.size(); ++offset) {
        if (plain_run(a, b, flags, offset)) {
            return true;
        }
        if ((flags & 2) != 0) {
            return false;
        }
    }
    return false;
}

inline bool plain_subset(const Value& a, const Value& b, u32 flags) {
    if (a.kind != b.kind) {
        return false;
    }
    switch (a.kind) {
        case Value::kAtom:
            return a.text == b.text;
        case Value::kNumber:
            return a.number == b.number;
        case Value::kArray:
            return plain_array(a, b, flags);
        default:
            break;
    }
    if ((flags & 8) != 0 ? a.members.size() != b.members.size()
                         : a.members.size() > b.members.size()) {
        return false;
    }
    for (const auto& [key, value] : a.members) {
        const auto other = b.members.find(key);
        if (other == b.members.end() || !plain_subset(value, other->second, flags)) {
            return false;
        }
    }
    return true;
}

}  // namespace subset_model
