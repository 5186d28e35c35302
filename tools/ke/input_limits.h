// What an input may consume, set by a caller who does not trust it. The limits apply to the whole run, so
// they are set once, before anything is read. 0 means no limit.
#pragma once

#include "ke_utils/types.h"

namespace tool {

struct Limits {
    u64 size = 0;    // bytes of each input
    u64 depth = 0;   // levels of nested containers
    u64 memory = 0;  // bytes of the process
};

Limits& limits();

}  // namespace tool
