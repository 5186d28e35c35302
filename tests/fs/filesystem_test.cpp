// Tests of the file system functions, in a folder below the current one. On every platform, names are written
// with the library's separator.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#ifdef _WIN32
#include <io.h>
#include <sys/stat.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include "ke_utils/core.h"
#include "ke_utils/files.h"

namespace {

class Filesystem : public testing::Test {
  protected:
    void SetUp() override {
        // Each test has its own folder, so names in other tests never interfere.
        root_ =
            std::string("fs_test_") + testing::UnitTest::GetInstance()->current_test_info()->name();
        ASSERT_EQ(wiq_mkdir(root_.c_str()), 0);
    }
    void TearDown() override {
        for (auto it = made_.rbegin(); it != made_.rend(); ++it) {
            if (wiq_unlink(it->c_str()) != 0)
                wiq_rmdir(it->c_str());
        }
        EXPECT_EQ(wiq_rmdir(root_.c_str()), 0) << "a test must remove its files";
    }

    // Returns a path below the test's folder, to be removed at the end.
    std::string path(const std::string& name) {
        made_.push_back(root_ + "\\" + name);
        return made_.back();
    }
    std::string file(const std::string& name, const std::string& content = "content") {
        std::string made = path(name);
        u32 err = 0;
        FILE* fp = wiq_fopen(made.c_str(), "wb", &err);
        EXPECT_NE(fp, nullptr) << made << " " << static_cast<i32>(err);
        if (fp != nullptr) {
            fwrite(content.data(), 1, content.size(), fp);
            fclose(fp);
        }
        return made;
    }

    std::string root_;
    std::vector<std::string> made_;
};

std::string read_all(const std::string& path) {
    void* data = nullptr;
    const i32 size = wiq_load_file(path.c_str(), &data, 1);
    std::string content = size > 0 ? static_cast<char*>(data) : "(" + std::to_string(size) + ")";
    free(data);
    return content;
}

TEST_F(Filesystem, Open) {
    const std::string made = file("f.txt");
    u32 err = 9;
    FILE* fp = wiq_fopen(made.c_str(), "rb", &err);
    ASSERT_NE(fp, nullptr);
    EXPECT_EQ(err, 0u) << "an earlier status is overwritten";
    fclose(fp);
    struct Row {
        const char *path, *mode;
        i32 status;
    };
    const std::string missing = root_ + "\\none";
    const std::string below_missing = root_ + "\\none\\f";
    for (const Row& row :
         {Row{nullptr, "r", -7000}, Row{made.c_str(), nullptr, -7000},
          Row{missing.c_str(), "r", -3002}, Row{below_missing.c_str(), "w", -3002}}) {
        EXPECT_EQ(wiq_fopen(row.path, row.mode, &err), nullptr);
        EXPECT_EQ(static_cast<i32>(err), row.status);
    }
    EXPECT_EQ(wiq_fopen(missing.c_str(), "r", nullptr), nullptr);
}

TEST_F(Filesystem, ADirectoryIsNotOpenedInAnyMode) {
    for (const std::string& name : {root_, root_ + "\\", root_ + "/", root_ + "\\."}) {
        for (const char* mode : {"r", "rb", "r+", "w", "wb", "w+b", "a", "a+"}) {
            u32 err = 0;
            EXPECT_EQ(wiq_fopen(name.c_str(), mode, &err), nullptr) << name << " " << mode;
            EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_ACCESS_DENIED) << name << " " << mode;
        }
        void* data = &data;
        EXPECT_EQ(wiq_load_file(name.c_str(), &data, 1), WIQ_ERR_ACCESS_DENIED) << name;
        EXPECT_EQ(data, &data) << "nothing was allocated";
    }
}

