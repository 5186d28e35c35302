// Puts a function of a test in the place of one that the program imports from a DLL of the system, for Windows. What
// the linker does on the other platform (system_faults.h) it cannot do here, where calls go through the program's table
// of imports; so the table is changed. The library must be linked statically, and what DLLs call themselves stays.
//
//   ReplacedImport import("GetFileAttributesW", +[](const wchar_t*) -> DWORD { return INVALID_FILE_ATTRIBUTES; });
#pragma once

class ReplacedImport {
  public:
    template <class Function>
    ReplacedImport(const char* name, Function* function)
        : ReplacedImport(name, reinterpret_cast<void*>(function)) {}
    ReplacedImport(const char* name, void* function);
    ~ReplacedImport();
    ReplacedImport(const ReplacedImport&) = delete;
    ReplacedImport& operator=(const ReplacedImport&) = delete;

    // The function whose place it is.
    template <class Function>
    Function* original() const {
        return reinterpret_cast<Function*>(original_);
    }

  private:
    void** entry_ = nullptr;
    void* original_ = nullptr;
};
