/* See stdio.h. */
#pragma once
#include <stddef.h>
#ifdef __cplusplus
extern "C" {
#endif
void* malloc(size_t size);
void* realloc(void* block, size_t size);
void free(void* block);
__declspec(noreturn) void exit(int status);
#ifdef __cplusplus
}
#endif
