#include <ke_utils.h>
#include <stdlib.h>

int main(void) {
    wiq_json_t* const drive = wiq_json_obj_new(0, NULL);
    u32 err = 0;
    char* text = NULL;
    wiq_json_obj_put_i64(drive, "hours", 12, &err);
    wiq_json_obj_put_i64(drive, "hours", wiq_json_obj_get_i64(drive, "hours", &err) + 1, &err);
    if (err == 0 && wiq_json_sdump(drive, &text, 0) >= 0)
        printf("%s\n", text);
    free(text);
    wiq_json_unref(drive);
    return 0;
}
