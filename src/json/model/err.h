// The status that a call reports through its out-argument `err`, by which calls are chained.
#pragma once

#include "ke_utils/types.h"

namespace ke::json {

// The chaining out-argument `err`: a call does nothing if *err already holds a failure. Otherwise
// report() stores the call's own status there, and returns it.
inline bool has_failed(const u32* err) {
    return err != nullptr && *err != 0;
}
inline i32 report(u32* err, i32 status) {
    if (err != nullptr)
        *err = static_cast<u32>(status);
    return status;
}

}  // namespace ke::json
