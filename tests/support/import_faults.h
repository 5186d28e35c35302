// For Windows: replaces a function that the program imports from a DLL of the system by a function of a test. On Linux
// the linker does this (system_faults.h); on Windows calls go through the program's table of imports, so this changes
// the table. The library must be linked statically. Calls that DLLs make are not affected.
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

    // The function that was replaced.
    template <class Function>
    Function* original() const {
        return reinterpret_cast<Function*>(original_);
    }

  private:
    void** entry_ = nullptr;
    void* original_ = nullptr;
};
