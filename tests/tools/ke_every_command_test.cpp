// Every command of ke in every situation: valid, invalid, empty and large input, non-ASCII names, a closed
// output pipe, a full disk, and an end in the middle of --in-place. The table must name all commands.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "ke_utils/files.h"
#include "tools/folder.h"
#include "tools/process.h"

#ifndef _WIN32
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#endif

namespace {

enum class Format { none, json, ini, bytes, base64 };

struct Command {
    std::vector<std::string> words;  // the command's name
    std::vector<std::string> args;   // the arguments before the FILE
    Format format = Format::none;    // of its input
    int status_of_empty = 2;         // its exit status for an empty file
    bool in_place = false;           // accepts --in-place
    bool silent = false;             // a successful run prints nothing
    const char* second = "";         // contents of its second file, "" if it takes none
    bool second_is_last = false;     // the second file comes after the FILE
};

const std::vector<Command>& commands() {
    static const std::vector<Command> kAll = {
        {{"json", "format"}, {}, Format::json, 2, true},
        {{"json", "get"}, {"/a"}, Format::json},
        {{"json", "set"}, {"/a", "7"}, Format::json, 2, true},
        {{"json", "remove"}, {"/a"}, Format::json, 2, true},
        {{"json", "merge"}, {}, Format::json, 2, true, false, "{\"a\":7}"},
        {{"json", "patch"},
         {},
         Format::json,
         2,
         true,
         false,
         "[{\"op\":\"replace\",\"path\":\"/a\",\"value\":7}]"},
        {{"json", "paths"}, {}, Format::json},
        {{"json", "types"}, {}, Format::json},
        {{"json", "expand"}, {}, Format::json, 2, true},
        {{"json", "diff"}, {}, Format::json, 2, false, false, "{}", true},
        {{"json", "equal"}, {}, Format::json, 2, false, false, "{}", true},
        {{"json", "subset"}, {}, Format::json, 2, false, true, "{}", true},
        {{"ini", "to-json"}, {}, Format::ini, 0},
        {{"ini", "get"}, {"s", "k"}, Format::ini},
        {{"ini", "set"}, {"s", "k", "7"}, Format::ini, 0, true},
        {{"ini", "remove"}, {"s", "k"}, Format::ini, 2, true},
        {{"ini", "sections"}, {}, Format::ini, 0},
        {{"ini", "keys"}, {"s"}, Format::ini},
        {{"dump"}, {}, Format::bytes, 0},
        {{"base64", "encode"}, {}, Format::bytes, 0},
        {{"base64", "decode"}, {}, Format::base64, 0},
        {{"capacity"}, {"3840"}},
        {{"number"}, {"7"}},
        {{"hash"}, {"abc"}},
        {{"schema"}, {"json", "get"}},
        {{"status"}, {"0"}},
        {{"help"}, {}},
        {{"completion"}, {"bash"}},
    };
    return kAll;
}

std::string name_of(const Command& command) {
    std::string name;
    for (const std::string& word : command.words)
        name += (name.empty() ? "" : " ") + word;
    return name;
}

// Returns a valid text of at least `size` bytes.
std::string good_text(Format format, size_t size) {
    std::string text = format == Format::json  ? "{\"a\": [1.50, \"\xC3\xA9\"], \"b\": [0"
                       : format == Format::ini ? "[s]\nk = v ; why\n"
                                               : "TWFu";
    while (text.size() < size)
        text += format == Format::json  ? ", {\"key\": [1.50, \"text\", null]}"
                : format == Format::ini ? "key" + std::to_string(text.size()) + " = value\n"
                                        : "TWFuTWFuTWFuTWFu";
    return text + (format == Format::json ? "]}\n" : "");
}

std::string bad_text(Format format) {
    return format == Format::json  ? "{\"a\": [1,\n 2,, 3]}"
           : format == Format::ini ? "[s]\nk = v\n[broken\n"
                                   : "TWFu\nTW*u";
}

class KeEveryCommand : public Folder {
  protected:
    // Returns the command line with the file, which not all commands read; writes the second file.
    std::vector<std::string> line(const Command& command, const std::string& file) {
        std::vector<std::string> args = command.words;
        args.insert(args.end(), command.args.begin(), command.args.end());
        const bool has_second = command.second[0] != '\0';
        if (has_second)
            write_file(in("second"), command.second);
        if (has_second && !command.second_is_last)
            args.push_back(in("second"));
        if (command.format != Format::none)
            args.push_back(file);
        if (has_second && command.second_is_last)
            args.push_back(in("second"));
        return args;
    }

