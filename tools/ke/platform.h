// What the tool needs from its platform and the library does not offer. It is implemented by
// platform_posix.cpp and platform_windows.cpp; the program's entry points are in entry_posix.cpp and
// entry_windows.cpp.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "ke_utils/types.h"

namespace tool {

// Runs the tool. Takes the arguments in UTF-8 without the program's name; returns the exit status.
int run(const std::vector<std::string>& args);

bool stdin_is_terminal();
bool stdout_is_terminal();
bool stderr_is_terminal();

// prepare_console() keeps the runtime from converting line ends on the standard streams. On a Windows
// console, text is UTF-8 and escape sequences work from then until restore_console().
void prepare_console();
void restore_console();

// Limits the memory of the process to this number of bytes; allocations beyond it fail. Returns false if the
// system refuses.
bool limit_memory(u64 bytes);

// Returns a stream that reads a text, which must outlive the stream; nullptr on failure.
FILE* stream_of(const std::string& text);

enum class FileKind { none, regular, directory, other };

// Returns the kind of file that a path names, following links.
FileKind kind_of_path(const std::string& path);

struct FileFacts {
    FileKind kind = FileKind::other;
    u64 size = 0;  // of a regular file
};
FileFacts facts_of(FILE* fp);

// Moves a stream to an offset from its start; returns false if the stream is not seekable.
bool seek_to(FILE* fp, u64 offset);

}  // namespace tool
