// The form in which a path is passed to Windows. Not every system that runs these tests has the length limit,
// so the tests check the forms themselves.
#include "os/windows_path.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "support/alloc_faults.h"

namespace {

using ke::os::SystemPath;

// Returns the form in ASCII, which suffices for these tests; "(none)" for NULL.
std::string form_of(const std::string& path) {
    const SystemPath form(path.c_str());
    if (form.get() == nullptr)
        return "(none)";
    std::string text;
    for (const wchar_t* p = form.get(); *p != L'\0'; ++p)
        text += static_cast<char>(*p);
    return text;
}

std::string current_directory() {
    char directory[MAX_PATH];
    GetCurrentDirectoryA(sizeof(directory), directory);
    return directory;
}

const std::string kLong(200, 'n');

TEST(WindowsPath, ShortNamesAreUnchanged) {
    for (const char* path :
         {"", "f", "dir\\f", "dir/f", ".\\..\\f", "C:\\dir\\f", "C:/dir/f", "C:f", "\\dir\\f",
          "\\\\server\\share\\f", "\\\\?\\C:\\f", "\\\\.\\pipe\\p", "NUL", "f\\"})
        EXPECT_EQ(form_of(path), path);
}

TEST(WindowsPath, LongNamesAreFullAndExtended) {
    const struct {
        std::string path, form;
    } rows[] = {
        {"C:\\" + kLong + "\\" + kLong, "\\\\?\\C:\\" + kLong + "\\" + kLong},
        {"C:/" + kLong + "/" + kLong, "\\\\?\\C:\\" + kLong + "\\" + kLong},
        {"C:\\" + kLong + "\\.\\x\\..\\" + kLong, "\\\\?\\C:\\" + kLong + "\\" + kLong},
        {"\\\\server\\share\\" + kLong + "\\" + kLong,
         "\\\\?\\UNC\\server\\share\\" + kLong + "\\" + kLong},
        {"//server/share/" + kLong + "/" + kLong,
         "\\\\?\\UNC\\server\\share\\" + kLong + "\\" + kLong},
        {kLong + "\\" + kLong, "\\\\?\\" + current_directory() + "\\" + kLong + "\\" + kLong},
        {kLong + "\\x/../" + kLong, "\\\\?\\" + current_directory() + "\\" + kLong + "\\" + kLong},
        // An extended path or a device's path is never changed.
        {"\\\\?\\C:\\" + kLong + "\\" + kLong, "\\\\?\\C:\\" + kLong + "\\" + kLong},
        {"\\\\.\\" + kLong + kLong, "\\\\.\\" + kLong + kLong},
        // Long only before it is normalised.
        {"C:\\" + kLong + "\\..\\" + kLong, "\\\\?\\C:\\" + kLong},
    };
    for (const auto& row : rows)
        EXPECT_EQ(form_of(row.path), row.form) << row.path;
}

TEST(WindowsPath, TheLimitIsThatOfDirectories) {
    const auto name = [](size_t length) { return "C:\\" + std::string(length - 3, 'n'); };
    EXPECT_EQ(form_of(name(247)), name(247));
    EXPECT_EQ(form_of(name(248)), "\\\\?\\" + name(248));
    const auto other = [](size_t length) {
        return "\\\\server\\share\\" + std::string(length - 15, 'n');
    };
    EXPECT_EQ(form_of(other(247)), other(247));
    EXPECT_EQ(form_of(other(248)), "\\\\?\\UNC" + other(248).substr(1));
}

TEST(WindowsPath, AShortNameInALongDirectory) {
    const std::string before = current_directory();
    // As long as the current directory may be.
    std::string deep = before;
    while (deep.size() + 21 < 250) {
        deep += "\\" + std::string(20, 'd');
        CreateDirectoryA(deep.c_str(), nullptr);
    }
    ASSERT_TRUE(SetCurrentDirectoryA(deep.c_str()));
    const std::string name(30, 'f');
    EXPECT_EQ(form_of(name), "\\\\?\\" + deep + "\\" + name);
    ASSERT_TRUE(SetCurrentDirectoryA(before.c_str()));
    for (; deep.size() > before.size(); deep.resize(deep.size() - 21))
        EXPECT_TRUE(RemoveDirectoryA(deep.c_str()));
}

TEST(WindowsPath, NamesBeyondTheSystemsLimits) {
    using ke::os::is_too_long;
    EXPECT_FALSE(is_too_long(L""));
    EXPECT_FALSE(is_too_long(std::wstring(255, L'n').c_str()));
    EXPECT_TRUE(is_too_long(std::wstring(256, L'n').c_str()));
    EXPECT_FALSE(is_too_long((std::wstring(255, L'n') + L"\\" + std::wstring(255, L'n')).c_str()));
    EXPECT_FALSE(is_too_long((std::wstring(255, L'n') + L"/" + std::wstring(255, L'n')).c_str()));
    EXPECT_TRUE(is_too_long((L"C:\\x\\" + std::wstring(256, L'n') + L"\\y").c_str()));
    std::wstring path;
    while (path.size() < 32768)
        path += L"nnnnnnn\\";
    EXPECT_TRUE(is_too_long(path.c_str()));
    EXPECT_FALSE(is_too_long(path.substr(0, 32767).c_str()));
}

TEST(WindowsPathFaults, OutOfMemoryGivesNoPath) {
    for (const std::string& path : {std::string("short"), kLong + "\\" + kLong}) {
        SweepAllocations([&path](AllocFaults& faults) {
            faults.arm();
            const SystemPath form(path.c_str());
            faults.disarm();
            EXPECT_EQ(form.get() == nullptr, faults.fired());
        });
    }
}

}  // namespace