    // Returns 0, or 1 for a comparison, which finds a difference.
    static int good_status(const Command& command) { return command.second_is_last ? 1 : 0; }
};

TEST_F(KeEveryCommand, IsInTheTable) {
    std::set<std::string> in_table;
    for (const Command& command : commands())
        in_table.insert(name_of(command));
    std::set<std::string> in_manual;
    const std::string page = read_file(program_folder() + "\\ke.1");
    const std::string heading = ".SS \"ke ";
    for (size_t at = 0; (at = page.find(heading, at)) != std::string::npos;) {
        at += heading.size();
        std::string name = page.substr(at, page.find('"', at) - at);
        std::erase(name, '\\');
        in_manual.insert(name);
    }
    EXPECT_EQ(in_table, in_manual);
}

TEST_F(KeEveryCommand, TakesGoodInputUnderAnyName) {
    const std::string foreign =
        in("Gr\xC3\xB6\xC3\x9F"
           "e \xE6\xB8\xA9\xE5\xBA\xA6.txt");
    for (const Command& command : commands()) {
        SCOPED_TRACE(name_of(command));
        const std::string text = good_text(command.format, 0);
        write_file(in("plain"), text);
        write_file(foreign, text);
        const Outcome outcome = ke(line(command, in("plain")));
        EXPECT_EQ(outcome.status, good_status(command)) << outcome.err;
        EXPECT_EQ(outcome.out.empty(), command.silent);
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(ke(line(command, foreign)).out, outcome.out);
        EXPECT_EQ(ke(line(command, "-"), text).out, outcome.out);
        EXPECT_EQ(read_file(in("plain")), text) << "it was only read";
        std::vector<std::string> to_file = line(command, foreign);
        const std::string target = in("Ausgabe \xE2\x82\xAC");
        to_file.insert(to_file.end(), {"-o", target});
        EXPECT_EQ(ke(to_file).status, good_status(command));
        if (!command.silent) {
            EXPECT_EQ(read_file(target), outcome.out);
        }
    }
}

// The input file is closed before it is replaced.
TEST_F(KeEveryCommand, MayReplaceItsInput) {
    for (const Command& command : commands()) {
        if (command.format == Format::none || command.silent)
            continue;
        SCOPED_TRACE(name_of(command));
        write_file(in("file"), good_text(command.format, 300000));
        std::vector<std::string> args = line(command, in("file"));
        const std::string expected = ke(args).out;
        args.insert(args.end(), {"-o", in("file")});
        const Outcome outcome = ke(args);
        EXPECT_EQ(outcome.status, good_status(command)) << outcome.err;
        EXPECT_EQ(read_file(in("file")), expected);
    }
}

TEST_F(KeEveryCommand, RefusesBadInputAndReportsThePosition) {
    for (const Command& command : commands()) {
        SCOPED_TRACE(name_of(command));
        if (command.format == Format::none || command.format == Format::bytes)
            continue;  // it reads nothing that could be invalid
        write_file(in("bad"), bad_text(command.format));
        const Outcome outcome = ke(line(command, in("bad")));
        EXPECT_EQ(outcome.status, 2);
        const std::string location =
            "ke: " + in("bad") + (command.format == Format::ini ? ":3:" : ":2:");
        EXPECT_EQ(outcome.err.substr(0, location.size()), location) << outcome.err;
        const Outcome absent = ke(line(command, in("absent")));
        EXPECT_EQ(absent.status, 2);
        EXPECT_NE(absent.err.find("absent: "), std::string::npos) << absent.err;
        EXPECT_EQ(absent.out, "");
    }
}

TEST_F(KeEveryCommand, HandlesEmptyInput) {
    write_file(in("empty"), "");
    for (const Command& command : commands()) {
        if (command.format == Format::none)
            continue;
        SCOPED_TRACE(name_of(command));
        const Outcome outcome = ke(line(command, in("empty")));
        EXPECT_EQ(outcome.status, command.status_of_empty) << outcome.err;
        EXPECT_EQ(outcome.err.empty(), outcome.status == 0) << outcome.err;
    }
}

TEST_F(KeEveryCommand, TakesLargeInput) {
    constexpr size_t kSize = 1000000;
    for (const Command& command : commands()) {
        if (command.format == Format::none)
            continue;
        SCOPED_TRACE(name_of(command));
        write_file(in("large"), good_text(command.format, kSize));
        const Outcome outcome = ke(line(command, in("large")));
        EXPECT_EQ(outcome.status, good_status(command)) << outcome.err.substr(0, 1000);
        EXPECT_EQ(outcome.err, "");
    }
}

void set_variable(const char* name, const std::string& value) {
#ifdef _WIN32
    _putenv_s(name, value.c_str());
#else
    setenv(name, value.c_str(), 1);
#endif
}

// Wherever the tool ends, the file has its old contents or its new ones.
TEST_F(KeEveryCommand, KeepsAWholeFileWhereverItEnds) {
    size_t in_place = 0;
    for (const Command& command : commands()) {
        if (!command.in_place)
            continue;
        ++in_place;
        const std::string before = good_text(command.format, 0);
        std::vector<std::string> args = line(command, in("file"));
        args.push_back("--in-place");
        write_file(in("file"), before);
        set_variable("KE_END_AT", "never");
        ASSERT_EQ(run_program("ke_ended", args).status, 0) << name_of(command);
        const std::string after = read_file(in("file"));
        EXPECT_NE(after, before);
        for (const char* step : {"created", "written", "flushed", "metadata", "named", "renamed"}) {
            SCOPED_TRACE(name_of(command) + " ended when " + step);
            write_file(in("file"), before);
            set_variable("KE_END_AT", step);
            EXPECT_EQ(run_program("ke_ended", args).status, 99);
            const std::string now = read_file(in("file"));
            EXPECT_TRUE(now == before || now == after) << now;
            EXPECT_TRUE(std::string(step) != "renamed" || now == after);
            for (const std::string& name : names()) {
                if (name[0] == '.')
                    wiq_unlink(in(name).c_str());
            }
        }
    }
    set_variable("KE_END_AT", "never");
    EXPECT_EQ(in_place, 8u);
}

#ifndef _WIN32
// Runs ke with a descriptor as standard output; returns the status from waitpid().
int status_with_output_at(int fd, const std::vector<std::string>& args, const std::string& err) {
    const std::string program = program_folder() + "/ke";
    std::vector<char*> argv = {const_cast<char*>(program.c_str())};
    for (const std::string& arg : args)
        argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const int messages = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        dup2(fd, STDOUT_FILENO);
        dup2(messages, STDERR_FILENO);
        signal(SIGPIPE, SIG_DFL);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

TEST_F(KeEveryCommand, StopsWhenItsReaderIsGone) {
    for (const Command& command : commands()) {
        SCOPED_TRACE(name_of(command));
        write_file(in("file"), good_text(command.format, 0));
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        close(ends[0]);
        const int status =
            status_with_output_at(ends[1], line(command, in("file")), folder() + "/err");
        close(ends[1]);
        if (command.silent)
            EXPECT_EQ(WEXITSTATUS(status), good_status(command));
        else
            EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGPIPE) << status;
    }
}

TEST_F(KeEveryCommand, ReportsThatTheDiskIsFull) {
    const int full = open("/dev/full", O_WRONLY);
    ASSERT_GE(full, 0);
    for (const Command& command : commands()) {
        if (command.silent)
            continue;
        SCOPED_TRACE(name_of(command));
        write_file(in("file"), good_text(command.format, 0));
        const int status =
            status_with_output_at(full, line(command, in("file")), folder() + "/err");
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 2);
        EXPECT_EQ(read_file(in("err")).substr(0, 20), "ke: standard output:");
        std::vector<std::string> to_file = line(command, in("file"));
        to_file.insert(to_file.end(), {"-o", "/dev/full"});
        const Outcome outcome = ke(to_file);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.err.substr(0, 14), "ke: /dev/full:") << outcome.err;
    }
    close(full);
}

