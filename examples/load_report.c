/*
 * Reads drive reports with wiq_json_loadf() and prints their contents: fields through typed getters that
 * share one status, counters of 128 bits, values behind "$ref" references, and a base64 log.
 *
 *   load_report [FILE...]          without arguments: the reports in this folder
 */
#include <inttypes.h>
#include <ke_utils.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int print_load_error(const char* name, const wiq_json_load_error* err) {
    fprintf(stderr, "%s:%d:%d: status %d\n", name, (int)err->line, (int)err->column,
            (int)err->status);
    return 1;
}

/* Prints a counter of up to 128 bits if the report has it; not every drive counts everything. */
static void print_counter(const wiq_json_t* health, const char* key) {
    u32 err = 0;
    wiq_uint128 value;
    char digits[40];
    wiq_json_obj_get_u128(&value, health, key, &err);
    if (err == 0 && wiq_uint128_to_str(value, 10, digits, sizeof digits) > 0)
        printf("  %-22s %s\n", key, digits);
}

/* Each namespace's format is a reference into the report; the getter follows it. */
static void print_namespaces(const wiq_json_t* report, u32* err) {
    const wiq_json_t* namespaces = wiq_json_obj_get_array(report, "Namespaces", err);
    for (i32 i = 0; i < wiq_json_array_size(namespaces); ++i) {
        const wiq_json_t* item = wiq_json_array_get_ext(namespaces, i, 0, err);
        const wiq_json_t* format = wiq_json_obj_get_obj(item, "Format", err);
        u64 blocks = wiq_json_obj_get_u64(item, "Blocks", err);
        u64 bytes = wiq_json_obj_get_u64(format, "DataBytes", err);
        const char* name = wiq_json_obj_get_str(format, "Name", err);
        if (*err == 0)
            printf("  namespace %" PRId64 "            %" PRIu64 " GB, %s\n",
                   wiq_json_obj_get_i64(item, "Id", err), blocks * bytes / 1000000000, name);
    }
}

static i32 print_line(void* user, u64 offset, const char* hex, const char* ascii) {
    (void)user;
    printf("  %04" PRIx64 "  %s  %s\n", offset, hex, ascii);
    return 0;
}

static void print_log(const wiq_json_t* report, u32* err) {
    const char* text =
        wiq_json_obj_get_str(wiq_json_obj_get_obj(report, "VendorLog", err), "Data", err);
    if (text == NULL)
        return;
    size_t length = wiq_base64_decode_len(text, strlen(text));
    u8* bytes = (u8*)malloc(length + 1);
    size_t room = length + 1;
    if (bytes != NULL && wiq_base64_decode(text, strlen(text), bytes, &room) == 0)
        wiq_memdump_ex(bytes, room, 16, 1, 8, 1, true, true, print_line, NULL);
    free(bytes);
}

/* The getters share one status: after the first failure the others do nothing, so testing it once is enough. */
static int print_report(const wiq_json_t* report) {
    u32 err = 0;
    const wiq_json_t* controller = wiq_json_obj_get_obj(report, "Controller", &err);
    const wiq_json_t* health = wiq_json_obj_get_obj(report, "Health", &err);
    const char* model = wiq_json_obj_get_str(controller, "Model", &err);
    const char* serial = wiq_json_obj_get_str(controller, "SerialNumber", &err);
    i64 temperature = wiq_json_obj_get_i64(health, "TemperatureCelsius", &err);
    if (err == 0) {
        printf("%s, serial number %s, %" PRId64 " degrees\n", model, serial, temperature);
        print_namespaces(report, &err);
        print_counter(health, "PowerOnHours");
        print_counter(health, "DataUnitsRead");
        print_counter(health, "DataUnitsWritten");
        print_log(report, &err);
    }
    if (err != 0)
        fprintf(stderr, "load_report: the report lacks a field: status %d\n", (int)err);
    return err == 0 ? 0 : 1;
}

static int load_report(const char* name) {
    FILE* file = fopen(name, "rb");
    if (file == NULL) {
        fprintf(stderr, "load_report: cannot open %s\n", name);
        return 1;
    }
    wiq_json_load_error err;
    wiq_json_t* report = wiq_json_loadf(file, WIQ_JSON_REJECT_DUPLICATES, &err);
    fclose(file);
    if (report == NULL)
        return print_load_error(name, &err);
    int result = print_report(report);
    wiq_json_unref(report);
    return result;
}

int main(int argc, char** argv) {
    static const char* const own[] = {"reports/nvme.json", "reports/sata.json"};
    int result = 0;
    if (argc == 1) {
        for (size_t i = 0; i < sizeof own / sizeof own[0]; ++i)
            result |= load_report(own[i]);
    }
    for (int i = 1; i < argc; ++i)
        result |= load_report(argv[i]);
    return result;
}
