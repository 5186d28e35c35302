// Searches, fills and replaces the indexes of tables with long chains. chain_index.h explains what
// they are for.

#include "json/model/chain_index.h"

#include <atomic>
#include <cstdlib>

#include "containers/siphash.h"
#include "os/os.h"

namespace ke::json {
namespace {

// Returns a word of the secret key, which is drawn when it is first needed. If several threads draw
// at once, all use the word that was stored first. The lowest bit is always set, because 0 means
// that the word has not been drawn yet.
u64 secret_word(std::atomic<u64>* word) {
    u64 value = word->load(std::memory_order_relaxed);
    if (value == 0) {
        u64 drawn = os::random_u64() | 1;
        if (word->compare_exchange_strong(value, drawn, std::memory_order_relaxed))
            value = drawn;
    }
    return value;
}

std::atomic<u64> g_secret0;
std::atomic<u64> g_secret1;

// Returns whether a chain has more than kMaxShortChain members.
bool is_long(const Member* chain) {
    for (u32 passed = 0; chain != nullptr; chain = chain->next) {
        if (++passed > kMaxShortChain)
            return true;
    }
    return false;
}

// Returns the member this many links further on, or nullptr if the chain ends before it.
const Member* skip(const Member* member, int links) {
    for (; links != 0 && member != nullptr; --links)
        member = member->next;
    return member;
}

// Returns the table's index after making it cover this chain, which must not be empty. Returns
// nullptr if the table has no tail, and when out of memory.
ChainIndex* index_to_add_to(const Members& members, u64 bucket) {
    if (!has_tail(members))
        return nullptr;
    ChainIndex** index = &tail_of(members)->index;
    if (*index == nullptr)
        *index = ChainIndex::make(u64{members.mask} + 1);
    if (*index != nullptr && !(*index)->covers(bucket))
        (*index)->cover(members.buckets[bucket], bucket);
    return *index;
}

}  // namespace

ChainIndex* ChainIndex::make(u64 buckets) {
    // Each member that the table holds before it grows has an entry, and so has the member that
    // makes it grow: that member is linked before the table grows (insert_member() in object.cpp).
    // One entry is always left free, where a search ends.
    static_assert(load_limit(kMinBucketsWithTail) + 1 < kMinBucketsWithTail);
    static_assert(sizeof(ChainIndex) % alignof(Entry) == 0 &&
                  kMinBucketsWithTail * sizeof(u32) % alignof(Entry) == 0);
    const size_t size = sizeof(ChainIndex) + buckets * (sizeof(u32) + sizeof(Entry));
    auto* index = static_cast<ChainIndex*>(calloc(1, size));
    if (index != nullptr) {
        index->secret_ = process_secret();
        index->buckets_ = buckets;
    }
    return index;
}

SipKey ChainIndex::process_secret() {
    return {secret_word(&g_secret0), secret_word(&g_secret1)};
}

const ChainIndex::Entry* ChainIndex::entry_of(const Key& key) const {
    const u32 hash = secret_hash(key);
    for (u32 number = home_of(hash); entry(number)->member != nullptr; number = after(number)) {
        const Entry* found = entry(number);
        if (found->hash == hash && has_key(found->member, key))
            return found;
    }
    return nullptr;
}

u32 ChainIndex::number_of(const Member* member) const {
    u32 number = home_of(secret_hash(Key(member)));
    // The loop ends because each member of a covered chain has an entry.
    while (entry(number)->member != member)
        number = after(number);
    return number;
}

Member* ChainIndex::find(const Key& key) const {
    const Entry* found = entry_of(key);
    return found != nullptr ? found->member : nullptr;
}

Member** ChainIndex::link_of(const Members& members, const Key& key) const {
    const u64 bucket = bucket_of(key.hash, members.mask);
    const Entry* found = entry_of(key);
    if (found == nullptr)
        return end_of(bucket);
    return found->previous != 0 ? &entry(found->previous)->member->next : &members.buckets[bucket];
}

void ChainIndex::cover(Member* chain, u64 bucket) {
    for (; chain != nullptr; chain = chain->next)
        append(chain, bucket);
}

u32 ChainIndex::add_entry(Member* member) {
    const u32 hash = secret_hash(Key(member));
    u32 number = home_of(hash);
    while (entry(number)->member != nullptr)
        number = after(number);
    *entry(number) = {member, hash, 0, 0};
    return number;
}

void ChainIndex::append(Member* member, u64 bucket) {
    const u32 number = add_entry(member);
    u32* tail = &tails()[bucket];
    entry(number)->previous = *tail;
    if (*tail != 0)
        entry(*tail)->next = number;
    *tail = number;
}

void ChainIndex::prepend(Member* member) {
    const u32 second = number_of(member->next);
    const u32 number = add_entry(member);
    entry(number)->next = second;
    entry(second)->previous = number;
}

void ChainIndex::move_entry(u32 from, u32 to) {
    *entry(to) = *entry(from);
    const Entry& moved = *entry(to);
    if (moved.previous != 0)
        entry(moved.previous)->next = to;
    u32* back = moved.next != 0 ? &entry(moved.next)->previous
                                : &tails()[bucket_of(moved.member->hash, buckets_ - 1)];
    *back = to;
}

// Moves the next entry that may stand in the gap into it, then fills the gap that this entry has
// left in the same way, and so on up to the next free entry. An entry may stand in a gap unless its
// home comes after the gap.
void ChainIndex::remove_entry(u32 number) {
    const u64 mask = buckets_ - 1;
    u32 gap = number;
    for (u32 next = after(gap); entry(next)->member != nullptr; next = after(next)) {
        const u64 steps_from_home = (next - home_of(entry(next)->hash)) & mask;
        if (steps_from_home < ((next - gap) & mask))
            continue;
        move_entry(next, gap);
        gap = next;
    }
    *entry(gap) = {};
}

void ChainIndex::unlink(Members* members, const Member* member) {
    const u64 bucket = bucket_of(member->hash, members->mask);
    const u32 number = number_of(member);
    const Entry gone = *entry(number);
    *(gone.previous != 0 ? &entry(gone.previous)->member->next : &members->buckets[bucket]) =
        member->next;
    if (gone.previous != 0)
        entry(gone.previous)->next = gone.next;
    *(gone.next != 0 ? &entry(gone.next)->previous : &tails()[bucket]) = gone.previous;
    remove_entry(number);
}

Member* find_after(const Members& members, const Key& key, Member* from, const Member* source) {
    const ChainIndex* index = index_over(members, bucket_of(key.hash, members.mask));
    if (index != nullptr) {
        // The entry is prefetched twice as far ahead as the member: it tells where the member is.
        source = skip(source, kPrefetchDistance);
        if (source != nullptr)
            index->prefetch_member(Key(source));
        source = skip(source, kPrefetchDistance);
        if (source != nullptr)
            index->prefetch_entry(Key(source));
        return index->find(key);
    }
    while (from != nullptr && !has_key(from, key))
        from = from->next;
    return from;
}

Member** link_after(const Members& members, const Key& key, Member** from) {
    const u64 bucket = bucket_of(key.hash, members.mask);
    const ChainIndex* index = index_over(members, bucket);
    if (index == nullptr && is_long(members.buckets[bucket]))
        index = index_to_add_to(members, bucket);
    if (index != nullptr)
        return index->link_of(members, key);
    while (*from != nullptr && !has_key(*from, key))
        from = &(*from)->next;
    return from;
}

void append_member(Members* members, Member* member) {
    const u64 bucket = bucket_of(member->hash, members->mask);
    Member** end = &members->buckets[bucket];
    for (u32 passed = 0; *end != nullptr; end = &(*end)->next) {
        if (passed++ != kMaxShortChain)
            continue;
        if (const ChainIndex* index = index_to_add_to(*members, bucket)) {
            end = index->end_of(bucket);
            break;
        }
    }
    link_member(members, end, member);
}

void rebuild_index(Members* members, ChainIndex* old, u64 old_buckets) {
    ChainIndex* index = ChainIndex::make(2 * old_buckets);
    tail_of(*members)->index = index;
    for (u64 from = 0; index != nullptr && from < old_buckets; ++from) {
        if (!old->covers(from))
            continue;
        for (const u64 bucket : {from, from + old_buckets}) {
            if (is_long(members->buckets[bucket]))
                index->cover(members->buckets[bucket], bucket);
        }
    }
    free(old);
}

void free_index_of_large(const Members& members) {
    if (members.buckets != nullptr)
        free(tail_of(members)->index);
}

}  // namespace ke::json
