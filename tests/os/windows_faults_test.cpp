// Calls of Windows and of its runtime fail, one after the other: the status is the one that the header states, and no
// file is created or left over.
#include <gtest/gtest.h>
#include <windows.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>

#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "os/os.h"
#include "os/windows_path.h"
#include "support/alloc_faults.h"
#include "support/import_faults.h"

namespace {

constexpr const char* kName = "windows_faults.tmp";

// The error that the replaced functions report.
DWORD g_error = 0;
int g_errno = 0;

bool exists(const char* path) {
    return GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES;
}

void make_file(const char* content) {
    FILE* fp = fopen(kName, "wb");
    ASSERT_NE(fp, nullptr);
    fputs(content, fp);
    fclose(fp);
}

TEST(WindowsFaults, FailureToMakeADirectory) {
    const ReplacedImport import(
        "CreateDirectoryW", +[](const wchar_t*, SECURITY_ATTRIBUTES*) -> BOOL {
            SetLastError(g_error);
            return FALSE;
        });
    const struct {
        DWORD error;
        i32 status;
    } rows[] = {
        {ERROR_PATH_NOT_FOUND, WIQ_ERR_PATH_NOT_FOUND},
        {ERROR_ACCESS_DENIED, WIQ_ERR_ACCESS_DENIED},
        {ERROR_ALREADY_EXISTS, WIQ_ERR_ALREADY_EXISTS},
        {ERROR_WRITE_PROTECT, WIQ_ERR_IO},
        {ERROR_DISK_FULL, WIQ_ERR_IO},
    };
    for (const auto& row : rows) {
        g_error = row.error;
        EXPECT_EQ(wiq_mkdir("windows_faults_dir"), row.status) << row.error;
        EXPECT_FALSE(exists("windows_faults_dir"));
    }
}

// The folder cannot be made because a file has its name. Then the file disappears before its kind is determined. The
// status still says that something had the name.
TEST(WindowsFaults, AFileThatDisappearsBetweenTwoChecks) {
    make_file("");
    EXPECT_EQ(wiq_mkdir(kName), WIQ_ERR_PATH_NOT_FOUND);
    {
        const ReplacedImport import(
            "GetFileAttributesW", +[](const wchar_t*) -> DWORD {
                SetLastError(ERROR_FILE_NOT_FOUND);
                return INVALID_FILE_ATTRIBUTES;
            });
        EXPECT_EQ(wiq_mkdir(kName), WIQ_ERR_ALREADY_EXISTS);
    }
    remove(kName);
}

TEST(WindowsFaults, MkdirOverAFileWithoutMemory) {
    make_file("");
    std::set<i32> statuses;
    SweepAllocations([&statuses](AllocFaults& faults) {
        faults.arm();
        const i32 status = wiq_mkdir(kName);
        faults.disarm();
        statuses.insert(status);
        if (!faults.fired()) {
            EXPECT_EQ(status, WIQ_ERR_PATH_NOT_FOUND);
        }
    });
    // In this order: the name cannot be copied; it cannot be converted; its kind stays unknown; nothing fails.
    EXPECT_EQ(statuses, (std::set<i32>{WIQ_ERR_NO_MEMORY, WIQ_ERR_IO, WIQ_ERR_ALREADY_EXISTS,
                                       WIQ_ERR_PATH_NOT_FOUND}));
    remove(kName);
}

TEST(WindowsFaults, NoFreeNameForATemporaryFile) {
    const ReplacedImport import(
        "_wmktemp", +[](wchar_t*) -> wchar_t* {
            errno = g_errno;
            return nullptr;
        });
    for (const auto& [reason, status] :
         {std::pair{EEXIST, static_cast<i32>(WIQ_ERR_IO)},
          std::pair{EINVAL, static_cast<i32>(WIQ_ERR_INVALID_ARG)}}) {
        g_errno = reason;
        std::string tmpl = "windows_faults_XXXXXX";
        u32 err = 9;
        EXPECT_EQ(wiq_mkstemp(tmpl.data(), &err, "wb"), nullptr);
        EXPECT_EQ(static_cast<i32>(err), status);
        EXPECT_EQ(tmpl, "windows_faults_XXXXXX");
    }
}

TEST(WindowsFaults, NoMemoryForATemporaryFile) {
    std::set<i32> statuses;
    SweepAllocations([&statuses](AllocFaults& faults) {
        std::string tmpl = "windows_faults_XXXXXX";
        u32 err = 9;
        faults.arm();
        FILE* fp = wiq_mkstemp(tmpl.data(), &err, "wb");
        faults.disarm();
        EXPECT_EQ(fp == nullptr, faults.fired());
        statuses.insert(static_cast<i32>(err));
        if (fp != nullptr)
            fclose(fp);
        // The file exists only if the caller has received it.
        EXPECT_EQ(remove(tmpl.c_str()) == 0, fp != nullptr) << tmpl;
    });
    EXPECT_EQ(statuses, (std::set<i32>{0, WIQ_ERR_IO, WIQ_ERR_ENCODING}));
}

TEST(WindowsFaults, InstallDirWithoutAPathOfTheProgram) {
    const ReplacedImport import(
        "GetModuleFileNameW", +[](HMODULE, wchar_t*, DWORD) -> DWORD { return 0; });
    EXPECT_EQ(wiq_install_dir(), nullptr);
}

#ifdef _UCRT
// The older runtime has no such function; the compiler's library provides it.
TEST(WindowsFaults, WithoutRandomBytes) {
    static int calls = 0;
    const ReplacedImport import(
        "rand_s", +[](unsigned*) -> int { return ++calls, EINVAL; });
    const u64 first = ke::os::random_u64();
    Sleep(1);
    EXPECT_NE(ke::os::random_u64(), first);
    EXPECT_EQ(calls, 2);
}
#endif

// Another thread changes the current directory after the name has been measured.
TEST(WindowsFaults, AFullNameThatGrowsBetweenTwoCalls) {
    static DWORD(WINAPI * original)(const wchar_t*, DWORD, wchar_t*, wchar_t**) = nullptr;
    const std::string path = std::string(200, 'n') + "\\" + std::string(200, 'n');
    {
        const ke::os::SystemPath form(path.c_str());
        EXPECT_NE(form.get(), nullptr);
    }
    const long before = live_blocks();
    const ReplacedImport import(
        "GetFullPathNameW",
        +[](const wchar_t* name, DWORD size, wchar_t* out, wchar_t** part) -> DWORD {
            return out == nullptr ? original(name, size, out, part) : size + 1;
        });
    original = import.original<DWORD(const wchar_t*, DWORD, wchar_t*, wchar_t**)>();
    {
        const ke::os::SystemPath form(path.c_str());
        EXPECT_EQ(form.get(), nullptr);
    }
    EXPECT_EQ(live_blocks(), before);
}

// The size is unknown because the position in the file cannot be changed or queried; or it is too large.
TEST(WindowsFaults, LoadingAFileWhoseSizeIsUnknown) {
    make_file("content");
    const auto load = [] {
        void* data = nullptr;
        const i32 result = wiq_load_file(kName, &data, 1);
        EXPECT_EQ(data == nullptr, result < 0);
        free(data);
        return result;
    };
    EXPECT_EQ(load(), 7);
    {
        const ReplacedImport import(
            "fseek", +[](FILE*, long, int) { return -1; });
        EXPECT_EQ(load(), WIQ_ERR_IO);
    }
#ifdef _UCRT
    static i64 size = 0;
    const ReplacedImport import(
        "_ftelli64", +[](FILE*) { return size; });
    for (const i64 wrong : {i64{-1}, i64{INT32_MAX} + 1}) {
        size = wrong;
        EXPECT_EQ(load(), WIQ_ERR_IO) << wrong;
    }
#endif
    remove(kName);
}

}  // namespace
