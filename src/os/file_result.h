// How both platforms translate the errors of the C runtime.
#pragma once

#include <cerrno>

#include "os/os.h"

namespace ke::os {

// Returns the result of a call that has failed and has set errno.
inline FileResult result_of_errno() {
    switch (errno) {
        case ENOENT:
            return FileResult::kNotFound;
        case EACCES:
            return FileResult::kAccessDenied;
        case EINVAL:
            return FileResult::kInvalid;
        default:
            return FileResult::kOther;
    }
}

}  // namespace ke::os
