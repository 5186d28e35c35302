// The replacement of a file: wherever the tool is stopped, the file has its old contents or its new ones and
// no other file is left. Files that must not be replaced are not.
#include <gtest/gtest.h>

#include <cstdlib>

#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "tools/folder.h"
#include "tools/process.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

class KeReplacement : public Folder {};

void set_end(const char* step) {
#ifdef _WIN32
    SetEnvironmentVariableA("KE_END_AT", step);
    _putenv_s("KE_END_AT", step);
#else
    setenv("KE_END_AT", step, 1);
#endif
}

TEST_F(KeReplacement, IsOldOrNewWhereverItEnds) {
    const std::string before = "{\"a\": 1.50}\n";
    const std::string after = "{\"a\": 2}\n";
    bool old_seen = false;
    bool new_seen = false;
    for (const char* step : {"created", "written", "flushed", "metadata", "named", "renamed"}) {
        SCOPED_TRACE(step);
        write_file(in("r.json"), before);
        set_end(step);
        const Outcome outcome =
            run_program("ke_ended", {"json", "set", "/a", "2", in("r.json"), "--in-place"});
        EXPECT_EQ(outcome.status, 99) << outcome.err;
        const std::string now = read_file(in("r.json"));
        old_seen = old_seen || now == before;
        new_seen = new_seen || now == after;
        EXPECT_TRUE(now == before || now == after) << now;
        // Only between naming and renaming does the complete file have a second name.
        for (const std::string& name : names()) {
            if (name != "r.json") {
                EXPECT_TRUE(std::string(step) == "named" || std::string(step) == "metadata")
                    << name;
                EXPECT_EQ(read_file(in(name)), after);
                wiq_unlink(in(name).c_str());
            }
        }
    }
    EXPECT_TRUE(old_seen);
    EXPECT_TRUE(new_seen);
    set_end("never");
    EXPECT_EQ(
        run_program("ke_ended", {"json", "set", "/a", "2", in("r.json"), "--in-place"}).status, 0);
    EXPECT_EQ(names(), std::vector<std::string>{"r.json"});
}

TEST_F(KeReplacement, RefusesFolders) {
    ASSERT_EQ(wiq_mkdir(in("sub").c_str()), 0);
    const Outcome outcome = ke({"number", "7", "-o", in("sub")});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.err.find("is a directory"), std::string::npos) << outcome.err;
    EXPECT_EQ(names(), std::vector<std::string>{"sub"});
    EXPECT_EQ(wiq_rmdir(in("sub").c_str()), 0);
}

TEST_F(KeReplacement, RefusesReadOnlyFiles) {
    write_file(in("r.json"), "{\"a\":1}");
#ifdef _WIN32
    std::string path = in("r.json");
    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY);
#else
    chmod((folder() + "/r.json").c_str(), 0444);
#endif
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {"json", "set", "/a", "2", in("r.json"), "--in-place"},
             {"number", "7", "-o", in("r.json")}}) {
        const Outcome outcome = ke(args);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_NE(outcome.err.find("read-only"), std::string::npos) << outcome.err;
        EXPECT_EQ(read_file(in("r.json")), "{\"a\":1}");
    }
    EXPECT_EQ(names(), std::vector<std::string>{"r.json"});
#ifdef _WIN32
    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
#endif
}

TEST_F(KeReplacement, WritesIntoTheNullDevice) {
#ifdef _WIN32
    EXPECT_EQ(ke({"number", "7", "-o", "NUL"}).status, 0);
#else
    EXPECT_EQ(ke({"number", "7", "-o", "/dev/null"}).status, 0);
    struct stat facts = {};
    ASSERT_EQ(stat("/dev/null", &facts), 0);
    EXPECT_TRUE(S_ISCHR(facts.st_mode)) << "it is still a device";
    const Outcome full = ke({"number", "7", "-o", "/dev/full"});
    EXPECT_EQ(full.status, 2);
    EXPECT_NE(full.err.find("No space left"), std::string::npos) << full.err;
#endif
}

#ifdef _WIN32
TEST_F(KeReplacement, KeepsTheAttributes) {
    write_file(in("r.json"), "{\"a\":1}");
    const std::string path = in("r.json");
    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_HIDDEN);
    EXPECT_EQ(ke({"json", "set", "/a", "2", path, "--in-place"}).status, 0);
    EXPECT_EQ(read_file(path), "{\"a\":2}");
    EXPECT_NE(GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0u);
    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
}
#else
TEST_F(KeReplacement, KeepsModeAndOwner) {
    write_file(in("r.json"), "{\"a\":1}");
    const std::string path = folder() + "/r.json";
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    const bool owned = geteuid() == 0 && chown(path.c_str(), 1234, 4321) == 0;
    EXPECT_EQ(ke({"json", "set", "/a", "2", path, "--in-place"}).status, 0);
    struct stat facts = {};
    ASSERT_EQ(stat(path.c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777, 0640u);
    if (owned) {
        EXPECT_EQ(facts.st_uid, 1234u);
        EXPECT_EQ(facts.st_gid, 4321u);
    }
    EXPECT_EQ(read_file(in("r.json")), "{\"a\":2}");
}

TEST_F(KeReplacement, FollowsLinks) {
    write_file(in("r.json"), "{\"a\":1}");
    ASSERT_EQ(symlink("r.json", (folder() + "/one").c_str()), 0);
    ASSERT_EQ(symlink("one", (folder() + "/two").c_str()), 0);
    EXPECT_EQ(ke({"json", "set", "/a", "2", in("two"), "--in-place"}).status, 0);
    EXPECT_EQ(read_file(in("r.json")), "{\"a\":2}");
    struct stat facts = {};
    ASSERT_EQ(lstat((folder() + "/two").c_str(), &facts), 0);
    EXPECT_TRUE(S_ISLNK(facts.st_mode));
    ASSERT_EQ(symlink("new", (folder() + "/dangling").c_str()), 0);
    EXPECT_EQ(ke({"number", "7", "-o", in("dangling")}).status, 0);
    EXPECT_EQ(read_file(in("new")), "7\n");
}

TEST_F(KeReplacement, WritesIntoFifos) {
    const std::string path = folder() + "/fifo";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    FILE* reader = popen(("cat " + path).c_str(), "r");
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(ke({"number", "7", "-o", path}).status, 0);
    char line[16] = {};
    EXPECT_NE(fgets(line, sizeof(line), reader), nullptr);
    EXPECT_STREQ(line, "7\n");
    pclose(reader);
    struct stat facts = {};
    ASSERT_EQ(lstat(path.c_str(), &facts), 0);
    EXPECT_TRUE(S_ISFIFO(facts.st_mode));
}
#endif

}  // namespace
