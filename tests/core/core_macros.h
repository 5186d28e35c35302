/* What core_macros.c (in C) does for core_macros_test.cpp (in C++). */
#ifndef CORE_MACROS_H
#define CORE_MACROS_H

#include "ke_utils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Allocates and frees blocks; returns whether that works and the leak count is right. Fills the slots. */
int core_macros_allocate(void);
/* Returns how many of four failures were reported with their size. */
size_t core_macros_told(void);
int core_macros_failed(u32 err);
const char* core_macros_name(i32 status);
const char* core_macros_meaning(i32 status);
const char* core_macros_version(void);

#ifdef __cplusplus
}
#endif

#endif
