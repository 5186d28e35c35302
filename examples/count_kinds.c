/* A program's own visitor class: it counts the values of a document by kind, and leaves the walk to the
 * library's base class. Without arguments it reads the reports in this folder. */
#include <stdio.h>
#include <stdlib.h>

#include "ke_utils.h"

/* An instance begins with that of its parent. */
typedef struct CountVisitor {
    WiqJsonVisitor base;
    int strings, numbers, references, others;
} CountVisitor;

static CountVisitor* self_of(WiqJsonVisitor* visitor) {
    return (CountVisitor*)visitor;
}

static i32 count_string(WiqJsonVisitor* self, wiq_json_t* node, const char* text) {
    (void)node, (void)text;
    self_of(self)->strings++;
    return 0;
}

static i32 count_i64(WiqJsonVisitor* self, wiq_json_t* node, i64 value) {
    (void)node, (void)value;
    self_of(self)->numbers++;
    return 0;
}

static i32 count_u128(WiqJsonVisitor* self, wiq_json_t* node, const wiq_uint128* value) {
    (void)node, (void)value;
    self_of(self)->numbers++;
    return 0;
}

static i32 count_double(WiqJsonVisitor* self, wiq_json_t* node, double value) {
    (void)node, (void)value;
    self_of(self)->numbers++;
    return 0;
}

static i32 count_ref(WiqJsonVisitor* self, wiq_json_t* node, const char* uri) {
    (void)node, (void)uri;
    self_of(self)->references++;
    return 0;
}

static i32 count_bool(WiqJsonVisitor* self, wiq_json_t* node, bool value) {
    (void)node, (void)value;
    self_of(self)->others++;
    return 0;
}

static i32 count_null(WiqJsonVisitor* self, wiq_json_t* node) {
    (void)node;
    self_of(self)->others++;
    return 0;
}

/* Runs once, when the first visitor is made; the record already contains the parent's slots. */
static i32 count_class_init(WiqClass* klass) {
    WiqJsonVisitorClass* slots = (WiqJsonVisitorClass*)klass;
    slots->visit_string = count_string;
    slots->visit_i64 = count_i64;
    slots->visit_u128 = count_u128;
    slots->visit_double = count_double;
    slots->visit_ref = count_ref;
    slots->visit_bool = count_bool;
    slots->visit_null = count_null;
    return 0;
}

static WiqType count_type = {
    .name = "CountVisitor",
    .instance_size = sizeof(CountVisitor),
    .class_init = count_class_init,
};

static i32 count(const char* name) {
    void* text = NULL;
    i32 status = wiq_load_file(name, &text, 1);
    if (status < 0)
        return status;
    wiq_json_load_error err;
    wiq_json_t* report = wiq_json_loads(text, 0, &err);
    free(text);
    WiqObject* object = report == NULL ? NULL : object_new(&count_type);
    status = report == NULL ? err.status : WIQ_ERR_NO_MEMORY;
    if (object != NULL) {
        CountVisitor* visitor = (CountVisitor*)object;
        const WiqJsonVisitorClass* slots = (const WiqJsonVisitorClass*)object_get_class(object);
        status = slots->visit(&visitor->base, report);
        printf("%s: %d strings, %d numbers, %d references, %d others\n", name, visitor->strings,
               visitor->numbers, visitor->references, visitor->others);
        object_unref(object);
    }
    wiq_json_unref(report);
    return status;
}

int main(int argc, char** argv) {
    static const char* const own[] = {"reports/nvme.json", "reports/sata.json"};
    i32 status = type_init(&count_type, &WiqJsonVisitorType);
    for (int i = 0; status == 0 && argc == 1 && i < 2; ++i)
        status = count(own[i]);
    for (int i = 1; status == 0 && i < argc; ++i)
        status = count(argv[i]);
    if (status != 0)
        fprintf(stderr, "count_kinds: status %d\n", (int)status);
    return status != 0;
}
