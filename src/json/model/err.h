// The status that a call reports through its out-argument `err`, by which calls are chained.
#pragma once

#include "core/err.h"

namespace ke::json {

// The chaining out-argument `err`: a call does nothing if *err already holds a failure. Otherwise
// report() stores the call's own status there.
inline bool has_failed(const u32* err) {
    return err != nullptr && *err != 0;
}
using ke::report;

}  // namespace ke::json
