// Reads lines from a stream that the caller has locked. wiq_getline() does so for one line, the INI
// parser for a whole file.
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

// Does what wiq_ini_parse() does, for lines of at most `longest_line` bytes.
i32 ini_parse(FILE* stream, WiqIniSectionFn on_section, WiqIniKeyFn on_key, WiqIniErrorFn on_error,
              void* user, size_t longest_line);

}  // namespace ke
