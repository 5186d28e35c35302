// See import_faults.h.
#include "support/import_faults.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>

namespace {

template <class T>
T* at_address(size_t offset) {
    return reinterpret_cast<T*>(reinterpret_cast<char*>(GetModuleHandleW(nullptr)) + offset);
}

// Returns the place of a function's address in the table of imports; nullptr if the program does not import it.
void** entry_of(const char* name) {
    const auto* dos = at_address<IMAGE_DOS_HEADER>(0);
    const auto* headers = at_address<IMAGE_NT_HEADERS>(static_cast<size_t>(dos->e_lfanew));
    const IMAGE_DATA_DIRECTORY& directory =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* dll = at_address<IMAGE_IMPORT_DESCRIPTOR>(directory.VirtualAddress); dll->Name != 0;
         ++dll) {
        const auto* names = at_address<IMAGE_THUNK_DATA>(dll->OriginalFirstThunk);
        auto* functions = at_address<void*>(dll->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++functions) {
            const auto* imported = at_address<IMAGE_IMPORT_BY_NAME>(names->u1.AddressOfData);
            if (!IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal) &&
                strcmp(reinterpret_cast<const char*>(imported->Name), name) == 0)
                return functions;
        }
    }
    return nullptr;
}

void write_entry(void** entry, void* function) {
    DWORD protection = 0;
    VirtualProtect(entry, sizeof(void*), PAGE_READWRITE, &protection);
    *entry = function;
    VirtualProtect(entry, sizeof(void*), protection, &protection);
}

}  // namespace

ReplacedImport::ReplacedImport(const char* name, void* function) : entry_(entry_of(name)) {
    if (entry_ == nullptr) {
        ADD_FAILURE() << "the program does not import " << name;
        return;
    }
    original_ = *entry_;
    write_entry(entry_, function);
}

ReplacedImport::~ReplacedImport() {
    if (entry_ != nullptr)
        write_entry(entry_, original_);
}
