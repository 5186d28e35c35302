#include <ke_utils.h>

int main(void) {
    wiq_json_t* const list = wiq_json_array_new(0, NULL);
    int sum = 0;
    for (int i = 1; i <= 4; ++i)
        wiq_json_array_push_i64(list, i, NULL);
    for (i32 i = 0; i < wiq_json_array_size(list); ++i)
        sum += (int)wiq_json_i64_get(wiq_json_array_get_ext(list, i, 0, NULL));
    printf("%d\n", sum);
    wiq_json_unref(list);
    return 0;
}
