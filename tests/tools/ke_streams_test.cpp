// Long inputs and outputs: memory does not grow with them, no size is too large, and the tool ends when its
// reader goes away.
#include "ke_utils/files.h"
#include "tools/folder.h"
#include "tools/rows.h"

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#endif

namespace {

TEST(KeStreams, DumpParts) {
    const std::string bytes = std::string(20, 'a') + std::string(20, 'b');
    expect_rows({
        {{"dump", "--skip", "18", "--length", "4", "--group", "0"},
         bytes,
         0,
         "00000012  61616262                            \n"},
        {{"dump", "--skip", "99"}, bytes, 0, ""},
        {{"dump", "--length", "0"}, bytes, 0, ""},
        {{"base64", "encode", "--wrap", "4"}, "abcdef", 0, "YWJj\nZGVm\n"},
        {{"base64", "encode", "--wrap", "3"}, "abcd", 0, "YWJ\njZA\n==\n"},
    });
}

// A dump in pieces looks the same as a dump in one piece.
TEST(KeStreams, DumpsDoNotDependOnBlockBoundaries) {
    std::string bytes;
    for (u64 i = 0; i < 700000; ++i)
        bytes += static_cast<char>(i * 7919 >> 5);
    for (const std::vector<std::string>& layout : std::vector<std::vector<std::string>>{
             {"--line", "24", "--group", "5", "--block", "7"}, {"--line", "16"}}) {
        std::vector<std::string> args = {"dump"};
        args.insert(args.end(), layout.begin(), layout.end());
        const std::string whole = ke(args, bytes).out;
        std::vector<std::string> tail = args;
        // 336000 is a multiple of all the sizes.
        tail.insert(tail.end(), {"--skip", "336000"});
        const std::string end = ke(tail, bytes).out;
        ASSERT_GT(end.size(), 100000u);
        EXPECT_EQ(whole.substr(whole.size() - end.size()), end);
    }
    EXPECT_EQ(ke({"base64", "decode"}, ke({"base64", "encode", "--wrap", "76"}, bytes).out).out,
              bytes);
}

#ifndef _WIN32
// Runs a shell command with the tool as $0; returns its exit status as a shell would.
int shell(const std::string& command) {
    const std::string tool = program_folder() + "/ke";
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        execl("/bin/bash", "bash", "-o", "pipefail", "-c", command.c_str(), tool.c_str(),
              static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// An address space of 64 MB, including that of the libraries; AddressSanitizer alone needs more.
#ifdef __SANITIZE_ADDRESS__
const std::string kLimit;
#else
const std::string kLimit = "ulimit -v 65536; ";
#endif

class KeLongFiles : public Folder {};

TEST_F(KeLongFiles, FormatTakesLittleMemory) {
    const std::string file = folder() + "/long.json";
    ASSERT_EQ(shell("{ echo '['; for i in {1..400}; do printf '{\"key\": [1.50, \"text\", null]},"
                    "%.0s' {1..1000}; done; echo '0]'; } > " +
                    file),
              0);
    // 13 MB of text.
    EXPECT_EQ(
        shell(kLimit + "\"$0\" json format --compact " + file + " | wc -c > " + file + ".out"), 0);
    EXPECT_EQ(shell(kLimit + "\"$0\" json get /400000 " + file + " > " + file + ".out"), 0);
    EXPECT_EQ(read_file(file + ".out"), "0\n");
    EXPECT_EQ(
        shell(kLimit + "\"$0\" base64 encode " + file + " | \"$0\" base64 decode | cmp - " + file),
        0);
    EXPECT_EQ(shell(kLimit + "\"$0\" dump " + file + " | tail -n 1 > " + file + ".out"), 0);
}

// Takes minutes under AddressSanitizer, which cannot find anything here that depends on size.
#ifndef __SANITIZE_ADDRESS__
TEST_F(KeLongFiles, OutputsAboveFourGigabytesAreWhole) {
    const std::string file = folder() + "/sparse";
    // 2.3 GB of zero bytes become at least 4.6 GB of text.
    ASSERT_EQ(shell("truncate -s 2300000000 " + file), 0);
    EXPECT_EQ(shell("\"$0\" base64 encode " + file + " | tail -c 5 > " + file + ".end"), 0);
    EXPECT_EQ(read_file(file + ".end"), "AAA=\n");
    ASSERT_EQ(shell("truncate -s 5000000000 " + file), 0);
    EXPECT_EQ(shell("\"$0\" dump --skip 4999999999 " + file + " > " + file + ".end"), 0);
    EXPECT_EQ(read_file(file + ".end").substr(0, 13), "12a05f1ff  00");
}

#endif

// The names of open descriptors refer to files to which the shell may be appending.
TEST_F(KeLongFiles, WritesIntoDescriptors) {
    write_file(in("log"), "old\n");
    EXPECT_EQ(shell("cd " + folder() + "; \"$0\" number 7 -o /dev/stdout >> log"), 0);
    EXPECT_EQ(shell("cd " + folder() + "; \"$0\" number 8 -o /dev/fd/3 3>> log"), 0);
    EXPECT_EQ(shell("cd " + folder() + "; \"$0\" number 9 -o /proc/self/fd/1 >> log"), 0);
    EXPECT_EQ(read_file(in("log")), "old\n7\n8\n9\n");
    EXPECT_EQ(shell("cd " + folder() + "; \"$0\" number 5 -o /dev/stdout | cat > log"), 0);
    EXPECT_EQ(read_file(in("log")), "5\n");
    EXPECT_EQ(shell("cd " + folder() + "; \"$0\" number 5 -o /dev/fd/9 2> err"), 2);
    EXPECT_EQ(read_file(in("err")).substr(0, 14), "ke: /dev/fd/9:");
    // Input that is read through a descriptor has no name that could be replaced.
    write_file(in("r.json"), "[1]");
    EXPECT_EQ(
        shell("cd " + folder() + "; \"$0\" json set /0 2 /dev/stdin --in-place < r.json 2> err"),
        64);
    EXPECT_EQ(read_file(in("r.json")), "[1]");
}

TEST_F(KeLongFiles, StopsWhenItsReaderIsGone) {
    EXPECT_EQ(shell("yes | head -c 50000000 | \"$0\" dump | head -n 1 > " + folder() +
                    "/out; s=(\"${PIPESTATUS[@]}\"); test ${s[3]} = 0 && test ${s[2]} != 0"),
              0);
}

TEST_F(KeLongFiles, AFullDiskLosesNothing) {
    write_file(in("r.json"), "[1]");
    // Here files may have at most 8 blocks of 1024 bytes.
    const std::string value = "\"" + std::string(20000, 'x') + "\"";
    write_file(in("value"), value);
    EXPECT_NE(shell("trap '' XFSZ; ulimit -f 8; \"$0\" json set /0 --value-file " + folder() +
                    "/value " + folder() + "/r.json --in-place 2> /dev/null"),
              0);
    EXPECT_NE(shell("ulimit -f 8; \"$0\" json set /0 --value-file " + folder() + "/value " +
                    folder() + "/r.json --in-place 2> /dev/null"),
              0);
    EXPECT_EQ(read_file(in("r.json")), "[1]");
    EXPECT_EQ(names(), (std::vector<std::string>{"r.json", "value"}));
}

TEST_F(KeLongFiles, AnInterruptLosesNothing) {
    write_file(in("r.json"), "[1]");
    // The text comes through a FIFO that stays open, so the tool waits with all its work still to do.
    EXPECT_EQ(shell("cd " + folder() +
                    "; mkfifo fifo; exec 3<>fifo; \"$0\" json format fifo -o r.json & "
                    "sleep 0.5; kill -TERM $!; wait $!"),
              128 + SIGTERM);
    EXPECT_EQ(read_file(in("r.json")), "[1]");
    EXPECT_EQ(names(), (std::vector<std::string>{"fifo", "r.json"}));
}
#endif

}  // namespace
