/* Holds one value of each kind for a debugger to show, and a place to stop at. */
#include <stdlib.h>

#include "ke_utils.h"

int stop_here(void);

int stop_here(void) {
    return 0;
}

int main(void) {
    wiq_json_load_error err;
    wiq_json_t* root = wiq_json_loads(
        "{\"list\":[1,-2,2.5,\"text\",true,null,18446744073709551616],\"ref\":{\"$ref\":\"#/"
        "list\"}}",
        0, &err);
    wiq_uint128 big = {5, 1};
    wiq_strbuf text;
    wiq_vector numbers;
    wiq_map map;
    wiq_strbuf_init(&text, 0);
    wiq_strbuf_printf(&text, "drive %d", 7);
    wiq_vector_init(&numbers, sizeof(int), 0, NULL, NULL);
    for (int i = 0; i < 3; ++i)
        *(int*)wiq_vector_push(&numbers) = i * i;
    wiq_map_init(&map, 0, wiq_hash_str, wiq_cmp_str, NULL, NULL);
    wiq_map_put(&map, (void*)"model", &big);
    stop_here();
    wiq_map_finalize(&map);
    wiq_vector_finalize(&numbers);
    wiq_strbuf_finalize(&text);
    wiq_json_unref(root);
    return root == NULL;
}
