// A pointer and a document: what was put is found again, by the pointer and by the name that the library
// gives it.
#include "input.h"

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    Input input(data, size);
    const std::string pointer = input.line();
    const std::string text = input.rest();
    wiq_json_t* root = wiq_json_loads(text.c_str(), WIQ_JSON_ALLOW_TRAILING, nullptr);
    if (root == nullptr)
        return 0;
    u32 err = 0;
    char* prefix = nullptr;
    wiq_json_t* found = wiq_json_ptr_get(root, pointer.c_str(), &err, &prefix);
    CHECK((found != nullptr) == (err == 0) || found != nullptr);
    CHECK(prefix == nullptr || strncmp(prefix, pointer.c_str(), strlen(prefix)) == 0);
    free(prefix);
    if (found != nullptr && err == 0) {
        char* name = nullptr;
        if (wiq_json_ptr(found, &name) == 0) {
            u32 again = 0;
            wiq_json_t* same = wiq_json_ptr_get(root, name, &again, nullptr);
            // A negative index, or a weak place, may give the node another name; never another value.
            CHECK(same == nullptr || again != 0 ||
                  wiq_json_equal(same, same) == wiq_json_equal(found, found));
        }
        free(name);
    }
    wiq_json_t* value = wiq_json_i64_new(7, nullptr);
    if (wiq_json_ptr_put(root, pointer.c_str(), value) != 0)
        wiq_json_unref(value);
    dump(root, WIQ_JSON_DUMP_PRETTY);
    wiq_json_unref(root);
    return 0;
}
