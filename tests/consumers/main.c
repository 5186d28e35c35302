/* A user's program: it includes the library's header and defines nothing. */
#include <ke_utils.h>
#include <stdio.h>
#include <stdlib.h>

int main(void) {
    wiq_json_load_error error;
    wiq_json_t* root = wiq_json_loads("{\"drive\":[1,{\"$ref\":\"#/drive/0\"}]}", 0, &error);
    char* text = NULL;
    if (root == NULL || wiq_json_jref_expand(root) != 0 || wiq_json_sdump(root, &text, 0) < 0) {
        fputs("the document was not read, expanded or written\n", stderr);
        return 2;
    }
    puts(text);
    free(text);
    wiq_json_unref(root);
    return 0;
}
