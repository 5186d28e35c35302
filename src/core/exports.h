// What exported names need in addition to their declaration: slots that stay in memory in the order
// in which their source file defines them, and second names for functions.
#pragma once

#include "ke_utils/types.h"

// KE_SLOT keeps gcc from sorting variables by rules of its own; clang does not reorder them.
// KE_SECOND_NAME_OF(f), after a declaration, makes the declared name an alias of the function f,
// which the same source file must define. gcc warns unless the alias is declared not to throw, as
// the function is; clang rejects that attribute here.
#if defined(__clang__)
#define KE_SLOT
#define KE_SECOND_NAME_OF(function) __attribute__((alias(#function)))
#else
#define KE_SLOT __attribute__((no_reorder))
#define KE_SECOND_NAME_OF(function) __attribute__((nothrow, alias(#function)))
#endif
