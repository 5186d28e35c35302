/* The part of Microsoft's header that the programs here use, written for the test: clang comes without headers of
   Microsoft's C runtime. */
#pragma once
#include <stdarg.h>
#include <stddef.h>
#ifdef __cplusplus
extern "C" {
#endif
typedef struct _iobuf FILE;
FILE* __acrt_iob_func(unsigned index);
#define stdout (__acrt_iob_func(1))
int fclose(FILE* stream);
int fputs(const char* text, FILE* stream);
int remove(const char* path);
FILE* fopen(const char* path, const char* mode);
size_t fread(void* to, size_t size, size_t count, FILE* stream);
size_t fwrite(const void* from, size_t size, size_t count, FILE* stream);
int __stdio_common_vfprintf(unsigned long long options, FILE* stream, const char* format,
                            void* locale, va_list args);
static inline int fprintf(FILE* stream, const char* format, ...) {
    va_list args;
    int written;
    va_start(args, format);
    written = __stdio_common_vfprintf(0, stream, format, NULL, args);
    va_end(args);
    return written;
}
#ifdef __cplusplus
}
#endif