// Names under which no file can exist: every call that takes a file name gives the same answer on all
// platforms.
TEST_F(Filesystem, NamesThatNoFileCanHave) {
    const std::string made = file("f");
    const std::string free_name = root_ + "\\free";
    const struct {
        std::string name;
        i32 reading, writing, renaming, unlinking;
    } rows[] = {
        {made + "\\below", -3002, -3002, -3002, -3002},
        {made + "/below", -3002, -3002, -3002, -3002},
        {made + "\\below\\more", -3002, -3002, -3002, -3002},
        {root_ + "\\none\\f", -3002, -3002, -3002, -3002},
        {root_ + "\\" + std::string(256, 'n'), -3002, -3002, -3002, -3002},
        {root_ + "\\" + std::string(5000, 'n'), -3002, -3002, -3002, -3002},
        {root_ + "\\" + std::string(40000, 'n'), -3002, -3002, -3002, -3002},
        {"", -3002, -3002, -3002, -3002},
        // A name that ends in a separator names a directory.
        {made + "\\", -3, -3, -3, -3},
        {root_ + "\\none\\", -3002, -3, -3002, -3002},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name.substr(0, 60) + " " + std::to_string(row.name.size()));
        u32 err = 0;
        EXPECT_EQ(wiq_fopen(row.name.c_str(), "rb", &err), nullptr);
        EXPECT_EQ(static_cast<i32>(err), row.reading);
        for (const char* mode : {"w", "a", "w+b", "a+"}) {
            EXPECT_EQ(wiq_fopen(row.name.c_str(), mode, &err), nullptr) << mode;
            EXPECT_EQ(static_cast<i32>(err), row.writing) << mode;
        }
        void* data = &data;
        EXPECT_EQ(wiq_load_file(row.name.c_str(), &data, 1), row.reading);
        EXPECT_EQ(data, &data);
        EXPECT_EQ(wiq_rename(row.name.c_str(), free_name.c_str()), row.renaming);
        EXPECT_EQ(wiq_unlink(row.name.c_str()), row.unlinking);
        EXPECT_EQ(wiq_access(row.name.c_str(), 0), WIQ_ERR_ACCESS_DENIED);
        EXPECT_EQ(wiq_rmdir(row.name.c_str()), WIQ_ERR_IO);
        if (row.name != made + "\\") {
            EXPECT_EQ(wiq_rename(made.c_str(), row.name.c_str()), row.writing);
        }
        EXPECT_EQ(read_all(made), "content") << "a file that cannot be renamed is unchanged";
    }
}

TEST_F(Filesystem, BothSeparatorsReachTheSystem) {
    const std::string made = file("f.txt");
    std::string other = made;
    other[root_.size()] = '/';
    EXPECT_EQ(wiq_access(other.c_str(), 0), 0);
    EXPECT_EQ(wiq_access(made.c_str(), 0), 0);
}

TEST_F(Filesystem, NamesInAnyLanguage) {
    for (const char* name : {"\xc3\xa9t\xc3\xa9.txt", "\xe2\x82\xac.txt",
                             "\xe6\xbc\xa2\xe5\xad\x97", "\xf0\x9f\x98\x80.bin", "with blank"}) {
        const std::string made = file(name, name);
        EXPECT_EQ(read_all(made), name);
        const std::string renamed = path(std::string("renamed ") + name);
        EXPECT_EQ(wiq_rename(made.c_str(), renamed.c_str()), 0);
        EXPECT_EQ(wiq_access(made.c_str(), 0), WIQ_ERR_ACCESS_DENIED);
        EXPECT_EQ(read_all(renamed), name);
        EXPECT_EQ(wiq_unlink(renamed.c_str()), 0);
        const std::string dir = path(std::string("dir ") + name);
        EXPECT_EQ(wiq_mkdir(dir.c_str()), 0);
        EXPECT_EQ(wiq_rmdir(dir.c_str()), 0);
    }
}

TEST_F(Filesystem, LongNames) {
    const std::string name(200, 'n');
    EXPECT_EQ(read_all(file(name, "long")), "long");
    const std::string too_long(300, 'n');
    u32 err = 0;
    EXPECT_EQ(wiq_fopen((root_ + "\\" + too_long).c_str(), "w", &err), nullptr);
    EXPECT_NE(err, 0u);
    // Longer than any buffer in which a path is converted without allocating.
    const std::string far(5000, 'd');
    EXPECT_EQ(wiq_fopen((root_ + "\\" + far).c_str(), "r", &err), nullptr);
    EXPECT_NE(err, 0u);
}

