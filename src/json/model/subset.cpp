// Finds out whether one tree is contained in another. A pair of containers is compared by a small
// state machine (ObjectMatch, GapMatch or RunMatch), which compares one pair of children after
// another. If a pair of children are containers themselves, they get a machine of their own, and
// the machine that asked about them waits on a stack for the answer. So even deep documents need no
// recursion.

#include <cmath>
#include <cstring>

#include "containers/small_stack.h"
#include "json/model/chain_index.h"
#include "json/model/node.h"

namespace ke::json {
namespace {

// Whether b contains a. kLookInside means that this depends on their children. Throughout this
// file, `a` is the part and `b` is the whole.
enum class Answer { kNo, kYes, kLookInside };

bool same_text(const TextNode* a, const TextNode* b) {
    if (a->text == nullptr || b->text == nullptr)
        return a->text == b->text;
    return a->length == b->length && memcmp(a->text, b->text, a->length) == 0;
}

// Compares two numbers of different types. They are equal if wiq_json_is_..._ext() accepts b for
// a's type when it also accepts other number types, and if b then reads as a's value. So it matters
// which of the two is a. For example, the double 2^60 contains the i64 2^60, but not the other way
// round, since no i64 above 2^53 is accepted as a double. And the double 2^63 contains the i64
// -2^63: it is accepted as an i64 although it does not fit, and then reads as -2^63.
bool same_number_of_other_kind(const wiq_json* a, const wiq_json* b) {
    switch (a->type) {
        case kJsonI64:
            return wiq_json_is_i64_ext(b, true) && as<I64Node>(a)->value == wiq_json_i64_get(b);
        case kJsonU64:
            return wiq_json_is_u64_ext(b, true) && as<U64Node>(a)->value == wiq_json_u64_get(b);
        case kJsonU128: {
            const wiq_uint128 left = as<U128Node>(a)->value;
            wiq_uint128 right;
            return wiq_json_is_u128_ext(b, true) && wiq_json_u128_get(&right, b)->lo == left.lo &&
                   right.hi == left.hi;
        }
        default:
            return wiq_json_is_double_ext(b, true) &&
                   as<DoubleNode>(a)->value == wiq_json_double_get(b);
    }
}

// Compares two nodes of different types: only numbers can be equal.
Answer compare_types(const wiq_json* a, const wiq_json* b) {
    const bool is_number = a->type == kJsonI64 || a->type == kJsonU64 || a->type == kJsonU128 ||
                           a->type == kJsonDouble;
    return is_number && same_number_of_other_kind(a, b) ? Answer::kYes : Answer::kNo;
}

// Compares two nodes as far as that is possible without their children. Returns kLookInside for two
// containers of one type. A node contains itself, even if there is a NaN in it.
inline Answer compare_nodes(const wiq_json* a, const wiq_json* b) {
    if (a == b)
        return Answer::kYes;
    if (a == nullptr || b == nullptr)
        return Answer::kNo;
    if (a->type != b->type)
        return compare_types(a, b);
    bool same = true;
    switch (a->type) {
        case kJsonObject:
        case kJsonArray:
            return Answer::kLookInside;
        case kJsonI64:  // has its 64 bits where a U64Node has them
        case kJsonU64:
            same = as<U64Node>(a)->value == as<U64Node>(b)->value;
            break;
        case kJsonU128:
            same = as<U128Node>(a)->value.lo == as<U128Node>(b)->value.lo &&
                   as<U128Node>(a)->value.hi == as<U128Node>(b)->value.hi;
            break;
        case kJsonDouble:
            // NaN is equal to nothing.
            same = as<DoubleNode>(a)->value == as<DoubleNode>(b)->value;
            break;
        case kJsonString:
        case kJsonRef:
            same = same_text(as<TextNode>(a), as<TextNode>(b));
            break;
        default:
            // The type of null, true and false is their value.
            break;
    }
    return same ? Answer::kYes : Answer::kNo;
}

bool has_flag(u32 flags, u32 flag) {
    return (flags & flag) != 0;
}

// A pair of nodes that are to be compared.
struct Pair {
    const wiq_json* a;
    const wiq_json* b;
};

// The three machines below work alike. start() begins and next() continues: they compare pairs of
// children until the machine has its answer, which they return, or until they meet two containers.
// Then they store these in *question and return kLookInside. resume() takes the answer to the
// question and continues. *question means nothing with any other answer.

// Objects: for each member of a, b must have a counterpart: a member with the same key whose child
// contains that of a's member. The machine moves on to the next member before it asks its question.
struct ObjectMatch {
    const ObjectNode* a;
    const ObjectNode* b;
    const Member* member;  // of a: the one to be compared next
    // Of b: the counterpart of `member` if both objects have their members in the same order, as
    // objects with the same history do. It is tried before b is searched.
    const Member* expected;

