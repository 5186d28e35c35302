// Expansion: a document that was expanded has no reference left, except possibly its root; one that could not
// be expanded is still a valid document.
#include "input.h"

namespace {

bool has_reference(wiq_json_t* node) {
    if (wiq_json_is_jref(node))
        return true;
    bool found = false;
    wiq_json_obj_foreach(
        node,
        [](const char*, wiq_json_t* child, void* user) {
            *static_cast<bool*>(user) = has_reference(child);
            return !*static_cast<bool*>(user);
        },
        &found);
    for (i32 i = 0; !found && i < wiq_json_array_size(node); ++i)
        found = has_reference(wiq_json_array_get_ext(node, i, 0, nullptr));
    return found;
}

}  // namespace

int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    // Copies of copies grow exponentially with the text, and nesting deeper than the stack is not tested
    // here.
    if (size > 400)
        return 0;
    Input input(data, size);
    wiq_json_t* root = wiq_json_loads(input.rest().c_str(), 0, nullptr);
    if (root == nullptr)
        return 0;
    const i32 status = wiq_json_jref_expand(root);
    CHECK(status <= 0);
    if (status == 0 && !wiq_json_is_jref(root))
        CHECK(!has_reference(root));
    dump(root, 0);
    wiq_json_unref(root);
    return 0;
}
