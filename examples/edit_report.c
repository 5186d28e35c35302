/* Loads a drive report, reads it with getters and pointers, expands its references, edits it and writes it
 * back to a file: the library's main job in one program. */
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

#include "ke_utils.h"

static wiq_json_t* load(const char* name) {
    FILE* file = wiq_fopen(name, "rb", NULL);
    if (file == NULL)
        return NULL;
    wiq_json_load_error err;
    wiq_json_t* report = wiq_json_loadf(file, 0, &err);
    fclose(file);
    if (report == NULL)
        fprintf(stderr, "%s:%d:%d: status %d\n", name, (int)err.line, (int)err.column,
                (int)err.status);
    return report;
}

/* One status serves the whole series and is tested once. */
static i32 edit(wiq_json_t* report) {
    u32 err = 0;
    wiq_json_t* controller = wiq_json_obj_get_obj(report, "Controller", &err);
    const char* model = wiq_json_obj_get_str(controller, "Model", &err);
    wiq_json_t* health = wiq_json_obj_get_obj(report, "Health", &err);
    wiq_uint128 hours = {0, 0};
    wiq_json_obj_get_u128(&hours, health, "PowerOnHours", &err);
    if (err != 0)
        return (i32)err;
    printf("%s has run for %" PRIu64 " hours\n", model, hours.lo);

    wiq_json_t* by_pointer = wiq_json_ptr_get(report, "/Health/PowerOnHours", &err, NULL);
    if (by_pointer == NULL)
        return (i32)err;
    printf("the same by pointer: %" PRIu64 "\n", wiq_json_u64_get(by_pointer));

    i32 status = wiq_json_jref_expand(report);
    if (status != 0)
        return status;
    /* These set the status without reading it first, so the second is called only if the first succeeded. */
    if (wiq_json_ptr_put_str(report, "/Notes/-", "checked by edit_report", &err) != NULL)
        wiq_json_ptr_put_u64(report, "/Checks/PowerOnHours", hours.lo, &err);
    return (i32)err;
}

static i32 write_back(wiq_json_t* report, const char* name) {
    u32 err = 0;
    FILE* file = wiq_fopen(name, "wb", &err);
    if (file == NULL)
        return (i32)err;
    i32 written = wiq_json_fdump(report, file, WIQ_JSON_DUMP_PRETTY, 0);
    if (fclose(file) != 0 && written >= 0)
        written = WIQ_ERR_IO;
    if (written >= 0)
        printf("%d bytes written to %s\n", (int)written, name);
    return written < 0 ? written : 0;
}

int main(int argc, char** argv) {
    const char* name = argc > 1 ? argv[1] : "reports/nvme.json";
    const char* edited = argc > 2 ? argv[2] : "edited_report.json";
    wiq_json_t* report = load(name);
    if (report == NULL)
        return 1;
    i32 status = edit(report);
    if (status == 0)
        status = write_back(report, edited);
    wiq_json_unref(report);
    if (argc < 3)
        wiq_unlink(edited); /* only shown */
    if (status != 0)
        fprintf(stderr, "edit_report: status %d\n", (int)status);
    return status != 0;
}
