// See members.h.

#include "json/members.h"

#include <cstdlib>

#include "ke_utils/core.h"

namespace ke::json {

i32 init_members(Members* members, i32 capacity) {
    *members = {};
    const u64 count = initial_buckets(static_cast<u64>(capacity));
    if (count == 1)
        return 0;
    if (count > kMostBuckets)
        return WIQ_ERR_NO_MEMORY;
    members->buckets = static_cast<Member**>(calloc(count, sizeof(Member*)));
    members->mask = static_cast<u32>(count - 1);
    return members->buckets == nullptr ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : 0;
}

Member* make_member(void* block, const Key& key) {
    auto* member = static_cast<Member*>(block);
    member->hash = key.hash;
    member->key_length = static_cast<u32>(key.length);
    char* text = reinterpret_cast<char*>(member + 1);
    memcpy(text, key.text, key.length);
    text[key.length] = '\0';
    return member;
}

bool HeapTables::begin(Members* members) {
    auto** buckets = static_cast<Member**>(calloc(2, sizeof(Member*)));
    if (buckets == nullptr)
        return false;
    *members = {buckets, 1, 0};
    return true;
}

bool HeapTables::extend(Members* members) {
    const size_t count = size_t{members->mask} + 1;
    void* buckets = realloc(members->buckets, 2 * count * sizeof(Member*));
    if (buckets == nullptr)
        return false;
    members->buckets = static_cast<Member**>(buckets);
    return true;
}

}  // namespace ke::json
