// What the tool needs to know of its platform and the library does not offer; implemented by
// platform_posix.cpp and platform_windows.cpp, one of which also holds the program's entry.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "ke_utils/types.h"

namespace tool {

// The tool itself: arguments in UTF-8 without the program's name; the exit status.
int run(const std::vector<std::string>& args);

bool stderr_is_terminal();

// Keeps the runtime from changing line ends on the standard streams.
void use_binary_streams();

// Gives a file the name of another in one step; what had the name is gone. The file gets the permissions of the one
// that it replaces, or those of any new file. Names are UTF-8 with either separator. 0 or a status.
i32 replace_file(const std::string& from, const std::string& to);

// An empty file for reading and writing that is gone when it is closed; nullptr if there can be none.
FILE* scratch_file();

}  // namespace tool
