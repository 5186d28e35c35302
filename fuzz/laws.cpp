// The laws of copies, equality and subsets.
#include <cctype>

#include "input.h"

namespace {

// Returns whether a document may have a double beyond 2^53, that is, of at least 16 digits before its point.
bool has_large_double(wiq_json_t* node) {
    size_t digits = 0;
    for (const char c : dump(node, 0)) {
        if (c == '.' && digits >= 16)
            return true;
        digits = isdigit(static_cast<u8>(c)) != 0 ? digits + 1 : 0;
    }
    return false;
}

// NaN is not equal to anything, but no text produces NaN, so a parsed value equals itself.
void check_pair(wiq_json_t* a, wiq_json_t* b) {
    CHECK(wiq_json_equal(a, b) == wiq_json_subset(a, b, 15));
    CHECK(wiq_json_equal(a, b) == wiq_json_equal(b, a) || has_large_double(a) ||
          has_large_double(b));
    for (u32 flags = 0; flags < 16; ++flags) {
        // With more conditions there are fewer subsets.
        if (wiq_json_subset(a, b, 15))
            CHECK(wiq_json_subset(a, b, flags));
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    if (size > 1000)
        return 0;
    Input input(data, size);
    const std::string first = input.line();
    wiq_json_t* a = wiq_json_loads(first.c_str(), 0, nullptr);
    wiq_json_t* b = wiq_json_loads(input.rest().c_str(), 0, nullptr);
    if (a != nullptr) {
        wiq_json_t* copy = wiq_json_copy(a, nullptr);
        CHECK(copy != nullptr);
        CHECK(wiq_json_equal(a, copy));
        const u32 sorted = WIQ_JSON_DUMP_SORT_KEYS;
        CHECK(dump(a, sorted) == dump(copy, sorted));
        for (u32 flags = 0; flags < 16; ++flags)
            CHECK(wiq_json_subset(a, copy, flags));
        wiq_json_unref(copy);
    }
    if (a != nullptr && b != nullptr)
        check_pair(a, b);
    wiq_json_unref(a);
    wiq_json_unref(b);
    return 0;
}
