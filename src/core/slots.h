// Exported slots lie in memory in the order in which their sources define them.
#pragma once

#include "ke_utils/types.h"

// Keeps a compiler that would sort variables by its own rules from doing so.
#if defined(__has_attribute)
#if __has_attribute(no_reorder)
#define KE_SLOT __attribute__((no_reorder))
#endif
#endif
#if !defined(KE_SLOT)
#define KE_SLOT
#endif
