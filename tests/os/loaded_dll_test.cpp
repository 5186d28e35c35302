// Which ke_utils.dll a test program has loaded. The programs of one build are also run with the DLL of
// another, which would prove nothing if the system found a third one.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// Returns the file of a module, or that of the program itself for a null handle.
std::wstring file_of(HMODULE module) {
    wchar_t file[4096];
    const DWORD length = GetModuleFileNameW(module, file, 4096);
    return length == 0 || length == 4096 ? L"(none)" : std::wstring(file, length);
}

std::wstring folder_of(const std::wstring& file) {
    return file.substr(0, file.find_last_of(L'\\') + 1);
}

// The record in which a linker writes the PDB's name for debuggers: "RSDS", a GUID and an age, then the name.
struct PdbRecord {
    char signature[4];
    unsigned char guid[16];
    DWORD age;
    char name[1];
};

// Returns the PDB that a loaded module names, or "none".
std::string pdb_of(HMODULE module) {
    const auto* base = reinterpret_cast<const unsigned char*>(module);
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& place =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_DEBUG];
    const auto* entries =
        reinterpret_cast<const IMAGE_DEBUG_DIRECTORY*>(base + place.VirtualAddress);
    for (DWORD i = 0; i < place.Size / sizeof(*entries); ++i) {
        const auto* record = reinterpret_cast<const PdbRecord*>(base + entries[i].AddressOfRawData);
        if (entries[i].Type == IMAGE_DEBUG_TYPE_CODEVIEW &&
            memcmp(record->signature, "RSDS", sizeof(record->signature)) == 0)
            return record->name;
    }
    return "none";
}

TEST(LoadedDll, IsNextToTheProgram) {
    const HMODULE dll = GetModuleHandleW(L"ke_utils.dll");
    ASSERT_NE(dll, nullptr);
    EXPECT_EQ(file_of(dll), folder_of(file_of(nullptr)) + L"ke_utils.dll");
}

// ctest sets KE_TEST_PDB to the PDB of the build under test, or to "none".
TEST(LoadedDll, BelongsToTheTestedBuild) {
    const char* expected = getenv("KE_TEST_PDB");
    const std::string pdb = pdb_of(GetModuleHandleW(L"ke_utils.dll"));
    EXPECT_EQ(pdb, expected == nullptr ? pdb : expected);
}

}  // namespace
