#include <ke_utils.h>
#include <stdlib.h>

static bool merge(const char* key, wiq_json_t* value, void* user) {
    wiq_json_t* const target = user;
    if (wiq_json_is_null(value)) {
        wiq_json_obj_remove(target, key);
    } else if (wiq_json_is_obj(value)) {
        wiq_json_t* inner = wiq_json_obj_get_obj(target, key, NULL);
        if (inner == NULL)
            inner = wiq_json_obj_put_obj(target, key, NULL);
        wiq_json_obj_foreach(value, merge, inner);
    } else {
        wiq_json_obj_put_ext(target, key, wiq_json_copy(value, NULL), NULL);
    }
    return true;
}

int main(void) {
    wiq_json_t* const drive = wiq_json_obj_new(0, NULL);
    wiq_json_obj_put_i64(drive, "hours", 12, NULL);
    wiq_json_obj_put_str(drive, "label", "lab", NULL);
    wiq_json_t* const patch = wiq_json_obj_new(0, NULL);
    wiq_json_obj_put_i64(patch, "hours", 13, NULL);
    wiq_json_obj_put_null(patch, "label", NULL);
    wiq_json_obj_foreach(patch, merge, drive);
    char* text = NULL;
    if (wiq_json_sdump(drive, &text, 0) >= 0)
        printf("%s\n", text);
    free(text);
    wiq_json_unref(patch);
    wiq_json_unref(drive);
    return 0;
}
