#include <ke_utils.h>
#include <stdlib.h>

static bool show(const char* key, wiq_json_t* value, void* user) {
    char* text = NULL;
    (void)user;
    if (wiq_json_sdump(value, &text, 0) >= 0)
        printf("%s=%s\n", key, text);
    free(text);
    return true;
}

int main(void) {
    wiq_json_t* const drive = wiq_json_obj_new(0, NULL);
    wiq_json_obj_put_i64(drive, "hours", 12, NULL);
    wiq_json_obj_foreach(drive, show, NULL);
    wiq_json_unref(drive);
    return 0;
}
