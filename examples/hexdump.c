/*
 * Shows a file's first bytes as hexadecimal text next to their characters, with wiq_memdump_ex():
 * the library makes the lines, the program decides what to do with them.
 *
 *   hexdump [FILE]          without arguments, FILE is the program itself
 */
#include <inttypes.h>
#include <ke_utils.h>
#include <stdio.h>

/* Receives one line; a nonzero status would end the dump. */
static i32 print_line(void* user, u64 offset, const char* hex, const char* ascii) {
    FILE* out = (FILE*)user;
    fprintf(out, "%08" PRIx64 "  %s  %s\n", offset, hex, ascii);
    return 0;
}

int main(int argc, char** argv) {
    const char* path = argc > 1 ? argv[1] : argv[0];
    FILE* file = fopen(path, "rb");
    if (file == NULL) {
        fprintf(stderr, "hexdump: cannot open %s\n", path);
        return 1;
    }
    u8 bytes[256];
    size_t count = fread(bytes, 1, sizeof bytes, file);
    fclose(file);

    /* 16 bytes per line, in groups of one byte and blocks of eight with a wider gap between them. */
    i32 status = wiq_memdump_ex(bytes, count, 16, 1, 8, 2, true, true, print_line, stdout);
    if (status != 0) {
        fprintf(stderr, "hexdump: status %d\n", (int)status);
        return 1;
    }
    return 0;
}
