// A string and a stream must be read with the same result: tree, status, line, column and position. A document
// that is written must be read back as an equal one, which must then be written as the same text.
#include "input.h"

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Input input(data, size);
    const i32 flags = input.byte() & 3;
    std::string text = input.rest();
    text.resize(strlen(text.c_str()));
    wiq_json_load_error from_string = {};
    wiq_json_load_error from_stream = {};
    wiq_json_t* a = wiq_json_loads(text.c_str(), flags, &from_string);
    FILE* stream = text.empty() ? fopen("/dev/null", "r") : fmemopen(text.data(), text.size(), "r");
    wiq_json_t* b = wiq_json_loadf(stream, flags, &from_stream);
    fclose(stream);
    CHECK((a == nullptr) == (b == nullptr));
    CHECK(from_string.status == from_stream.status);
    if (a == nullptr) {
        CHECK(from_string.line == from_stream.line);
        CHECK(from_string.column == from_stream.column);
        CHECK(from_string.position == from_stream.position);
        return 0;
    }
    const std::string once = dump(a, 0);
    CHECK(once == dump(b, 0));
    // A document with an invalid member, or with a number such as "inf", is written as text that cannot be
    // read.
    wiq_json_t* again = wiq_json_loads(once.c_str(), 0, nullptr);
    if (again != nullptr) {
        // Because of six decimals and a different insertion order, only the second text stays the same.
        const u32 sorted = WIQ_JSON_DUMP_SORT_KEYS;
        const std::string twice = dump(again, sorted);
        wiq_json_t* third = wiq_json_loads(twice.c_str(), 0, nullptr);
        CHECK(third != nullptr);
        CHECK(dump(third, sorted) == twice);
        CHECK(dump(again, sorted | WIQ_JSON_DUMP_PRETTY) ==
              dump(third, sorted | WIQ_JSON_DUMP_PRETTY));
        wiq_json_unref(third);
        wiq_json_unref(again);
    }
    wiq_json_unref(a);
    wiq_json_unref(b);
    return 0;
}
