// Reads one line from a stream that the caller has locked, for wiq_getline() and the INI parser.
#pragma once

#include <cstdint>
#include <cstdio>

#include "ke_utils/files.h"

namespace ke {

// The longest line whose length can be returned.
constexpr size_t kMaxLineLength = INT32_MAX;

// Does what wiq_getline() does, for valid arguments and a locked stream. `max_length` is smaller
// only in tests.
i32 getline_locked(char** line, size_t* size, FILE* stream, size_t max_length = kMaxLineLength);

}  // namespace ke
