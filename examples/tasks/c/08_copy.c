#include <ke_utils.h>
#include <stdlib.h>

int main(void) {
    wiq_json_t* const report = wiq_json_obj_new(0, NULL);
    wiq_json_t* const temps =
        wiq_json_obj_put_array(wiq_json_obj_put_obj(report, "drive", NULL), "temps", NULL);
    wiq_json_array_push_i64(temps, 38, NULL);
    wiq_json_array_push_i64(temps, 41, NULL);
    wiq_json_t* const summary = wiq_json_obj_new(0, NULL);
    wiq_json_t* const copy = wiq_json_copy(
        wiq_json_obj_get_array(wiq_json_obj_get_obj(report, "drive", NULL), "temps", NULL), NULL);
    char* text = NULL;
    if (copy != NULL && wiq_json_obj_put_ext(summary, "temps", copy, NULL) != 0)
        wiq_json_unref(copy);
    else if (wiq_json_sdump(summary, &text, 0) >= 0)
        printf("%s\n", text);
    free(text);
    wiq_json_unref(summary);
    wiq_json_unref(report);
    return 0;
}
