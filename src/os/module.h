// Loading modules: libuv's call, with paths as the library writes them.
#pragma once

#include <uv.h>

namespace ke::os {

// uv_dlopen() of a path with either separator.
int open_module(const char* path, uv_lib_t* lib);

}  // namespace ke::os
