// Builds an object's table from a list of members whose number is known. members.h explains the
// table.

#include "json/model/members.h"

#include <bit>

#include "json/model/chain_index.h"

namespace ke::json {

namespace {

// Links each member where growth would have left it. Members that are added one by one make the
// table grow several times. Each growth reverses every chain (chains.h), and a later member goes to
// the end of the chain as it is then. This function never reverses a chain. Instead it keeps each
// chain in the order in which that chain will be after the last growth: if an odd number of growths
// is still to come, that is the reverse of the present order, so a new member is put at the front;
// otherwise it is put at the back. For example, let A, B and C share a chain of a table with 4
// buckets. Added one by one, they give A, then AB, then BA by the growth to 4 buckets, and at last
// BAC. Here A and B are put at the front, which gives A and BA; C is put at the back, which gives
// BAC.
//
// One round of the outer loop links the members that would be added between two growths; `size` is
// the number of buckets that the table would have at that time. The member that causes a growth is
// linked before the table grows (insert_member() in object.cpp), so it is the last of its round: a
// table of 2 buckets grows when the second member is added, so the first round has two members.
// Only the last round may be incomplete, because `count` is above the load limit of all smaller
// tables. A table of 2^k buckets has grown k - 1 times, so the first round goes to the front if k
// is even, and the sides alternate from round to round.
//
// link_to() gets the place of a member in the list, and returns the null link at the end of this
// member's chain. If it returns a link to another member instead, the function stops there: with
// kDuplicateKey if that member has the same key, otherwise with kLongChain. added() is called after
// each member is linked, with the member and whether it was put at the front.
template <class LinkTo, class Added>
inline TableStatus fill_table(Members* members, Member* const* list, u64 count, LinkTo link_to,
                              Added added) {
    const u64 buckets = u64{members->mask} + 1;
    bool in_front = std::countr_zero(buckets) % 2 == 0;
    u64 i = 0;
    for (u64 size = 2; i < count; size *= 2) {
        const u64 round_end = size == buckets ? count : load_limit(size) + 1;
        for (; i < round_end; ++i) {
            Member* member = list[i];
            Member** end = link_to(*members, list + i);
            if (*end != nullptr) {
                return has_key(*end, Key(member)) ? TableStatus::kDuplicateKey
                                                  : TableStatus::kLongChain;
            }
            Member** link =
                in_front ? &members->buckets[bucket_of(member->hash, members->mask)] : end;
            member->next = *link;
            *link = member;
            added(member, in_front);
        }
        in_front = !in_front;
    }
    members->size = static_cast<u32>(count);
    return TableStatus::kBuilt;
}

}  // namespace

// This function makes no index, so it searches chains member by member, and many keys in one chain
// would take quadratic time. The limit prevents that: if a chain has more than kMaxShortChain
// members, link_within() returns the link to a member instead of the null link, and fill_table()
// stops. That is when an index would be made, too. Tables without a tail are small and need no
// limit.
//
// `first` in the tail stays 0, as in any new table: no bucket is before that one.
TableStatus build_table(Members* members, Member* const* list, u64 count) {
    const auto ignore = [](Member*, bool) {};
    if (members->mask < kMinBucketsWithTail - 1) {
        return fill_table(
            members, list, count,
            [](const Members& in, Member* const* at) { return link_of(in, Key(*at)); }, ignore);
    }
    return fill_table(
        members, list, count,
        [](const Members& in, Member* const* at) {
            return link_within(in, Key(*at), kMaxShortChain);
        },
        ignore);
}

bool build_indexed_table(Members* members, Member* const* list, u64 count) {
    Member* const* const end = list + count;
    const auto link_to = [end](const Members& in, Member* const* at) {
        const ChainIndex* index = index_of(in);
        if (index != nullptr && end - at > kPrefetchDistance)
            index->prefetch_entry(Key(at[kPrefetchDistance]));
        return link_to_add(in, Key(*at));
    };
    const auto add_to_index = [members](Member* member, bool in_front) {
        const u64 bucket = bucket_of(member->hash, members->mask);
        ChainIndex* index = index_over(*members, bucket);
        if (index == nullptr)
            return;
        if (in_front)
            index->prepend(member);
        else
            index->append(member, bucket);
    };
    return fill_table(members, list, count, link_to, add_to_index) == TableStatus::kBuilt;
}

}  // namespace ke::json
