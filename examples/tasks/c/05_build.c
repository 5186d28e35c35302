#include <ke_utils.h>
#include <stdlib.h>

int main(void) {
    wiq_json_t* const report = wiq_json_obj_new(0, NULL);
    wiq_json_t* const drive = wiq_json_obj_put_obj(report, "drive", NULL);
    wiq_json_obj_put_i64(drive, "hours", 12, NULL);
    wiq_json_t* const temps = wiq_json_obj_put_array(drive, "temps", NULL);
    wiq_json_array_push_i64(temps, 38, NULL);
    wiq_json_array_push_i64(temps, 41, NULL);
    wiq_json_t* const read = wiq_json_obj_get_obj(report, "drive", NULL);
    wiq_json_t* const last =
        wiq_json_array_get_ext(wiq_json_obj_get_array(read, "temps", NULL), 1, 0, NULL);
    char* text = NULL;
    if (wiq_json_sdump(last, &text, 0) >= 0)
        printf("%s of %d\n", text, wiq_json_obj_size(read));
    free(text);
    wiq_json_unref(report);
    return 0;
}
