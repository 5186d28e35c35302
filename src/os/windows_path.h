// Paths as Windows takes them: wide characters, in the extended form if a name is too long for the
// plain one.
#pragma once

#include <cstddef>
#include <cwchar>

namespace ke::os {

// The size, with the NUL, of the longest full name that every call takes in the plain form. It is
// the limit for directories, which must leave room for the name of a file.
constexpr size_t kMaxPlainSize = 248;

// A path of the library (UTF-8, either separator, relative or not) in the form for the system.
// get() returns nullptr if it cannot be converted or when out of memory.
class SystemPath {
  public:
    explicit SystemPath(const char* path);
    SystemPath(const SystemPath&) = delete;
    SystemPath& operator=(const SystemPath&) = delete;
    ~SystemPath();
    const wchar_t* get() const { return text_; }
    wchar_t* get() { return text_; }

  private:
    wchar_t* text_;
};

// Whether no file can have this name, because a part of it or all of it is longer than any file
// system allows.
bool is_too_long(const wchar_t* path);

}  // namespace ke::os