// After a signal nothing is lost and no temporary file remains, whether the temporary file has a name from
// the start or gets it only at the end.
TEST_F(KeEveryCommand, LeavesNothingBehindWhenASignalEndsIt) {
    for (const Command& command : commands()) {
        if (!command.in_place)
            continue;
        const std::string before = good_text(command.format, 0);
        std::vector<std::string> args = line(command, in("file"));
        args.push_back("--in-place");
        write_file(in("file"), before);
        set_variable("KE_END_AT", "never");
        ASSERT_EQ(run_program("ke_ended", args).status, 0) << name_of(command);
        const std::string after = read_file(in("file"));
        const std::vector<std::string> files = names();
        // Signals do not depend on the command, so only the first command is tested with all of them.
        const bool first = &command == &commands()[0];
        const std::vector<int> signals =
            first ? std::vector<int>{SIGTERM, SIGINT, SIGHUP, SIGQUIT} : std::vector<int>{SIGTERM};
        for (const bool named : {false, true}) {
            for (const char* step :
                 {"created", "written", "flushed", "metadata", "named", "renamed"}) {
                for (int number : signals) {
                    SCOPED_TRACE(name_of(command) + ", signal " + std::to_string(number) +
                                 " when " + step + (named ? ", named" : ""));
                    write_file(in("file"), before);
                    set_variable("KE_END_AT", step);
                    set_variable("KE_END_BY", std::to_string(number));
                    if (named)
                        setenv("KE_NAMED", "1", 1);
                    const Outcome outcome = run_program("ke_ended", args);
                    unsetenv("KE_NAMED");
                    unsetenv("KE_END_BY");
                    EXPECT_EQ(outcome.err, "ended by signal " + std::to_string(number) + "\n");
                    const std::string now = read_file(in("file"));
                    const bool is_new =
                        std::string(step) == "named" || std::string(step) == "renamed";
                    EXPECT_EQ(now, is_new ? after : before);
                    EXPECT_EQ(names(), files);
                }
            }
        }
    }
    set_variable("KE_END_AT", "never");
}
#endif

