// Replaces a file so that, whatever happens, it has either its old contents or its new ones. The new contents
// are written to a temporary file in the same folder, which takes the old file's place when it is complete
// and on the disk. Implemented by replace_posix.cpp and replace_windows.cpp.
//
// A link is followed: the file that it names is replaced. The new file gets the mode and the owner (on
// Windows the attributes and the access rights) of the old one. A target that is not a regular file (a
// device, a FIFO) is written into, since nothing can take its place; so is the target of a name of an open
// descriptor (/dev/stdout). Folders and files that may not be written are refused.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace tool {

// If set, is called with the name of each step after it: "created", "written", "flushed", "metadata" (mode and
// owner set), "named" (the temporary file has a name), "renamed". Tests end the program here.
extern void (*on_replacement_step)(const char* step);
// For tests: if set, the temporary file has a name from the start, as on file systems without unnamed files.
extern bool temporary_is_named;

class Replacement {
  public:
    // Throws a Failure if the file cannot be replaced or written.
    explicit Replacement(const std::string& path);
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    // Without a commit(), the old file is unchanged and no temporary file remains.
    ~Replacement();

    // Throws a Failure, for example if the disk is full.
    void write(const char* bytes, size_t size);
    // Puts the new file in place of the old one, which nothing may hold open.
    void commit();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace tool
