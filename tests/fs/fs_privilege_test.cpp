// The library takes no more access than it needs (Linux): who can read its temporary files, who could guess
// their names, which programs inherit its streams, and where it writes.
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>

#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "ke_utils/json.h"

namespace {

class Privilege : public testing::Test {
  protected:
    void SetUp() override {
        root_ = std::string("privilege_") +
                testing::UnitTest::GetInstance()->current_test_info()->name();
        ASSERT_EQ(wiq_mkdir(root_.c_str()), 0);
    }
    void TearDown() override { EXPECT_EQ(wiq_rmdir(root_.c_str()), 0); }

    std::string file(const std::string& name) {
        std::string made = root_ + "\\" + name;
        FILE* fp = wiq_fopen(made.c_str(), "wb", nullptr);
        EXPECT_NE(fp, nullptr) << made;
        if (fp != nullptr)
            fclose(fp);
        return made;
    }

    std::string root_;
};

TEST_F(Privilege, OpenFilesAreNotInherited) {
    const std::string made = file("f");
    u32 err = 0;
    for (const char* mode : {"r", "rb", "r+", "w", "wb+", "a", "a+b"}) {
        FILE* fp = wiq_fopen(made.c_str(), mode, &err);
        ASSERT_NE(fp, nullptr) << mode;
        EXPECT_EQ(fcntl(fileno(fp), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC) << mode;
        fclose(fp);
    }
    EXPECT_EQ(wiq_unlink(made.c_str()), 0);
    for (const char* mode : {"w", "w+b", "a"}) {
        std::string tmpl = root_ + "\\tXXXXXX";
        FILE* fp = wiq_mkstemp(tmpl.data(), &err, mode);
        ASSERT_NE(fp, nullptr) << mode;
        EXPECT_EQ(fcntl(fileno(fp), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC) << mode;
        fclose(fp);
        EXPECT_EQ(wiq_unlink(tmpl.c_str()), 0);
    }
}

TEST_F(Privilege, TemporaryFilesBelongToTheirOwnerOnly) {
    const mode_t before = umask(0);
    std::string tmpl = root_ + "\\tXXXXXX";
    u32 err = 0;
    FILE* fp = wiq_mkstemp(tmpl.data(), &err, "w");
    umask(before);
    ASSERT_NE(fp, nullptr);
    struct stat status;
    ASSERT_EQ(fstat(fileno(fp), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600u);
    fclose(fp);
    EXPECT_EQ(wiq_unlink(tmpl.c_str()), 0);
}

// If a name could be predicted from the process, the time or other names, somebody else could create it
// first.
TEST_F(Privilege, TemporaryNamesAreRandom) {
    std::set<std::string> names;
    int same_places = 0;
    std::string last;
    for (int i = 0; i < 200; ++i) {
        std::string tmpl = root_ + "\\XXXXXX";
        FILE* fp = wiq_mkstemp(tmpl.data(), nullptr, "w");
        ASSERT_NE(fp, nullptr);
        fclose(fp);
        EXPECT_EQ(wiq_unlink(tmpl.c_str()), 0);
        for (size_t k = tmpl.size() - 6; k < tmpl.size() && !last.empty(); ++k)
            same_places += tmpl[k] == last[k];
        names.insert(tmpl);
        last = tmpl;
    }
    EXPECT_EQ(names.size(), 200u) << "a name must not be reused once it is free";
    // Of 1194 pairs of characters, one in 62 is equal by chance, with a standard deviation of 4.4.
    EXPECT_LT(same_places, 60);
}

std::set<std::string> names_in(const char* directory) {
    std::set<std::string> names;
    DIR* dir = opendir(directory);
    while (const dirent* entry = dir == nullptr ? nullptr : readdir(dir))
        names.insert(entry->d_name);
    if (dir != nullptr)
        closedir(dir);
    return names;
}

// Reads and writes a document, an INI file and a temporary file in one folder.
void work_in(const std::string& folder) {
    const std::string name = folder + "\\f.json";
    wiq_json_t* root =
        wiq_json_loads("{\"a\": [1, 2.5, {\"$ref\": \"/b\"}], \"b\": \"text\"}", 0, nullptr);
    ASSERT_NE(root, nullptr);
    FILE* fp = wiq_fopen(name.c_str(), "wb", nullptr);
    ASSERT_NE(fp, nullptr);
    EXPECT_GT(wiq_json_fdump(root, fp, 0, 0), 0);
    fclose(fp);
    wiq_json_unref(root);
    void* data = nullptr;
    EXPECT_GT(wiq_load_file(name.c_str(), &data, 1), 0);
    free(data);
    fp = wiq_fopen(name.c_str(), "rb", nullptr);
    ASSERT_NE(fp, nullptr);
    EXPECT_EQ(wiq_ini_parse(fp, nullptr, nullptr, nullptr, nullptr), WIQ_ERR_INI_SYNTAX);
    rewind(fp);
    root = wiq_json_loadf(fp, 0, nullptr);
    EXPECT_NE(root, nullptr);
    wiq_json_unref(root);
    fclose(fp);
    u32 err = 0;
    EXPECT_EQ(wiq_load_schema("no_such_input.json", &err), nullptr);
    std::string tmpl = folder + "\\XXXXXX";
    fp = wiq_mkstemp(tmpl.data(), nullptr, "w");
    ASSERT_NE(fp, nullptr);
    fclose(fp);
    EXPECT_EQ(wiq_rename(tmpl.c_str(), (folder + "\\moved").c_str()), 0);
    EXPECT_EQ(wiq_unlink((folder + "\\moved").c_str()), 0);
    EXPECT_EQ(wiq_unlink(name.c_str()), 0);
    char* home = wiq_home_dir();
    EXPECT_NE(home, nullptr);
    free(home);
}

TEST_F(Privilege, NothingIsWrittenElsewhere) {
    // The places where programs often leave files: the current directory, the home directory, the temporary
    // one.
    const std::string here = root_ + "/here";
    ASSERT_EQ(mkdir(here.c_str(), 0755), 0);
    char before[4096];
    ASSERT_NE(getcwd(before, sizeof(before)), nullptr);
    const char* old_home = getenv("HOME");
    const std::string home = old_home == nullptr ? "" : old_home;
    ASSERT_EQ(chdir(here.c_str()), 0);
    char directory[4096];
    ASSERT_NE(getcwd(directory, sizeof(directory)), nullptr);
    setenv("HOME", directory, 1);
    setenv("TMPDIR", directory, 1);
    setenv("XDG_CACHE_HOME", directory, 1);
    ASSERT_EQ(mkdir("work", 0755), 0);
    work_in("work");
    EXPECT_EQ(names_in("work"), (std::set<std::string>{".", ".."}));
    EXPECT_EQ(names_in("."), (std::set<std::string>{".", "..", "work"}));
    EXPECT_EQ(rmdir("work"), 0);
    unsetenv("TMPDIR");
    unsetenv("XDG_CACHE_HOME");
    if (old_home == nullptr)
        unsetenv("HOME");
    else
        setenv("HOME", home.c_str(), 1);
    ASSERT_EQ(chdir(before), 0);
    EXPECT_EQ(rmdir(here.c_str()), 0);
}

}  // namespace
