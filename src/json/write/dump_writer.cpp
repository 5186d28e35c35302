// Sorts the members of an object for the serializer.

#include "json/write/dump_writer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace ke::json {

namespace {

// Compares the bytes as unsigned values. No key contains a NUL.
bool has_lesser_key(const Member* a, const Member* b) {
    return strcmp(a->key(), b->key()) < 0;
}

}  // namespace

const Member** sorted_members(const ObjectNode* obj) {
    const size_t count = static_cast<size_t>(size_of(obj));
    auto** members = static_cast<const Member**>(malloc(count * sizeof(Member*)));
    if (members == nullptr)
        return nullptr;
    const Member** end = members;
    for (const Member* member = first_member(obj); member != nullptr;
         member = next_member(obj, member))
        *end++ = member;
#ifndef __clang_analyzer__  // the analyzer takes the list for uninitialised
    // Not qsort(): in some runtimes that takes quadratic time for certain orders, which a hostile
    // document could bring about.
    std::sort(members, end, has_lesser_key);
#endif
    return members;
}

}  // namespace ke::json
