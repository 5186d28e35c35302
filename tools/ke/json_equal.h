// Compares documents and finds their differences without ever rounding a number.
#pragma once

#include <string>
#include <vector>

#include "document.h"

namespace tool {

// Returns whether two values are equal: numbers by their value (1.0 equals 1), strings by their characters,
// objects regardless of the order of their members.
bool is_equal(const Document& a, NodeId in_a, const Document& b, NodeId in_b);

constexpr NodeId kNone = 0xFFFFFFFF;

// Two members with the same key; kNone if one of the objects has no such member.
struct MemberPair {
    NodeId a, b;
};

// Returns the members of two objects in pairs, sorted by the bytes of the keys.
std::vector<MemberPair> members_of_both(const Document& a, NodeId in_a, const Document& b,
                                        NodeId in_b);

// Returns the first place where two documents differ, as "/x/1: 2 is not 3"; "" if they are equal.
std::string first_difference(const Document& a, const Document& b);

}  // namespace tool
