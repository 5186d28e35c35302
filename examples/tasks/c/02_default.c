#include <ke_utils.h>

static int number_at(wiq_json_t* root, const char* where, int otherwise) {
    u32 err = 0;
    wiq_json_t* const found = wiq_json_ptr_get(root, where, &err, NULL);
    return wiq_json_is_int(found) ? (int)wiq_json_i64_get(found) : otherwise;
}

int main(void) {
    wiq_json_t* const report = wiq_json_obj_new(0, NULL);
    wiq_json_obj_put_i64(wiq_json_obj_put_obj(report, "drive", NULL), "hours", 12, NULL);
    printf("%d %d\n", number_at(report, "/drive/hours", 0), number_at(report, "/drive/writes", 7));
    wiq_json_unref(report);
    return 0;
}