    Answer start(u32 flags, Pair* question) {
        const bool sizes_fit = has_flag(flags, WIQ_JSON_SUBSET_SAME_SIZE)
                                   ? size_of(a) == size_of(b)
                                   : size_of(a) <= size_of(b);
        if (!sizes_fit)
            return Answer::kNo;
        member = first_member(a);
        expected = first_member(b);
        return next(question);
    }

    Answer next(Pair* question) {
        while (member != nullptr) {
            const Key key(member);
            const Member* other = expected != nullptr && has_key(expected, key)
                                      ? expected
                                      : find(b->members, key, member);
            if (other == nullptr)
                return Answer::kNo;
            const wiq_json* child = member->child;
            expected = next_member(b, other);
            member = next_member(a, member);
            const Answer answer = compare_nodes(child, other->child);
            if (answer != Answer::kYes) {
                *question = {child, other->child};
                return answer;
            }
        }
        return Answer::kYes;
    }

    Answer resume(bool matched, Pair* question) { return matched ? next(question) : Answer::kNo; }
};

// Arrays in which b may have other elements between those that match. Each element of a is matched
// with the first element of b, after the last match, that contains it. A later one would only leave
// less of b for the rest of a, so the machine never goes back. It moves on when it gets the answer
// to its question, and so does RunMatch.
struct GapMatch {
    const ArrayNode* a;
    const ArrayNode* b;
    i32 a_index;
    i32 b_index;

    Answer start(Pair* question) {
        a_index = 0;
        b_index = 0;
        return next(question);
    }

    Answer next(Pair* question) {
        for (;;) {
            const i32 a_left = size_of(a) - a_index;
            if (a_left == 0)
                return Answer::kYes;
            if (size_of(b) - b_index < a_left)
                return Answer::kNo;
            *question = {elems_of(a)[a_index], elems_of(b)[b_index]};
            const Answer answer = compare_nodes(question->a, question->b);
            if (answer == Answer::kLookInside)
                return answer;
            advance(answer == Answer::kYes);
        }
    }

    Answer resume(bool matched, Pair* question) {
        advance(matched);
        return next(question);
    }

    // Passes the element of b that was compared, and if it matched, also the element of a.
    void advance(bool matched) {
        a_index += matched ? 1 : 0;
        ++b_index;
    }
};

// Arrays in which a must be one run of b: all of a is tried at offset 0 of b, then at offset 1, and
// so on. Only here does the flag for a prefix matter, and the flag for the length only together
// with it.
struct RunMatch {
    const ArrayNode* a;
    const ArrayNode* b;
    i32 index;        // in a: the element that is being compared, with b[offset + index]
    i32 offset;       // in b: where the run begins
    i32 last_offset;  // the last to be tried; below 0 if a is longer than b

    Answer start(u32 flags, Pair* question) {
        index = 0;
        offset = 0;
        last_offset = size_of(b) - size_of(a);
        if (has_flag(flags, WIQ_JSON_SUBSET_PREFIX)) {
            if (has_flag(flags, WIQ_JSON_SUBSET_SAME_LENGTH) && last_offset != 0)
                return Answer::kNo;
            last_offset = last_offset < 0 ? last_offset : 0;
        }
        return next(question);
    }

