#include <ke_utils.h>

struct drive {
    char name[16];
    int hours;
};

int main(void) {
    const struct drive from = {"sda", 12};
    struct drive read = {"", 0};
    u32 err = 0;
    wiq_json_t* const made = wiq_json_obj_new(0, &err);
    wiq_json_obj_put_str(made, "name", from.name, &err);
    wiq_json_obj_put_i64(made, "hours", from.hours, &err);
    const char* const name = wiq_json_obj_get_str(made, "name", &err);
    read.hours = (int)wiq_json_obj_get_i64(made, "hours", &err);
    if (err == 0)
        snprintf(read.name, sizeof read.name, "%s", name);
    printf("%s %d\n", read.name, read.hours);
    wiq_json_unref(made);
    return 0;
}
