#include <ke_utils.h>
#include <stdlib.h>

static bool keep(wiq_json_t* element, void* user) {
    (void)user;
    return wiq_json_i64_get(element) <= 90;
}

int main(void) {
    static const int temps[] = {38, 91, 41, 95};
    wiq_json_t* const list = wiq_json_array_new(0, NULL);
    char* text = NULL;
    for (int i = 0; i < 4; ++i)
        wiq_json_array_push_i64(list, temps[i], NULL);
    if (wiq_json_array_filter(list, keep, NULL) == 0 && wiq_json_sdump(list, &text, 0) >= 0)
        printf("%s\n", text);
    free(text);
    wiq_json_unref(list);
    return 0;
}