// The systems' own limit for a name is 255 units.
TEST_F(Filesystem, NamesAtTheSystemsLimit) {
    EXPECT_EQ(read_all(file(std::string(255, 'n'), "longest")), "longest");
    const std::string dir = path(std::string(255, 'd'));
    EXPECT_EQ(wiq_mkdir(dir.c_str()), 0);
    const std::string inside = dir + "\\" + std::string(255, 'f');
    made_.push_back(inside);
    u32 err = 0;
    FILE* fp = wiq_fopen(inside.c_str(), "w", &err);
    ASSERT_NE(fp, nullptr) << static_cast<i32>(err);
    fclose(fp);
    EXPECT_EQ(wiq_rename(inside.c_str(), (dir + "\\" + std::string(256, 'f')).c_str()),
              WIQ_ERR_NOT_FOUND);
    EXPECT_EQ(wiq_access(inside.c_str(), 0), 0) << "a file that cannot be renamed is unchanged";
    EXPECT_NE(wiq_mkdir((root_ + "\\" + std::string(256, 'd')).c_str()), 0);
    // Letters of two bytes each.
    std::string letters;
    for (int i = 0; i < 127; ++i)
        letters += "\xC3\xA9";
    EXPECT_EQ(read_all(file(letters, "letters")), "letters");
}

