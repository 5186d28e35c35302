// See members.h.

#include "json/members.h"

#include <bit>

#include "json/chain_index.h"

namespace ke::json {

namespace {

// Growth turns every chain around (chains.h), so a member that is still to see an odd number of growths
// comes before those of its chain that were there before it, and another one behind them. The members that
// one growth moves first, the one that caused it among them, are one round here.
template <class SlotOf>
inline bool build_with(Members* members, Member* const* list, u64 count, SlotOf slot_of_key) {
    const u64 buckets = u64{members->mask} + 1;
    bool in_front = std::countr_zero(buckets) % 2 == 0;
    u64 i = 0;
    for (u64 size = 2; i < count; size *= 2) {
        const u64 round_end = size == buckets ? count : load_limit(size) + 1;
        for (; i < round_end; ++i) {
            Member* member = list[i];
            Member** end = slot_of_key(*members, Key(member));
            if (*end != nullptr)
                return false;
            Member** link =
                in_front ? &members->buckets[bucket_of(member->hash, members->mask)] : end;
            member->next = *link;
            *link = member;
        }
        in_front = !in_front;
    }
    members->size = static_cast<u32>(count);
    return true;
}

}  // namespace

// Most objects are small, and need no limit.
bool build_table(Members* members, Member* const* list, u64 count) {
    if (members->mask < kLeastWithTail - 1)
        return build_with(members, list, count,
                          [](const Members& in, const Key& key) { return slot_of(in, key); });
    return build_with(members, list, count, [](const Members& in, const Key& key) {
        return slot_within(in, key, kLongChain);
    });
}

}  // namespace ke::json
