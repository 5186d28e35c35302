// The INI parser with a limit for the length of a line, so that tests reach it with short lines.
#pragma once

#include <cstddef>
#include <cstdio>

#include "ke_utils/files.h"

namespace ke {

// Does what wiq_ini_parse() does, but returns WIQ_ERR_IO for a line of more than `max_length`
// bytes.
i32 ini_parse(FILE* stream, WiqIniSectionFn on_section, WiqIniKeyFn on_key, WiqIniErrorFn on_error,
              void* user, size_t max_length);

}  // namespace ke
