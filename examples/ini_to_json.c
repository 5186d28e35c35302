/* Converts an INI file to a JSON document, one object per section, and shows where a mistake is: line,
 * column, and a caret below it. Without arguments it reads drives.ini in this folder. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "ke_utils.h"

typedef struct Reader {
    const char* name;
    wiq_json_t* root;
    wiq_json_t* section;
    WiqIniLocation mistake;
} Reader;

static i32 on_section(const char* name, const WiqIniLocation* name_location, const char* argument,
                      const WiqIniLocation* argument_location, void* user) {
    (void)name_location, (void)argument_location;
    Reader* reader = user;
    u32 err = 0;
    reader->section = wiq_json_obj_getd_obj(reader->root, name, &err);
    if (argument != NULL)
        reader->section = wiq_json_obj_getd_obj(reader->section, argument, &err);
    return (i32)err;
}

static i32 on_key(const char* key, const WiqIniLocation* key_location, const char* value,
                  const WiqIniLocation* value_location, void* user) {
    (void)key_location, (void)value_location;
    Reader* reader = user;
    u32 err = 0;
    wiq_json_obj_put_str(reader->section, key, value, &err);
    return (i32)err;
}

static void on_error(const WiqIniLocation* location, void* user) {
    ((Reader*)user)->mistake = *location;
}

/* Prints the line again, with a caret below the mistake. */
static void show_mistake(const Reader* reader, FILE* file) {
    char* line = NULL;
    size_t size = 0;
    rewind(file);
    for (u32 i = 0; i < reader->mistake.line; ++i) {
        if (wiq_getline(&line, &size, file) < 0)
            break;
    }
    fprintf(stderr, "%s:%u:%u: this is no INI syntax\n", reader->name,
            (unsigned)reader->mistake.line, (unsigned)reader->mistake.column);
    if (line != NULL)
        fprintf(stderr, "%.*s\n%*s\n", (int)strcspn(line, "\r\n"), line,
                (int)reader->mistake.column, "^");
    free(line);
}

int main(int argc, char** argv) {
    Reader reader = {
        argc > 1 ? argv[1] : "drives.ini", wiq_json_obj_new(0, NULL), NULL, {0, 0, 0, 0}};
    FILE* file = wiq_fopen(reader.name, "rb", NULL);
    if (file == NULL || reader.root == NULL) {
        fprintf(stderr, "ini_to_json: cannot open %s\n", reader.name);
        return 1;
    }
    i32 status = wiq_ini_parse(file, on_section, on_key, on_error, &reader);
    if (status == WIQ_ERR_INI_SYNTAX)
        show_mistake(&reader, file);
    else if (status == 0)
        status =
            wiq_json_fdump(reader.root, stdout, WIQ_JSON_DUMP_PRETTY | WIQ_JSON_DUMP_SORT_KEYS, 0);
    printf("\n");
    fclose(file);
    wiq_json_unref(reader.root);
    return status < 0;
}
