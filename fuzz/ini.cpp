// INI texts: every reported position is in the text, where the word is.
#include "input.h"

namespace {

struct Seen {
    std::string text;
    bool failed;
};

void check_place(const Seen& seen, const char* word, const WiqIniLocation* place) {
    CHECK(place->line >= 1 && place->column >= 1);
    size_t start = 0;
    for (u32 line = 1; line < place->line; ++line) {
        start = seen.text.find('\n', start);
        CHECK(start != std::string::npos);
        ++start;
    }
    const size_t at = start + place->column - 1;
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
        [](const char* name, const WiqIniLocation* name_place, const char* argument,
           const WiqIniLocation* argument_place, void* user) {
            check_place(*static_cast<Seen*>(user), name, name_place);
            if (argument != nullptr)
                check_place(*static_cast<Seen*>(user), argument, argument_place);
            return 0;
        },
        [](const char* key, const WiqIniLocation* key_place, const char* value,
           const WiqIniLocation* value_place, void* user) {
            check_place(*static_cast<Seen*>(user), key, key_place);
            check_place(*static_cast<Seen*>(user), value, value_place);
            return 0;
        },
        [](const WiqIniLocation* place, void* user) {
            static_cast<Seen*>(user)->failed = true;
            check_place(*static_cast<Seen*>(user), nullptr, place);
        },
        &seen);
    fclose(stream);
    CHECK(seen.failed == (status == WIQ_ERR_INI_SYNTAX));
    return 0;
}
