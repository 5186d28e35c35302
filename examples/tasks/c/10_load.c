#include <ke_utils.h>
#include <ke_utils/utf8.h>
#include <stdlib.h>

int main(void) {
    void* text = NULL;
    wiq_json_load_error error;
    wiq_json_t* report = NULL;
    const i32 size = wiq_load_file("tasks_saved.json", &text, 1);
    if (size > 0)
        report = ke_json_loads_utf8(text, (size_t)size, 0, &error);
    printf("%d\n", report != NULL ? (int)wiq_json_obj_get_i64(report, "hours", NULL) : -1);
    free(text);
    wiq_json_unref(report);
    return 0;
}
