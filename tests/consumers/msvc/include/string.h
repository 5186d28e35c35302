/* See stdio.h. */
#pragma once
#include <stddef.h>
#ifdef __cplusplus
extern "C" {
#endif
void* memcpy(void* to, const void* from, size_t size);
int memcmp(const void* a, const void* b, size_t size);
int strcmp(const char* a, const char* b);
size_t strlen(const char* text);
#ifdef __cplusplus
}
#endif
