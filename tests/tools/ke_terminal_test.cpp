// What ke shows on a terminal: colours, unless NO_COLOR is set, and progress for long input; and how shells
// use the completions.
#include <gtest/gtest.h>

#include "tools/folder.h"
#include "tools/process.h"

#ifndef _WIN32
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cstdlib>

namespace {

// Returns what appears on ke's own terminal while it runs; there, a line feed becomes two characters.
std::string shown(const std::vector<std::string>& args, const char* no_colour = nullptr) {
    const std::string program = program_folder() + "/ke";
    std::vector<char*> argv = {const_cast<char*>(program.c_str())};
    for (const std::string& arg : args)
        argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        if (no_colour != nullptr)
            setenv("NO_COLOR", no_colour, 1);
        else
            unsetenv("NO_COLOR");
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    std::string text;
    char piece[4096];
    // The terminal disappears when the last process that has it open ends; read() reports this as an error.
    for (ssize_t count = 0; (count = read(terminal, piece, sizeof(piece))) > 0;)
        text.append(piece, static_cast<size_t>(count));
    close(terminal);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    return text;
}

class KeTerminal : public Folder {};

TEST_F(KeTerminal, ColoursJson) {
    write_file(in("r.json"), "{\"a\":[1,\"x\",null]}");
    EXPECT_EQ(shown({"json", "format", "--compact", in("r.json")}),
              "{\033[1;34m\"a\"\033[0m:[\033[36m1\033[0m,\033[32m\"x\"\033[0m,\033[35mnull\033[0m]}"
              "\r\n");
    EXPECT_NE(shown({"json", "get", "/a/0", in("r.json")}).find("\033[36m1"), std::string::npos);
    EXPECT_EQ(shown({"json", "format", "--compact", in("r.json")}, "1"),
              "{\"a\":[1,\"x\",null]}\r\n");
    EXPECT_NE(shown({"json", "get", "/a/0", in("r.json")}, "").find("\033["), std::string::npos)
        << "an empty NO_COLOR forbids nothing";
    // Output to a file has no colours, even on a terminal.
    EXPECT_EQ(shown({"json", "format", "--compact", in("r.json"), "-o", in("out")}), "");
    EXPECT_EQ(read_file(in("out")), "{\"a\":[1,\"x\",null]}\n");
    EXPECT_EQ(ke({"json", "format", "--compact", in("r.json")}).out, "{\"a\":[1,\"x\",null]}\n");
}

TEST_F(KeTerminal, ColoursMessages) {
    EXPECT_EQ(shown({"number", "x"}).substr(0, 16), "\033[1;31mke:\033[0m n");
    EXPECT_EQ(shown({"number", "x"}, "1").substr(0, 10), "ke: number");
}

TEST_F(KeTerminal, ShowsProgressOfLongWork) {
    std::string text = "[0";
    for (int i = 0; i < 500000; ++i)
        text += ",1234";
    write_file(in("long.json"), text + "]");
    const std::vector<std::string> args = {"json", "types", in("long.json")};
    EXPECT_NE(shown(args).find("ke: reading "), std::string::npos);
    std::vector<std::string> quiet = args;
    quiet.push_back("--quiet");
    EXPECT_EQ(shown(quiet).find("ke: reading "), std::string::npos);
}

// Returns what a shell command prints.
std::string printed(const std::string& command) {
    FILE* shell = popen(command.c_str(), "r");
    std::string text;
    char piece[4096];
    while (fgets(piece, sizeof(piece), shell) != nullptr)
        text += piece;
    EXPECT_EQ(pclose(shell), 0);
    return text;
}

// The script runs as in zsh's completion; stand-ins for compadd and _files print their arguments.
TEST_F(KeTerminal, ZshCompletesWords) {
    write_file(in("_ke"), ke({"completion", "zsh"}).out);
    const auto complete = [this](const std::string& line, const std::string& prefix) {
        write_file(in("run"),
                   "compadd() { print -l -- \"${@:2}\" }\n_files() { print files }\nwords=(" +
                       line + ")\nCURRENT=${#words}\nPREFIX='" + prefix + "'\nsource ./_ke\n");
        return printed("cd " + folder() + " && zsh -f run");
    };
    const std::string first = complete("ke j", "j");
    EXPECT_NE(first.find("json\n"), std::string::npos) << first;
    EXPECT_EQ(first.find("--where"), std::string::npos);
    const std::string json = complete("ke --quiet json g", "g");
    EXPECT_NE(json.find("get\nset\n"), std::string::npos) << json;
    EXPECT_NE(json.find("files\n"), std::string::npos);
    const std::string get = complete("ke json get --wh", "--wh");
    EXPECT_NE(get.find("--where\n"), std::string::npos) << get;
    EXPECT_EQ(get.find("files\n"), std::string::npos);
}

}  // namespace
#endif
