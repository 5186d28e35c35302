// Paths as Windows takes them: wide characters, in the extended form where a name is too long for the plain one.
#pragma once

#include <cstddef>
#include <cwchar>

namespace ke::os {

// The longest full name, its NUL included, that every call takes in the plain form: that of a directory, which
// leaves room for a file in it.
constexpr size_t kPlainLimit = 248;

// A path of the library's (UTF-8, either separator, relative or not) for the system; get() is nullptr if it cannot be
// converted or without memory.
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

// Whether no file can have the name: a part of it, or all of it, is longer than any file system allows.
bool is_too_long(const wchar_t* path);

}  // namespace ke::os