    Answer next(Pair* question) {
        const i32 size = size_of(a);
        while (offset <= last_offset) {
            Answer answer = Answer::kYes;
            while (index != size) {
                *question = {elems_of(a)[index], elems_of(b)[offset + index]};
                answer = compare_nodes(question->a, question->b);
                if (answer != Answer::kYes)
                    break;
                ++index;
            }
            if (answer != Answer::kNo)
                return answer;
            advance(false);
        }
        return Answer::kNo;
    }

    Answer resume(bool matched, Pair* question) {
        advance(matched);
        return next(question);
    }

    // If the pair matched, goes on to the next pair of the run, otherwise to the next offset.
    void advance(bool matched) {
        if (matched) {
            ++index;
        } else {
            index = 0;
            ++offset;
        }
    }
};

// Two containers of one type that are being compared.
struct Match {
    enum Kind { kObjects, kGaps, kRun } kind;
    union {
        ObjectMatch objects;
        GapMatch gaps;
        RunMatch run;
    };
};

Answer start(Match* match, Pair containers, u32 flags, Pair* question) {
    if (containers.a->type == kJsonObject) {
        match->kind = Match::kObjects;
        match->objects.a = as<ObjectNode>(containers.a);
        match->objects.b = as<ObjectNode>(containers.b);
        return match->objects.start(flags, question);
    }
    const auto* a = as<ArrayNode>(containers.a);
    const auto* b = as<ArrayNode>(containers.b);
    if (has_flag(flags, WIQ_JSON_SUBSET_CONTIGUOUS)) {
        match->kind = Match::kRun;
        match->run.a = a;
        match->run.b = b;
        return match->run.start(flags, question);
    }
    match->kind = Match::kGaps;
    match->gaps.a = a;
    match->gaps.b = b;
    return match->gaps.start(question);
}

Answer resume(Match* match, bool matched, Pair* question) {
    switch (match->kind) {
        case Match::kObjects:
            return match->objects.resume(matched, question);
        case Match::kGaps:
            return match->gaps.resume(matched, question);
        default:
            return match->run.resume(matched, question);
    }
}

// Compares two containers. If the stack cannot grow, the answer is no. Circles, which only weak
// containers can form, are not detected: a comparison that goes round in circles ends only when the
// stack cannot grow.
bool compare_containers(Pair pair, u32 flags) {
    SmallStack<Match, 16> waiting;
    for (;;) {
        // Down: starts the comparison of a pair of containers. `pair` becomes the pair inside them
        // that is to be compared next, if there is one.
        Match match;
        Answer answer = start(&match, pair, flags, &pair);
        if (answer == Answer::kLookInside) {
            if (!waiting.push(match))
                return false;
            continue;
        }
        // Up: the answer goes to the machine that asked. If that machine now has its own answer, it
        // is done, and its answer goes to the machine that waits below it on the stack. Otherwise
        // `pair` is its next question.
        while (answer != Answer::kLookInside) {
            if (waiting.empty())
                return answer == Answer::kYes;
            answer = resume(&waiting.top(), answer == Answer::kYes, &pair);
            if (answer != Answer::kLookInside)
                waiting.pop();
        }
    }
}

}  // namespace
}  // namespace ke::json

using namespace ke::json;

bool wiq_json_subset(const wiq_json_t* a, const wiq_json_t* b, u32 flags) {
    const Answer answer = compare_nodes(a, b);
    return answer == Answer::kLookInside ? compare_containers({a, b}, flags)
                                         : answer == Answer::kYes;
}

bool wiq_json_equal(const wiq_json_t* a, const wiq_json_t* b) {
    return wiq_json_subset(a, b,
                           WIQ_JSON_SUBSET_CONTIGUOUS | WIQ_JSON_SUBSET_PREFIX |
                               WIQ_JSON_SUBSET_SAME_LENGTH | WIQ_JSON_SUBSET_SAME_SIZE);
}
