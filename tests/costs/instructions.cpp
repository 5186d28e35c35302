// Performs operations on whole documents, each between two marks, so that callgrind counts the instructions
// of each. instructions.py compares the counts with the recorded ones.
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>

#include "ke_utils.h"
#include "support/corpora.h"

namespace {

void check(bool ok, const char* what) {
    if (ok)
        return;
    fprintf(stderr, "instructions: %s failed\n", what);
    exit(1);
}

// Counts the instructions of `run`, under a name.
template <class Run>
void count(const char* operation, const Corpus& corpus, Run run) {
    const std::string name = operation + (" " + corpus.name);
    CALLGRIND_ZERO_STATS;
    CALLGRIND_TOGGLE_COLLECT;
    run();
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(name.c_str());
}

void measure(const Corpus& corpus) {
    wiq_json_t* root = nullptr;
    wiq_json_t* copy = nullptr;
    char* text = nullptr;
    count("parse", corpus, [&] { root = wiq_json_loads(corpus.text.c_str(), 0, nullptr); });
    check(root != nullptr, "parsing");
    FILE* stream = fmemopen(const_cast<char*>(corpus.text.data()), corpus.text.size(), "r");
    check(stream != nullptr, "opening");
    wiq_json_t* loaded = nullptr;
    count("parse stream", corpus, [&] { loaded = wiq_json_loadf(stream, 0, nullptr); });
    check(loaded != nullptr, "parsing a stream");
    wiq_json_unref(loaded);
    fclose(stream);
    count("dump", corpus, [&] { check(wiq_json_sdump(root, &text, 0) > 0, "dumping"); });
    free(text);
    count("pretty", corpus,
          [&] { check(wiq_json_sdump(root, &text, WIQ_JSON_DUMP_PRETTY) > 0, "dumping"); });
    free(text);
    count("copy", corpus, [&] { copy = wiq_json_copy(root, nullptr); });
    check(copy != nullptr, "copying");
    count("equal", corpus, [&] { check(wiq_json_equal(root, copy), "comparing"); });
    count("release", corpus, [&] { wiq_json_unref(copy); });
    // A document that has been changed is released node by node.
    wiq_json_t* value = wiq_json_null_new(nullptr);
    if (wiq_json_is_array(root))
        check(wiq_json_array_put(root, 0, value) == 0, "changing");
    else
        check(wiq_json_obj_put_ext(root, "new", value, nullptr) == 0, "changing");
    count("release changed", corpus, [&] { wiq_json_unref(root); });
}

}  // namespace

int main() {
    // The first calls build classes and make the linker resolve symbols; that must not be counted.
    measure({"first", "[1,2.5,\"text\",{\"a\":null,\"b\":[true]}]"});
    for (const Corpus& corpus : corpora())
        measure(corpus);
    return 0;
}
