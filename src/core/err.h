// The out-argument `err` of calls that return something other than a status.
#pragma once

#include "ke_utils/types.h"

namespace ke {

// Stores a status, or a system's error code, in *err; does nothing if `err` is nullptr. Returns the
// status.
inline i32 report(u32* err, i32 status) {
    if (err != nullptr)
        *err = static_cast<u32>(status);
    return status;
}
inline void report(u32* err, u32 code) {
    if (err != nullptr)
        *err = code;
}

}  // namespace ke
