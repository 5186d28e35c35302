// What the tool needs to know of its platform and the library does not offer; implemented by
// platform_posix.cpp and platform_windows.cpp. The program's entry is in entry_posix.cpp and
// entry_windows.cpp.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "ke_utils/types.h"

namespace tool {

// The tool itself: arguments in UTF-8 without the program's name; the exit status.
int run(const std::vector<std::string>& args);

bool stdin_is_terminal();
bool stdout_is_terminal();
bool stderr_is_terminal();

// Keeps the runtime from changing line ends on the standard streams. On a Windows console, text is UTF-8
// and escape sequences are understood from here to restore_console().
void prepare_console();
void restore_console();

// From here on the process gets no more memory than this, in bytes, and allocations fail instead. False if
// the system refuses.
bool limit_memory(u64 bytes);

// A stream that reads a text, which must outlive it; nullptr if there can be none.
FILE* stream_of(const std::string& text);

enum class FileKind { none, regular, directory, other };

// What a name stands for, links followed.
FileKind kind_of_path(const std::string& path);

struct FileFacts {
    FileKind kind = FileKind::other;
    u64 size = 0;  // of a regular file
};
FileFacts facts_of(FILE* fp);

// Moves a stream to an offset from its start; false where the stream cannot be moved.
bool seek_to(FILE* fp, u64 offset);

}  // namespace tool
