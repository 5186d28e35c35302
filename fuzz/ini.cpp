// INI texts: every reported position is within the text and is where the reported word starts.
#include "input.h"

namespace {

struct Seen {
    std::string text;
    bool failed;
};

void check_location(const Seen& seen, const char* word, const WiqIniLocation* location) {
    CHECK(location->line >= 1 && location->column >= 1);
    size_t start = 0;
    for (u32 line = 1; line < location->line; ++line) {
        start = seen.text.find('\n', start);
        CHECK(start != std::string::npos);
        ++start;
    }
    const size_t at = start + location->column - 1;
    CHECK(at <= seen.text.size());
    CHECK(word == nullptr || strlen(word) <= seen.text.size() - at);
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Input input(data, size);
    Seen seen = {input.rest(), false};
    FILE* stream = seen.text.empty() ? fopen("/dev/null", "r")
                                     : fmemopen(seen.text.data(), seen.text.size(), "r");
    const i32 status = wiq_ini_parse(
        stream,
        [](const char* name, const WiqIniLocation* name_location, const char* argument,
           const WiqIniLocation* argument_location, void* user) {
            check_location(*static_cast<Seen*>(user), name, name_location);
            if (argument != nullptr)
                check_location(*static_cast<Seen*>(user), argument, argument_location);
            return 0;
        },
        [](const char* key, const WiqIniLocation* key_location, const char* value,
           const WiqIniLocation* value_location, void* user) {
            check_location(*static_cast<Seen*>(user), key, key_location);
            check_location(*static_cast<Seen*>(user), value, value_location);
            return 0;
        },
        [](const WiqIniLocation* location, void* user) {
            static_cast<Seen*>(user)->failed = true;
            check_location(*static_cast<Seen*>(user), nullptr, location);
        },
        &seen);
    fclose(stream);
    CHECK(seen.failed == (status == WIQ_ERR_INI_SYNTAX));
    return 0;
}
