// Reading lines from a stream that the caller has locked: what wiq_getline() does for one line, and the INI
// parser for a whole file.
#pragma once

#include <cstdio>

#include "ke_utils/types.h"

namespace ke {

// As wiq_getline(); arguments are not checked, and the stream is locked.
i32 getline_locked(char** line, size_t* size, FILE* stream);

}  // namespace ke
