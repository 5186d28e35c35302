/* Settings of mixed types: tagged values that know what they hold, with strict conversions. */
#include <stdio.h>

#include "ke_utils.h"

static void show(const char* name, const wiq_mtype* value) {
    u32 number = 0;
    const i32 status = wiq_mtype_to_uint32(value, &number);
    if (wiq_mtype_is_utf8(value))
        printf("%-10s \"%s\"\n", name, wiq_mtype_get_utf8(value));
    else if (status == 0)
        printf("%-10s %u\n", name, (unsigned)number);
    else
        printf("%-10s no 32-bit number: status %d\n", name, (int)status);
}

int main(void) {
    wiq_mtype interval, label, capacity, copy;
    wiq_mtype_init(&interval);
    wiq_mtype_init(&label);
    wiq_mtype_init(&capacity);
    wiq_mtype_init(&copy);
    wiq_mtype_set_double(&interval, 300.0);
    wiq_mtype_set_utf8(&label, "boot drive", 1);
    wiq_mtype_set_uint64(&capacity, 12000138625024u);
    show("interval", &interval);
    show("label", &label);
    show("capacity", &capacity);
    if (wiq_mtype_copy(&label, &copy) == 0)
        printf("the copy is %s\n", wiq_mtype_equal(&label, &copy) ? "equal" : "different");
    wiq_mtype_finalize(&copy);
    wiq_mtype_finalize(&label);
    return 0;
}