// Longer than the 260 characters that Windows accepts in plain names; relative, with both separators and with
// "..".
TEST_F(Filesystem, PathsOfAnyLength) {
    std::string deep = root_;
    for (char level = 'a'; level < 'g'; ++level) {
        deep += "\\" + std::string(100, level);
        made_.push_back(deep);
    }
    ASSERT_EQ(wiq_mkdir(deep.c_str()), 0);
    EXPECT_EQ(wiq_mkdir(deep.c_str()), WIQ_ERR_ALREADY_EXISTS);
    EXPECT_EQ(wiq_access(deep.c_str(), 0), 0);
    const std::string f = deep + "\\f";
    u32 err = 9;
    FILE* fp = wiq_fopen(f.c_str(), "wb", &err);
    ASSERT_NE(fp, nullptr) << static_cast<i32>(err);
    fputs("deep", fp);
    fclose(fp);
    std::string slashes = f;
    for (char& c : slashes)
        c = c == '\\' ? '/' : c;
    EXPECT_EQ(read_all(slashes), "deep");
    EXPECT_EQ(read_all(deep + "\\.\\..\\" + std::string(100, 'f') + "/f"), "deep");
    EXPECT_EQ(wiq_rename(f.c_str(), (deep + "\\g").c_str()), 0);
    EXPECT_EQ(wiq_rename((deep + "\\g").c_str(), deep.c_str()), WIQ_ERR_IO) << "taken";
    EXPECT_EQ(wiq_rename((deep + "\\g").c_str(), (root_ + "\\g").c_str()), 0);
    EXPECT_EQ(wiq_rename((root_ + "\\g").c_str(), slashes.c_str()), 0);
    EXPECT_EQ(wiq_access(slashes.c_str(), 6), 0);
    EXPECT_EQ(wiq_unlink(f.c_str()), 0);
    EXPECT_EQ(wiq_unlink(f.c_str()), WIQ_ERR_NOT_FOUND);
    std::string tmpl = deep + "\\XXXXXX";
    fp = wiq_mkstemp(tmpl.data(), &err, "w");
    ASSERT_NE(fp, nullptr) << static_cast<i32>(err);
    fclose(fp);
    EXPECT_EQ(tmpl.size(), deep.size() + 7);
    EXPECT_EQ(wiq_unlink(tmpl.c_str()), 0);
    EXPECT_EQ(wiq_fopen((deep + "\\none").c_str(), "r", &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_NOT_FOUND);
    EXPECT_EQ(wiq_fopen(deep.c_str(), "r", &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_ACCESS_DENIED);
    EXPECT_EQ(wiq_rmdir(deep.c_str()), 0);
    EXPECT_EQ(wiq_rmdir(deep.c_str()), WIQ_ERR_IO);
}

#ifdef _WIN32
TEST_F(Filesystem, DriveForms) {
    const std::string made = file("f.txt", "drive");
    char* dir = wiq_install_dir();
    ASSERT_NE(dir, nullptr);
    const std::string drive(dir, 2);
    free(dir);
    ASSERT_EQ(drive[1], ':');
    char full[1024];
    ASSERT_NE(_fullpath(full, made.c_str(), sizeof(full)), nullptr);
    EXPECT_EQ(read_all(full), "drive") << "drive and root";
    std::string slashes = full;
    for (char& c : slashes)
        c = c == '\\' ? '/' : c;
    EXPECT_EQ(read_all(slashes), "drive") << "with the other separator";
    EXPECT_EQ(read_all(std::string(full, 2) + made), "drive")
        << "a drive without a root: from the drive's current directory";
    EXPECT_EQ(read_all(full + 2), "drive") << "a root without a drive: the current one";
    EXPECT_EQ(read_all(std::string("\\\\?\\") + full), "drive") << "the system's long form";
    EXPECT_EQ(wiq_mkdir((drive + "\\").c_str()), WIQ_ERR_ALREADY_EXISTS) << drive;
}

TEST_F(Filesystem, ReadOnlyFilesCannotBeUnlinked) {
    const std::string made = file("f.txt");
    ASSERT_EQ(_chmod(made.c_str(), _S_IREAD), 0);
    EXPECT_EQ(wiq_unlink(made.c_str()), WIQ_ERR_ACCESS_DENIED);
    EXPECT_EQ(read_all(made), "content");
    ASSERT_EQ(_chmod(made.c_str(), _S_IREAD | _S_IWRITE), 0);
}
#else
// Runs the body as a user to whom permissions apply.
template <class Body>
void as_plain_user(Body body) {
    constexpr uid_t kNobody = 65534;
    const uid_t before = geteuid();
    if (before == 0) {
        ASSERT_EQ(seteuid(kNobody), 0);
    }
    body();
    ASSERT_EQ(seteuid(before), 0);
}

TEST_F(Filesystem, ForbiddenAccessIsDenied) {
    const std::string dir = path("closed");
    ASSERT_EQ(wiq_mkdir(dir.c_str()), 0);
    const std::string made = file("closed\\f.txt");
    const std::string native = root_ + "/closed";
    ASSERT_EQ(chmod((native + "/f.txt").c_str(), 0444), 0);
    ASSERT_EQ(chmod(native.c_str(), 0555), 0);
    as_plain_user([&] {
        u32 err = 0;
        EXPECT_EQ(wiq_fopen(made.c_str(), "w", &err), nullptr) << "a read-only file";
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_ACCESS_DENIED);
        EXPECT_EQ(wiq_fopen((dir + "\\new").c_str(), "w", &err), nullptr);
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_ACCESS_DENIED);
        EXPECT_EQ(wiq_mkdir((dir + "\\new").c_str()), WIQ_ERR_ACCESS_DENIED);
        EXPECT_EQ(wiq_mkdir((dir + "\\new\\newer").c_str()), WIQ_ERR_ACCESS_DENIED);
        EXPECT_EQ(wiq_unlink(made.c_str()), WIQ_ERR_ACCESS_DENIED);
        EXPECT_EQ(wiq_rename(made.c_str(), (dir + "\\g.txt").c_str()), WIQ_ERR_ACCESS_DENIED);
        std::string tmpl = dir + "\\tXXXXXX";
        EXPECT_EQ(wiq_mkstemp(tmpl.data(), &err, "w"), nullptr);
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_ACCESS_DENIED);
    });
    ASSERT_EQ(chmod(native.c_str(), 0755), 0);
    EXPECT_EQ(read_all(made), "content") << "nothing is lost";
}
#endif

