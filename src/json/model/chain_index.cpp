// Searches, fills and renews the indexes of long chains. chain_index.h explains what they are for.

#include "json/model/chain_index.h"

#include <atomic>
#include <cstdlib>

#include "containers/siphash.h"
#include "os/os.h"

namespace ke::json {
namespace {

// Returns a word of the secret key, which is drawn when it is first asked for. If several threads
// draw at once, all use the word that was stored first. The lowest bit is always set, because 0
// means that no word was drawn yet.
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

// Returns the table's index after making it cover this chain, which must not be empty. Returns
// nullptr for a small table and when out of memory.
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
    // One entry for each member that the table holds before it grows, and one for the member that
    // makes it grow: that member is linked before the table grows (insert_member() in object.cpp).
    static_assert(sizeof(ChainIndex) % alignof(Entry) == 0 && alignof(Entry) <= 2 * sizeof(u32));
    const size_t size =
        sizeof(ChainIndex) + 2 * buckets * sizeof(u32) + (load_limit(buckets) + 1) * sizeof(Entry);
    // calloc() takes large blocks from the system, which makes their pages zero when they are first
    // used: the entries of a large index cost nothing until then.
    auto* index = static_cast<ChainIndex*>(calloc(1, size));
    if (index != nullptr)
        index->buckets_ = buckets;
    return index;
}

u32 ChainIndex::secret_hash(const Key& key) {
    const SipKey secret = {secret_word(&g_secret0), secret_word(&g_secret1)};
    return static_cast<u32>(siphash13(secret, key.text, key.length));
}

const ChainIndex::Entry* ChainIndex::entry_of(const Key& key) const {
    const u32 hash = secret_hash(key);
    for (u32 number = *head_of(hash); number != 0; number = entry(number)->link) {
        const Entry* found = entry(number);
        if (found->hash == hash && has_key(found->member, key))
            return found;
    }
    return nullptr;
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

void ChainIndex::cover_reversed(const ChainIndex& old, u64 old_bucket, u64 bucket) {
    // From the last member to the first: growth has reversed the chain.
    for (u32 number = old.tails()[old_bucket]; number != 0; number = old.entry(number)->previous) {
        const Entry* one = old.entry(number);
        if (bucket_of(one->member->hash, buckets_ - 1) == bucket)
            append(one->member, bucket, one->hash);
    }
}

// There is always an entry left: make() allocated enough for all members that a table of this size
// can have.
void ChainIndex::append(Member* member, u64 bucket, u32 hash) {
    u32 number = free_;
    if (number != 0)
        free_ = entry(number)->link;
    else
        number = ++used_;
    u32* head = head_of(hash);
    u32* tail = &tails()[bucket];
    *entry(number) = {member, hash, *head, *tail, 0};
    if (*tail != 0)
        entry(*tail)->next = number;
    *head = number;
    *tail = number;
}

u32* ChainIndex::entry_link_to(const Member* member) const {
    u32* link = head_of(secret_hash(Key(member)));
    // Ends, since each member of a covered chain has an entry.
    while (entry(*link)->member != member)
        link = &entry(*link)->link;
    return link;
}

void ChainIndex::unlink(Members* members, const Member* member) {
    const u64 bucket = bucket_of(member->hash, members->mask);
    u32* link = entry_link_to(member);
    const u32 number = *link;
    Entry* gone = entry(number);
    *link = gone->link;
    *(gone->previous != 0 ? &entry(gone->previous)->member->next : &members->buckets[bucket]) =
        member->next;
    if (gone->previous != 0)
        entry(gone->previous)->next = gone->next;
    *(gone->next != 0 ? &entry(gone->next)->previous : &tails()[bucket]) = gone->previous;
    gone->link = free_;
    free_ = number;
}

Member* find_after(const Members& members, const Key& key, Member* from) {
    const ChainIndex* index = index_over(members, bucket_of(key.hash, members.mask));
    if (index != nullptr)
        return index->find(key);
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
                index->cover_reversed(*old, from, bucket);
        }
    }
    free(old);
}

void free_index_of_large(const Members& members) {
    if (members.buckets != nullptr)
        free(tail_of(members)->index);
}

}  // namespace ke::json
