// Path texts: the functions that cut and join, on anything.
#include "input.h"

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Input input(data, size);
    std::string first = input.line();
    const std::string second = input.rest();
    const char* base = wiq_basename(first.c_str());
    CHECK(base >= first.c_str() && base <= first.c_str() + strlen(first.c_str()));
    CHECK(strpbrk(base, "\\/") == nullptr);
    CHECK(wiq_filename_only(base) || *base == '\0' || strchr(base, ':') != nullptr);
    wiq_is_abs_path(first.c_str());
    char* joined = wiq_build_path(first.c_str(), second.c_str());
    CHECK(joined != nullptr);
    CHECK(strlen(joined) <= strlen(first.c_str()) + strlen(second.c_str()) + 1);
    wiq_trim_dirsep(joined);
    char* head = wiq_dirname(joined);
    CHECK(head == joined);
    free(joined);
    wiq_strbuf buf;
    wiq_strbuf_init(&buf, 0);
    CHECK(wiq_append_paths(&buf, 2, first.c_str(), second.c_str()) >= 0);
    wiq_strbuf_finalize(&buf);
    u32 err = 0;
    wchar_t* wide = widen(first.c_str(), &err);
    if (wide != nullptr) {
        char* again = narrow(wide, &err);
        free(again);
    }
    free(wide);
    return 0;
}
