// See folder.h.
#include "tools/folder.h"

#include <algorithm>

#include "ke_utils/files.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dirent.h>
#endif

void Folder::SetUp() {
    const testing::TestInfo* info = testing::UnitTest::GetInstance()->current_test_info();
    folder_ = std::string("ke_") + info->test_suite_name() + "_" + info->name();
    ASSERT_EQ(wiq_mkdir(folder_.c_str()), 0);
}

void Folder::TearDown() {
    for (const std::string& name : names())
        wiq_unlink(in(name).c_str());
    EXPECT_EQ(wiq_rmdir(folder_.c_str()), 0);
}

std::vector<std::string> Folder::names() const {
    std::vector<std::string> all;
#ifdef _WIN32
    WIN32_FIND_DATAW found;
    const std::wstring pattern(folder_.begin(), folder_.end());
    HANDLE handle = FindFirstFileW((pattern + L"\\*").c_str(), &found);
    for (BOOL more = handle != INVALID_HANDLE_VALUE; more; more = FindNextFileW(handle, &found)) {
        char name[1024] = {};
        WideCharToMultiByte(CP_UTF8, 0, found.cFileName, -1, name, sizeof(name), nullptr, nullptr);
        all.emplace_back(name);
    }
    FindClose(handle);
#else
    DIR* dir = opendir(folder_.c_str());
    while (const dirent* entry = readdir(dir))
        all.emplace_back(entry->d_name);
    closedir(dir);
#endif
    std::erase_if(all, [](const std::string& name) { return name == "." || name == ".."; });
    std::sort(all.begin(), all.end());
    return all;
}
