/* Finds what a program forgot to release: its allocations go through the library's hooks, and the leak
 * tracker counts them. */
#include <stdio.h>

#include "ke_utils.h"

static char* copy_text(const char* text) {
    return wiq_wrap_strdup(text, NULL, wiq_malloc_pre_cb, wiq_malloc_post_cb);
}

static void release(void* block) {
    wiq_wrap_free(block, wiq_free_cb);
}

int main(void) {
    wiq_memleak_begin();
    char* model = copy_text("EXAMPLE 12TB SAS");
    char* serial = copy_text("ZR5000AB");
    if (model == NULL || serial == NULL)
        return 1;
    printf("%s %s\n", model, serial);
    release(serial);
    printf("%d of %d blocks not released\n", (int)wiq_memleak_balance(), (int)wiq_memleak_count());
    release(model);
    return wiq_memleak_balance() != 0;
}
