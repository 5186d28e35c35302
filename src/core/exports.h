// What exported names need beyond their declaration: slots that lie in memory in the order in which their
// source defines them, and second names of functions.
#pragma once

#include "ke_utils/types.h"

// KE_SLOT keeps a compiler that would sort variables by its own rules from doing so. KE_SECOND_NAME_OF(f), behind
// a declaration, makes it another name of a function that its source defines; gcc wants to be told that such a
// name throws as little as the function, clang refuses to hear it.
#if defined(__clang__)
#define KE_SLOT
#define KE_SECOND_NAME_OF(function) __attribute__((alias(#function)))
#else
#define KE_SLOT __attribute__((no_reorder))
#define KE_SECOND_NAME_OF(function) __attribute__((nothrow, alias(#function)))
#endif