TEST_F(Filesystem, Access) {
    const std::string made = file("f.txt");
    for (int mode : {0, 2, 4, 6})
        EXPECT_EQ(wiq_access(made.c_str(), mode), 0) << mode;
    EXPECT_EQ(wiq_access((root_ + "\\none").c_str(), 0), WIQ_ERR_ACCESS_DENIED);
    EXPECT_EQ(wiq_access(nullptr, 0), 0) << "a NULL path is not a failure";
}

#ifdef _WIN32
// Whether writing is refused as well depends on who runs the tests; a superuser may write.
TEST_F(Filesystem, ReadOnlyFilesGiveNoWriteAccess) {
    const std::string made = file("f.txt");
    ASSERT_EQ(_chmod(made.c_str(), _S_IREAD), 0);
    EXPECT_EQ(wiq_access(made.c_str(), 2), WIQ_ERR_ACCESS_DENIED);
    EXPECT_EQ(wiq_access(made.c_str(), 6), WIQ_ERR_ACCESS_DENIED);
    EXPECT_EQ(wiq_access(made.c_str(), 4), 0);
    EXPECT_EQ(read_all(made), "content");
    ASSERT_EQ(_chmod(made.c_str(), _S_IREAD | _S_IWRITE), 0);
}
#endif

TEST_F(Filesystem, MkdirMakesParents) {
    const std::string x = path("x");
    const std::string y = path("x\\y");
    EXPECT_EQ(wiq_mkdir((y + "\\").c_str()), 0);
    EXPECT_EQ(wiq_access(y.c_str(), 0), 0);
    EXPECT_EQ(wiq_mkdir((y + "\\").c_str()), WIQ_ERR_ALREADY_EXISTS);
    EXPECT_EQ(wiq_mkdir((y + "/").c_str()), WIQ_ERR_ALREADY_EXISTS);
    EXPECT_EQ(wiq_mkdir(x.c_str()), WIQ_ERR_ALREADY_EXISTS);
    EXPECT_EQ(wiq_mkdir(nullptr), WIQ_ERR_INVALID_ARG);
}

TEST_F(Filesystem, MkdirManyLevels) {
    std::string deep = root_;
    for (int level = 0; level < 12; ++level) {
        deep += "\\d";
        made_.push_back(deep);
    }
    EXPECT_EQ(wiq_mkdir(deep.c_str()), 0);
    EXPECT_EQ(wiq_access(deep.c_str(), 0), 0);
}

TEST_F(Filesystem, MkdirWhereAFileExists) {
    const std::string made = file("f");
    EXPECT_EQ(wiq_mkdir(made.c_str()), WIQ_ERR_PATH_NOT_FOUND);
    EXPECT_EQ(wiq_mkdir((made + "\\below").c_str()), WIQ_ERR_PATH_NOT_FOUND);
    EXPECT_EQ(wiq_mkdir((made + "\\below\\more").c_str()), WIQ_ERR_PATH_NOT_FOUND);
    EXPECT_EQ(read_all(made), "content");
}

TEST_F(Filesystem, MkdirOfAnEmptyName) {
    EXPECT_NE(wiq_mkdir(""), 0);
}

TEST_F(Filesystem, MkdirParents) {
    const std::string dir = path("dir");
    EXPECT_EQ(wiq_mkdir_parents((dir + "\\file.txt").c_str()), 0);
    EXPECT_EQ(wiq_access(dir.c_str(), 0), 0);
    EXPECT_EQ(wiq_access((dir + "\\file.txt").c_str(), 0), WIQ_ERR_ACCESS_DENIED);
    EXPECT_EQ(wiq_mkdir_parents((dir + "\\file.txt").c_str()), WIQ_ERR_ALREADY_EXISTS);
    EXPECT_EQ(wiq_mkdir_parents("file.txt"), 0);
    EXPECT_EQ(wiq_mkdir_parents("a/b.txt"), 0) << "only a backslash makes a level";
    EXPECT_EQ(wiq_access("a", 0), WIQ_ERR_ACCESS_DENIED);
    EXPECT_EQ(wiq_mkdir_parents(nullptr), WIQ_ERR_INVALID_ARG);
}

