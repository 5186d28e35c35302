// What two documents do not have in common, without ever rounding a number.
#pragma once

#include <string>
#include <vector>

#include "document.h"

namespace tool {

// Whether two values are the same: numbers by what they stand for (1.0 is 1), strings by their characters,
// objects whatever the order of their members is.
bool is_equal(const Document& a, NodeId in_a, const Document& b, NodeId in_b);

constexpr NodeId kNone = 0xFFFFFFFF;

// Two members of one key; kNone where one of the objects has none.
struct MemberPair {
    NodeId a, b;
};

// The members of two objects side by side, in the order of the keys' bytes.
std::vector<MemberPair> members_of_both(const Document& a, NodeId in_a, const Document& b,
                                        NodeId in_b);

// The first place where two documents differ, as "/x/1: 2 is not 3"; "" if they are equal.
std::string first_difference(const Document& a, const Document& b);

}  // namespace tool