#ifdef _WIN32
// Under Wine, the devices of Linux are files in drive Z. Windows itself has no disk that is always full.
TEST_F(KeEveryCommand, ReportsThatTheDiskIsFull) {
    size_t seen = 0;
    for (const Command& command : commands()) {
        if (command.silent)
            continue;
        SCOPED_TRACE(name_of(command));
        ++seen;
        write_file(in("file"), good_text(command.format, 0));
        std::vector<std::string> args = line(command, in("file"));
        args.insert(args.end(), {"-o", "Z:/dev/full"});
        const Outcome outcome = ke(args);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.err.substr(0, 16), "ke: Z:/dev/full:") << outcome.err;
        EXPECT_NE(outcome.err.find("the disk is full"), std::string::npos) << outcome.err;
    }
    EXPECT_GT(seen, 20u);
}

TEST_F(KeEveryCommand, ReportsThatItsReaderIsGone) {
    for (const Command& command : commands()) {
        if (command.silent)
            continue;
        SCOPED_TRACE(name_of(command));
        write_file(in("file"), good_text(command.format, 0));
        const Outcome outcome = run_program("ke", line(command, in("file")), "", false);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.err.substr(0, 20), "ke: standard output:") << outcome.err;
        EXPECT_EQ(outcome.out, "");
    }
}
#endif

#ifdef KE_TEST_CONFINED
// Calls for sockets, other programs and threads are not on the list of system calls that a command may make.
TEST_F(KeEveryCommand, NeedsFewSystemCalls) {
    const std::string list = run_program("ke_confined", {}).out;
    printf("ke runs with these system calls alone:\n%s", list.c_str());
    EXPECT_LT(std::count(list.begin(), list.end(), '\n'), 40);
    for (const char* call : {"execve", "socket", "connect", "clone", "fork", "ptrace", "mprotect"})
        EXPECT_EQ(("\n" + list).find("\n" + std::string(call) + "\n"), std::string::npos) << call;

    const auto expect_same = [this](const Command& command, const std::vector<std::string>& more,
                                    const std::string& text) {
        const std::string before = good_text(command.format, 0);
        std::vector<std::string> args = line(command, more.empty() ? "-" : in("file"));
        args.insert(args.end(), more.begin(), more.end());
        std::vector<std::string> results;
        for (const char* program : {"ke", "ke_confined"}) {
            write_file(in("file"), before);
            wiq_unlink(in("target").c_str());
            const Outcome outcome = run_program(program, args, text);
            results.push_back(std::to_string(outcome.status) + outcome.out + outcome.err +
                              read_file(in("file")) + read_file(in("target")));
        }
        EXPECT_EQ(results[1], results[0]);
    };
    for (const Command& command : commands()) {
        SCOPED_TRACE(name_of(command));
        expect_same(command, {}, good_text(command.format, 0));
        expect_same(command, {}, good_text(command.format, 300000));
        expect_same(command, {}, bad_text(command.format));
        expect_same(command, {"-o", in("target")}, "");
        expect_same(command, {"--max-memory", "1GB", "--no-such-option"}, "");
        if (command.in_place)
            expect_same(command, {"--in-place", "--max-memory", "1GB"}, "");
    }
}

TEST_F(KeEveryCommand, IsEndedAtAnyOtherSystemCall) {
    set_variable("KE_STRAY", "1");
    const Outcome outcome = run_program("ke_confined", {"help"});
    unsetenv("KE_STRAY");
    EXPECT_EQ(outcome.err, "ended by signal " + std::to_string(SIGSYS) + "\n");
}
#endif

}  // namespace