TEST_F(Filesystem, Rmdir) {
    const std::string dir = path("dir");
    EXPECT_EQ(wiq_mkdir(dir.c_str()), 0);
    const std::string inside = file("dir\\f");
    EXPECT_EQ(wiq_rmdir(dir.c_str()), WIQ_ERR_IO) << "not empty";
    EXPECT_EQ(wiq_unlink(inside.c_str()), 0);
    EXPECT_EQ(wiq_rmdir(dir.c_str()), 0);
    EXPECT_EQ(wiq_rmdir(dir.c_str()), WIQ_ERR_IO) << "not there";
    EXPECT_EQ(wiq_rmdir(nullptr), WIQ_ERR_INVALID_ARG);
}

TEST_F(Filesystem, Rename) {
    const std::string made = file("a");
    const std::string to = path("b");
    EXPECT_EQ(wiq_rename(made.c_str(), to.c_str()), 0);
    EXPECT_EQ(read_all(to), "content");
    EXPECT_EQ(wiq_rename(made.c_str(), to.c_str()), WIQ_ERR_NOT_FOUND);
    EXPECT_EQ(wiq_rename(nullptr, to.c_str()), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_rename(to.c_str(), nullptr), WIQ_ERR_INVALID_ARG);
}

TEST_F(Filesystem, RenameDoesNotReplace) {
    const std::string f = file("f", "f");
    const std::string g = file("g", "g");
    const std::string d = path("d");
    const std::string e = path("e");
    ASSERT_EQ(wiq_mkdir(d.c_str()), 0);
    ASSERT_EQ(wiq_mkdir(e.c_str()), 0);
    const std::string x = file("e\\x", "x");
    struct Row {
        const std::string &from, &to;
    };
    const std::string below = d + "\\below";
    for (const Row& row : {Row{f, g}, Row{f, d}, Row{f, e}, Row{d, f}, Row{d, e}, Row{e, d},
                           Row{d, below}, Row{x, f}})
        EXPECT_EQ(wiq_rename(row.from.c_str(), row.to.c_str()), WIQ_ERR_IO)
            << row.from << " to " << row.to;
    EXPECT_EQ(read_all(f), "f");
    EXPECT_EQ(read_all(g), "g");
    EXPECT_EQ(read_all(x), "x");
    EXPECT_EQ(wiq_mkdir(d.c_str()), WIQ_ERR_ALREADY_EXISTS);
    const std::string none = root_ + "\\none";
    EXPECT_EQ(wiq_rename(none.c_str(), g.c_str()), WIQ_ERR_NOT_FOUND);
    EXPECT_EQ(wiq_rename(none.c_str(), none.c_str()), WIQ_ERR_NOT_FOUND);
}

TEST_F(Filesystem, RenameToTheSameName) {
    const std::string f = file("f", "f");
    const std::string d = path("d");
    ASSERT_EQ(wiq_mkdir(d.c_str()), 0);
    const std::string nested = file("d\\f", "nested");
    for (const std::string& name : {f, d, nested}) {
        EXPECT_EQ(wiq_rename(name.c_str(), name.c_str()), 0) << name;
        EXPECT_EQ(wiq_rename(name.c_str(), (".\\" + name).c_str()), 0) << name;
        std::string other = name;
        other[root_.size()] = '/';
        EXPECT_EQ(wiq_rename(other.c_str(), name.c_str()), 0) << name;
    }
    EXPECT_EQ(wiq_rename(d.c_str(), (d + "\\").c_str()), 0);
    EXPECT_EQ(wiq_rename((d + "/").c_str(), d.c_str()), 0);
    EXPECT_EQ(wiq_rename(f.c_str(), (d + "\\..\\f").c_str()), 0)
        << "the same file by a different path";
    // The same last name in another directory is a different name.
    EXPECT_EQ(wiq_rename(f.c_str(), nested.c_str()), WIQ_ERR_IO);
    EXPECT_EQ(read_all(f), "f");
    EXPECT_EQ(read_all(nested), "nested");
}

