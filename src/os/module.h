// Loading modules through libuv, with paths as the library writes them.
#pragma once

#include <uv.h>

namespace ke::os {

// Does what uv_dlopen() does, for a path with either separator.
int open_module(const char* path, uv_lib_t* lib);

}  // namespace ke::os
