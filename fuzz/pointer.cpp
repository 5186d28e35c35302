// A pointer and a document: a value that was stored is found again, by the pointer and by the library's own
// pointer to it.
#include "input.h"

namespace {

// The library's own pointer to a node leads to that node, unless it has an empty step, which would end the
// pointer.
void check_name(wiq_json_t* root, wiq_json_t* node) {
    char* name = nullptr;
    if (wiq_json_ptr(node, &name) < 0)
        return;
    const std::string text = name;
    free(name);
    if (text.find("//") == std::string::npos && (text.empty() || text.back() != '/'))
        CHECK(wiq_json_ptr_get(root, text.c_str(), nullptr, nullptr) == node);
}

}  // namespace

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
    CHECK(found != nullptr || err != 0);
    CHECK(prefix == nullptr || strncmp(prefix, pointer.c_str(), strlen(prefix)) == 0);
    free(prefix);
    if (found != nullptr && err == 0)
        check_name(root, found);
    wiq_json_t* value = wiq_json_i64_new(7, nullptr);
    if (wiq_json_ptr_put(root, pointer.c_str(), value) != 0) {
        CHECK(wiq_json_parent_key(value) == nullptr && wiq_json_parent_index(value) < 0);
        wiq_json_unref(value);
    } else if (wiq_json_parent_key(value) != nullptr || wiq_json_parent_index(value) >= 0) {
        // A step such as 18446744073709551615 is the index -1; the value records that index and has no
        // pointer then.
        check_name(root, value);
    }
    dump(root, WIQ_JSON_DUMP_PRETTY);
    wiq_json_unref(root);
    return 0;
}
