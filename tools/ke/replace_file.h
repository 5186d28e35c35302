// Writing a file so that it is always the old one or the new one, whatever happens on the way: what is
// written goes into a temporary file in the same folder, which takes the old file's place when it is
// complete and on the disk. Implemented by replace_posix.cpp and replace_windows.cpp.
//
// A link is followed: the file that it names is replaced. The new file has the mode and the owner (on
// Windows the attributes and the access rights) of the old one. What is no regular file (a device, a FIFO)
// is written into, since nothing can take its place; so is what the name of an open descriptor leads to
// (/dev/stdout). A folder, and a file that may not be written, are refused.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace tool {

// Called with the name of each step once it is done: "created", "written", "flushed", "dressed" (mode and
// owner set), "named" (the temporary file has a name), "renamed". Tests end the program here.
extern void (*on_replacement_step)(const char* step);
// Whether the temporary file has a name from the start, as on file systems without unnamed files. For tests.
extern bool temporary_is_named;

class Replacement {
  public:
    // Throws a Failure for what cannot be replaced or written.
    explicit Replacement(const std::string& path);
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    // Without commit() the old file stays as it is, and nothing else stays.
    ~Replacement();

    // Throws a Failure, for example on a full disk.
    void write(const char* bytes, size_t size);
    // Puts the new file in its place. Nothing may hold the old one open.
    void commit();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace tool
