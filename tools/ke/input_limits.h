// What a caller who does not trust an input allows it to take. The limits hold for the whole run, so they
// are set once, before anything is read. 0 means no limit.
#pragma once

#include "ke_utils/types.h"

namespace tool {

struct Limits {
    u64 size = 0;    // bytes of each input
    u64 depth = 0;   // containers within one another
    u64 memory = 0;  // bytes of the process
};

Limits& limits();

}  // namespace tool
