/* A visitor that changes what it walks: it replaces every string under a key that contains "serial" by
 * asterisks, so that the report can be shared. It overrides one slot and calls its parent's for the rest. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "ke_utils.h"

static bool is_serial(const char* key) {
    char lower[64];
    size_t length = 0;
    for (; key[length] != '\0' && length + 1 < sizeof lower; ++length)
        lower[length] =
            (char)(key[length] >= 'A' && key[length] <= 'Z' ? key[length] + 32 : key[length]);
    lower[length] = '\0';
    return strstr(lower, "serial") != NULL;
}

static i32 redact_member(WiqJsonVisitor* self, wiq_json_t* obj, const char* key, wiq_json_t* value,
                         bool first) {
    if (is_serial(key) && wiq_json_is_str(value)) {
        u32 err = 0;
        wiq_json_t* stars = wiq_json_str_new("********", &err);
        i32 status = stars == NULL ? (i32)err : wiq_json_swap_child(value, stars);
        /* We own the old value now. */
        wiq_json_unref(status == 0 ? value : stars);
        return status;
    }
    const WiqJsonVisitorClass* parent =
        (const WiqJsonVisitorClass*)object_get_super_class(&self->object, &WiqJsonVisitorType);
    return parent->object_member(self, obj, key, value, first);
}

static i32 redact_class_init(WiqClass* klass) {
    ((WiqJsonVisitorClass*)klass)->object_member = redact_member;
    return 0;
}

static WiqType redact_type = {
    .name = "RedactVisitor",
    .class_init = redact_class_init,
};

static i32 redact(wiq_json_t* report) {
    WiqObject* visitor = object_new(&redact_type);
    if (visitor == NULL)
        return WIQ_ERR_NO_MEMORY;
    const WiqJsonVisitorClass* slots = (const WiqJsonVisitorClass*)object_get_class(visitor);
    i32 status = slots->visit((WiqJsonVisitor*)visitor, report);
    object_unref(visitor);
    return status;
}

int main(int argc, char** argv) {
    const char* name = argc > 1 ? argv[1] : "reports/sata.json";
    FILE* file = wiq_fopen(name, "rb", NULL);
    if (file == NULL) {
        fprintf(stderr, "redact_serials: cannot open %s\n", name);
        return 1;
    }
    wiq_json_load_error err;
    wiq_json_t* report = wiq_json_loadf(file, 0, &err);
    fclose(file);
    i32 status = report == NULL ? err.status : type_init(&redact_type, &WiqJsonVisitorType);
    if (status == 0)
        status = redact(report);
    if (status == 0)
        status = wiq_json_fdump(report, stdout, WIQ_JSON_DUMP_PRETTY | WIQ_JSON_DUMP_SORT_KEYS, 0);
    printf("\n");
    wiq_json_unref(report);
    if (status < 0)
        fprintf(stderr, "redact_serials: status %d\n", (int)status);
    return status < 0;
}
