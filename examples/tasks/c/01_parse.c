#include <ke_utils.h>

int main(void) {
    wiq_json_load_error error;
    wiq_json_t* const report = wiq_json_loads("{\"drive\": {\n  \"hours\": 12x}}", 0, &error);
    if (report == NULL)
        printf("line %d\n", error.line);
    wiq_json_unref(report);
    return 0;
}
