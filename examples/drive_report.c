/*
 * Builds a drive's report in memory, reads values from it, edits it and prints it: the document model
 * without any text to parse. One status variable serves a whole series of calls, since each of them
 * does nothing once an earlier one has failed.
 */
#include <inttypes.h>
#include <ke_utils.h>
#include <stdio.h>
#include <stdlib.h>

/* Appends one self-test to a log; failures show in *err. */
static void add_self_test(wiq_json_t* log, const char* kind, u64 hours, bool passed, u32* err) {
    wiq_json_t* entry = wiq_json_array_push_obj(log, err);
    wiq_json_obj_put_str(entry, "kind", kind, err);
    wiq_json_obj_put_u64(entry, "hours", hours, err);
    wiq_json_obj_put_bool(entry, "passed", passed, err);
}

static wiq_json_t* build(u32* err) {
    /* 2^64 + 512 bytes: one more sector than a 64-bit counter holds. */
    const wiq_uint128 written = {512, 1};
    wiq_json_t* report = wiq_json_obj_new(8, err);
    wiq_json_obj_put_str(report, "model_name", "KE-9000 4TB", err);
    wiq_json_obj_put_str(report, "serial_number", "S0123456789", err);
    wiq_json_obj_put_u64(report, "power_on_hours", 21340, err);
    wiq_json_obj_put_double(report, "firmware", 2.5, err);

    wiq_json_t* health = wiq_json_obj_put_obj(report, "health", err);
    wiq_json_obj_put_i64(health, "temperature", 38, err);
    wiq_json_obj_put_u128(health, "bytes_written", &written, err);
    /* The same counter under its old name, for readers that still use it. */
    wiq_json_obj_put_jref(report, "total_written", "#/health/bytes_written", err);

    wiq_json_t* log = wiq_json_obj_put_array(report, "self_tests", err);
    add_self_test(log, "short", 120, true, err);
    add_self_test(log, "extended", 9001, false, err);
    add_self_test(log, "short", 21000, true, err);
    return report;
}

static bool has_passed(wiq_json_t* test, void* user) {
    (void)user;
    return wiq_json_obj_get_bool(test, "passed", NULL);
}

/* Prints what a tool would show from the report. */
static void ask(const wiq_json_t* report, u32* err) {
    wiq_uint128 written;
    char digits[40];
    wiq_json_obj_get_u128(&written, report, "total_written", err);
    wiq_uint128_to_str(written, 10, digits, sizeof digits);
    const char* model = wiq_json_obj_get_str(report, "model_name", err);
    u64 hours = wiq_json_obj_get_u64(report, "power_on_hours", err);
    if (*err == 0) {
        printf("%s: %" PRIu64 " hours, %s bytes written\n", model, hours, digits);
    }

    /* A value of the wrong kind has its own status. */
    u32 kind_err = 0;
    wiq_json_obj_get_i64(report, "firmware", &kind_err);
    printf("firmware as an integer: status %d\n", (int)(i32)kind_err);
}

/* Drops the failed tests, moves the serial number, and stamps the report. */
static void edit(wiq_json_t* report, u32* err) {
    wiq_json_t* log = wiq_json_obj_get_array(report, "self_tests", err);
    if (*err == 0) {
        *err = (u32)wiq_json_array_filter(log, has_passed, NULL);
    }
    wiq_json_t* serial = wiq_json_obj_get_ext(report, "serial_number", 0, err);
    wiq_json_make_orphan_ex(serial, err);
    if (*err == 0) {
        printf("for the archive: %s\n", wiq_json_str_get(serial));
        wiq_json_unref(serial);
    }
    wiq_json_t* tool = wiq_json_obj_getd_obj(report, "tool", err);
    wiq_json_obj_put_str(tool, "name", "drive_report", err);
}

int main(void) {
    u32 err = 0;
    wiq_json_t* report = build(&err);
    wiq_json_t* before = wiq_json_copy(report, &err);
    if (err == 0) {
        ask(report, &err);
        edit(report, &err);
        printf("edited report is %s the old one\n",
               wiq_json_equal(report, before) ? "equal to" : "different from");
    }

    char* text = NULL;
    if (err == 0 &&
        wiq_json_sdump(report, &text, WIQ_JSON_DUMP_SORT_KEYS | WIQ_JSON_DUMP_PRETTY) >= 0) {
        puts(text);
        free(text);
    }
    wiq_json_unref(before);
    wiq_json_unref(report);
    if (err != 0) {
        fprintf(stderr, "drive_report: status %d\n", (int)(i32)err);
        return 1;
    }
    return 0;
}
