/* Arguments that Microsoft's runtime considers invalid: without a handler, the process would end with 0xC0000417.
   The DLL returns a status for each. */
#include <ke_utils.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "check.h"

static void modes(void) {
    static const char* const kBad[] = {"q", "", "rw+q", "w,ccs=NOPE", "rr"};
    size_t i;
    for (i = 0; i < sizeof kBad / sizeof kBad[0]; ++i) {
        u32 err = 0;
        char name[] = "bad_XXXXXX";
        FILE* fp = wiq_fopen("bad_arguments.tmp", kBad[i], &err);
        fprintf(stdout, "mode \"%s\": %d\n", kBad[i], (int)err);
        CHECK((fp == NULL) == (err != 0));
        if (fp != NULL)
            fclose(fp);
        remove("bad_arguments.tmp");
        fp = wiq_mkstemp(name, &err, kBad[i]);
        CHECK((fp == NULL) == (err != 0));
        if (fp != NULL) {
            fclose(fp);
            remove(name);
        }
    }
    {
        u32 err = 0;
        CHECK(wiq_fopen("bad_arguments.tmp", "q", &err) == NULL && err == (u32)-3);
        CHECK(wiq_fopen("bad_arguments.tmp", "", &err) == NULL && err == (u32)-3);
    }
}

/* Takes a variable, so that the compiler does not warn about formats that are wrong on purpose. */
static void refused(const char* format) {
    char buf[64];
    char* text = NULL;
    char* block = NULL;
    u64 size = 0;
    int written = 0;
    CHECK(wiq_asprintf(&text, format, &written, 2, 3) == -7);
    CHECK(wiq_rasprintf(&block, &size, format, &written, 2, 3) == -7);
    CHECK(wiq_rapsprintf(&block, &size, format, &written, 2, 3) == -7);
    CHECK(wiq_snprintf(buf, sizeof buf, format, &written, 2, 3) < 0);
    CHECK(written == 0);
    free(text);
    free(block);
}

static void unknown(const char* format) {
    char buf[64];
    char* text = NULL;
    /* The runtime decides on the result; the library must see to it that there is one. */
    const i32 status = wiq_asprintf(&text, format, 1, 2, 3);
    CHECK(status >= 0 || status == -7);
    CHECK((status >= 0) == (text != NULL));
    CHECK(wiq_snprintf(buf, sizeof buf, format, 1, 2, 3) < (i32)sizeof buf);
    free(text);
}

static void rest(void) {
    void* block = NULL;
    struct tm day;
    i64 late = 0x7fffffffffffffff;
    char name[] = "no placeholders";
    u32 err = 0;
    CHECK(wiq_real_aligned_alloc(&block, 8, 3) != 0 && block == NULL);
    CHECK(wiq_access("bad_arguments.tmp", 1) != 0);
    CHECK(wiq_access("bad_arguments.tmp", 77) != 0);
    CHECK(wiq_gmtime_real(&late, &day) != 0);
    CHECK(wiq_mkstemp(name, &err, "w") == NULL && err == (u32)-7000);
    CHECK(wiq_rename("bad|name", "also<bad") != 0);
}

int main(void) {
    modes();
    refused("ab%n");
    refused("%1$d %3$d");
    unknown("%y");
    unknown("abc%");
    unknown("%l");
    unknown("%1$y");
    rest();
    return check_failures("bad_arguments");
}
