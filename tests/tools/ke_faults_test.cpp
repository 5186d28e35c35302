// Every call of the system that the tool makes fails, once alone and once with all later ones. A command that succeeds
// has done its work; one that fails has changed nothing; and no other file is left.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <set>
#include <string>

#include "ke_utils/files.h"
#include "tools/folder.h"
#include "tools/process.h"

namespace {

using Names = std::set<std::string>;

constexpr const char* kLog = "ke_faults.log";

class KeFaults : public Folder {
  protected:
    void SetUp() override {
        Folder::SetUp();
        setenv("KE_FAIL_LOG", kLog, 1);
    }
    void TearDown() override {
        for (const char* name :
             {"LD_PRELOAD", "KE_FAIL_LOG", "KE_FAIL_AT", "KE_FAIL_REASON", "KE_FAIL_ALL"})
            unsetenv(name);
        wiq_unlink(kLog);
        Folder::TearDown();
    }

    static Names names_in_log() {
        Names names;
        const std::string log = read_file(kLog);
        if (log == "(absent)")
            return names;
        for (size_t start = 0; start < log.size();) {
            const size_t end = log.find('\n', start);
            names.insert(log.substr(start, end - start));
            start = end + 1;
        }
        return names;
    }

    // Runs a command with each of its calls failing. `prepare` makes its files; `check` gets the outcome, and
    // the functions that have failed. Returns all functions that have failed.
    static Names sweep(const std::function<Outcome()>& run, const std::function<void()>& prepare,
                       const std::function<void(const Outcome&, const Names&)>& check) {
        constexpr int kLimit = 500;
        Names all;
        for (const int reason : {EINTR, EIO}) {
            // An interrupted call may be repeated, so the tool might never end if all later calls were interrupted.
            for (const bool all_later : {false, true}) {
                if (all_later && reason == EINTR)
                    continue;
                for (int at = 1;; ++at) {
                    prepare();
                    wiq_unlink(kLog);
                    setenv("KE_FAIL_AT", std::to_string(at).c_str(), 1);
                    setenv("KE_FAIL_REASON", std::to_string(reason).c_str(), 1);
                    setenv("KE_FAIL_ALL", all_later ? "1" : "0", 1);
                    setenv("LD_PRELOAD", (program_folder() + "/ke_failing_calls.so").c_str(), 1);
                    const Outcome outcome = run();
                    unsetenv("LD_PRELOAD");
                    const Names fired = names_in_log();
                    SCOPED_TRACE(std::string(strerror(reason)) + ": " +
                                 testing::PrintToString(fired) + " " + outcome.err);
                    EXPECT_NE(outcome.status, -1) << "ended by a signal";
                    check(outcome, fired);
                    if (testing::Test::HasFailure() || at > kLimit) {
                        ADD_FAILURE() << "at call " << at;
                        return all;
                    }
                    if (fired.empty())
                        break;
                    all.insert(fired.begin(), fired.end());
                }
            }
        }
        return all;
    }
};

TEST_F(KeFaults, WritingToStandardOutput) {
    write_file(in("r.json"), "{\"b\": [1, 2.50], \"a\": \"text\"}\n");
    const std::string file = in("r.json");
    const struct {
        std::vector<std::string> args;
        std::string input;
    } rows[] = {
        {{"json", "format", file}, ""},
        {{"json", "format"}, "[1, 2]"},
        {{"json", "get", "/b/1", file}, ""},
        {{"json", "diff", file, "-"}, "{}"},
        {{"number", "7"}, ""},
        {{"base64", "encode", file}, ""},
        {{"dump", file}, ""},
        {{"ini", "to-json"}, "[s]\nk = v\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.args[0] + " " + row.args[1]);
        const Outcome good = ke(row.args, row.input);
        const auto run = [&row] { return ke(row.args, row.input); };
        const Names fired = sweep(
            run, [] {},
            [&good](const Outcome& outcome, const Names& failed) {
                if (outcome.status == good.status) {
                    EXPECT_EQ(outcome.out, good.out) << "reported as a success";
                } else {
                    EXPECT_FALSE(failed.empty());
                }
            });
        EXPECT_TRUE(fired.count("fwrite") != 0 || fired.count("write") != 0);
        if (HasFailure())
            return;
    }
}

// In each case the file is reached by a symbolic link, which remains one.
TEST_F(KeFaults, ReplacingAFile) {
    const struct {
        std::vector<std::string> args;
        std::string before;
    } rows[] = {
        {{"json", "set", "/a", "2", in("link"), "--in-place"}, "{\"a\": 1.50}\n"},
        {{"json", "format", in("link"), "--in-place"}, "[1,2]"},
        {{"ini", "set", "s", "k", "w", in("link"), "--in-place"}, "[s]\nk = v\n"},
        {{"number", "7", "-o", in("link")}, "old"},
    };
    const std::string link = folder() + "/link";
    for (const auto& row : rows) {
        SCOPED_TRACE(row.args[0] + " " + row.args[1]);
        const auto prepare = [&] {
            unlink(link.c_str());
            ASSERT_EQ(symlink("file", link.c_str()), 0);
            write_file(in("file"), row.before);
        };
        prepare();
        const auto run = [&row] { return ke(row.args); };
        ASSERT_EQ(run().status, 0);
        const std::string after = read_file(in("file"));
        ASSERT_NE(after, row.before);
        const Names fired = sweep(run, prepare, [&](const Outcome& outcome, const Names& failed) {
            const std::string now = read_file(in("file"));
            EXPECT_TRUE(now == row.before || now == after) << now;
            if (outcome.status == 0) {
                EXPECT_EQ(now, after) << "reported as a success";
            }
            char target[10] = {};
            EXPECT_EQ(readlink(link.c_str(), target, sizeof(target) - 1), 4);
            EXPECT_STREQ(target, "file") << "the link was replaced";
            for (const std::string& name : names()) {
                if (name == "file" || name == "link")
                    continue;
                EXPECT_EQ(failed.count("unlink"), 1u) << name << " is left over";
                wiq_unlink(in(name).c_str());
            }
        });
        EXPECT_EQ(fired.count("fsync"), 1u);
        EXPECT_EQ(fired.count("rename"), 1u);
        if (HasFailure())
            return;
    }
}

}  // namespace
