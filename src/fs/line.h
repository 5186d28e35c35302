// Reading lines from a stream that the caller has locked: what wiq_getline() does for one line, and the INI
// parser for a whole file.
#pragma once

#include <cstdint>
#include <cstdio>

#include "ke_utils/files.h"

namespace ke {

// The longest line whose length can be told.
constexpr size_t kLongestLine = INT32_MAX;

// As wiq_getline(); arguments are not checked, and the stream is locked. `longest` is less only where tests
// want it to be.
i32 getline_locked(char** line, size_t* size, FILE* stream, size_t longest = kLongestLine);

// As wiq_ini_parse(), with such a limit.
i32 ini_parse(FILE* stream, WiqIniSectionFn on_section, WiqIniKeyFn on_key, WiqIniErrorFn on_error,
              void* user, size_t longest_line);

}  // namespace ke