#ifndef _WIN32
TEST_F(Filesystem, RenameToAnotherNameOfTheSameFile) {
    const std::string a = file("a", "both");
    const std::string b = path("b");
    ASSERT_EQ(link((root_ + "/a").c_str(), (root_ + "/b").c_str()), 0);
    EXPECT_EQ(wiq_rename(a.c_str(), b.c_str()), WIQ_ERR_IO);
    EXPECT_EQ(read_all(a), "both");
    EXPECT_EQ(read_all(b), "both");
    // Names without a directory, in the current directory.
    const int here = open(".", O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(chdir(root_.c_str()), 0);
    EXPECT_EQ(wiq_rename("a", "b"), WIQ_ERR_IO);
    EXPECT_EQ(wiq_rename("a", "a"), 0);
    EXPECT_EQ(wiq_rename("a", "/"), WIQ_ERR_IO);
    EXPECT_EQ(wiq_rename("a", "."), WIQ_ERR_IO);
    EXPECT_EQ(fchdir(here), 0);
    close(here);
    EXPECT_EQ(read_all(a), "both");
    // The name of a dangling link counts as taken.
    const std::string nowhere = path("nowhere");
    ASSERT_EQ(symlink("none", (root_ + "/nowhere").c_str()), 0);
    EXPECT_EQ(wiq_rename(a.c_str(), nowhere.c_str()), WIQ_ERR_IO);
    EXPECT_EQ(read_all(a), "both");
    EXPECT_EQ(wiq_rename(nowhere.c_str(), path("elsewhere").c_str()), 0) << "links themselves";
}

TEST_F(Filesystem, TemporaryFilesInEveryMode) {
    struct Row {
        const char* mode;
        bool reads;
    };
    for (const Row& row : {Row{"w", false}, Row{"wb", false}, Row{"a", false}, Row{"w+", true},
                           Row{"w+b", true}, Row{"wb+", true}, Row{"a+", true}}) {
        std::string tmpl = root_ + "\\tXXXXXX";
        FILE* fp = wiq_mkstemp(tmpl.data(), nullptr, row.mode);
        ASSERT_NE(fp, nullptr) << row.mode;
        EXPECT_EQ(fputs("text", fp), 1) << row.mode;
        rewind(fp);
        EXPECT_EQ(fgetc(fp) == 't', row.reads) << row.mode;
        fclose(fp);
        EXPECT_EQ(read_all(tmpl), "text");
        EXPECT_EQ(wiq_unlink(tmpl.c_str()), 0);
    }
}
#endif

TEST_F(Filesystem, Unlink) {
    const std::string made = file("f");
    EXPECT_EQ(wiq_unlink(made.c_str()), 0);
    EXPECT_EQ(wiq_unlink(made.c_str()), WIQ_ERR_NOT_FOUND);
    EXPECT_EQ(wiq_unlink((root_ + "\\none\\f").c_str()), WIQ_ERR_NOT_FOUND);
    EXPECT_EQ(wiq_unlink(root_.c_str()), WIQ_ERR_ACCESS_DENIED) << "a directory is not a file";
    EXPECT_EQ(wiq_unlink(nullptr), WIQ_ERR_INVALID_ARG);
}

TEST_F(Filesystem, MkstempMakesANewFile) {
    std::string first = root_ + "\\tXXXXXX";
    std::string second = first;
    u32 err = 9;
    FILE* a = wiq_mkstemp(first.data(), &err, "w+b");
    ASSERT_NE(a, nullptr) << static_cast<i32>(err);
    EXPECT_EQ(err, 0u);
    FILE* b = wiq_mkstemp(second.data(), &err, "wb");
    ASSERT_NE(b, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(first.find("XXXXXX"), std::string::npos);
    EXPECT_EQ(fputs("text", a) < 0, false);
    rewind(a);
    char text[8] = {};
    EXPECT_STREQ(fgets(text, sizeof(text), a), "text");
    fclose(a);
    fclose(b);
    EXPECT_EQ(wiq_unlink(first.c_str()), 0);
    EXPECT_EQ(wiq_unlink(second.c_str()), 0);
}

TEST_F(Filesystem, MkstempInFoldersOfAnyLanguage) {
    for (const char* name : {"\xc3\xa9t\xc3\xa9", "\xe2\x82\xac", "\xe6\xbc\xa2\xe5\xad\x97",
                             "\xf0\x9f\x98\x80", "plain"}) {
        const std::string dir = path(name);
        ASSERT_EQ(wiq_mkdir(dir.c_str()), 0);
        std::vector<std::string> made;
        // As many as the runtime of Windows can name; each file still exists when the next is made.
        for (int i = 0; i < 26; ++i) {
            std::string tmpl = dir + "\\\xc3\xa9XXXXXX";
            u32 err = 9;
            FILE* fp = wiq_mkstemp(tmpl.data(), &err, "wb");
            ASSERT_NE(fp, nullptr) << name << " " << i << " " << static_cast<i32>(err);
            EXPECT_EQ(err, 0u);
            fputs(tmpl.c_str(), fp);
            fclose(fp);
            EXPECT_EQ(tmpl.compare(0, tmpl.size() - 6, dir + "\\\xc3\xa9"), 0);
            made.push_back(tmpl);
        }
        for (const std::string& file : made) {
            EXPECT_EQ(read_all(file), file) << "each file has a name of its own";
            EXPECT_EQ(wiq_unlink(file.c_str()), 0);
        }
    }
}

TEST_F(Filesystem, MkstempRefusesBadTemplates) {
    for (const char* bad : {"abXXXXX", "XXXXX", "", "abc", "XXXXXXa", "XXXXXx"}) {
        std::string tmpl = bad;
        u32 err = 0;
        EXPECT_EQ(wiq_mkstemp(tmpl.data(), &err, "w"), nullptr) << bad;
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
        EXPECT_EQ(tmpl, bad);
    }
    u32 err = 0;
#ifndef _WIN32
    // The runtime of Windows would end a program that passes it an invalid mode.
    std::string good = root_ + "\\XXXXXX";
    EXPECT_EQ(wiq_mkstemp(good.data(), &err, "q"), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_IO);
    EXPECT_EQ(wiq_fopen((root_ + "\\f").c_str(), "", &err), nullptr);
    EXPECT_NE(err, 0u);
    err = 0;
    EXPECT_EQ(wiq_fopen((root_ + "\\f").c_str(), "q", &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_IO);
#endif
    EXPECT_EQ(wiq_mkstemp(nullptr, &err, "w"), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_INVALID_ARG);
    std::string tmpl = root_ + "\\XXXXXX";
    EXPECT_EQ(wiq_mkstemp(tmpl.data(), nullptr, nullptr), nullptr);
    EXPECT_EQ(wiq_mkstemp(tmpl.data(), &err, "r"), nullptr) << "reading makes no file";
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_NOT_FOUND);
}

TEST(Locations, InstallDirHoldsThisProgram) {
    char* dir = wiq_install_dir();
    ASSERT_NE(dir, nullptr);
#ifdef _WIN32
    char* program = wiq_build_path(dir, "test_fs.exe");
#else
    char* program = wiq_build_path(dir, "test_fs");
#endif
    EXPECT_EQ(wiq_access(program, 0), 0) << program;
    free(program);
    free(dir);
}

TEST(Locations, HomeDirIsTheUsers) {
    char* dir = wiq_home_dir();
    ASSERT_NE(dir, nullptr);
    EXPECT_NE(dir[0], '\0');
#ifdef _WIN32
    EXPECT_STREQ(dir, getenv("USERPROFILE"));
#endif
    free(dir);
}

}  // namespace
