// The man page and --help describe the same commands and options.
#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "tools/process.h"

namespace {

// Returns the commands of the man page: the bold text after ".SS", such as "json get".
std::set<std::string> commands_of_page(const std::string& page) {
    std::set<std::string> commands;
    const std::string heading = ".SS \"ke ";
    for (size_t at = 0; (at = page.find(heading, at)) != std::string::npos;) {
        at += heading.size();
        commands.insert(page.substr(at, page.find('"', at) - at));
    }
    return commands;
}

std::vector<std::string> words_of(const std::string& command) {
    std::vector<std::string> words;
    std::istringstream stream(command);
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

// Returns the names in a help text's list of subcommands.
std::vector<std::string> subcommands_of(const std::string& help) {
    std::vector<std::string> names;
    const size_t start = help.find("Subcommands:\n");
    if (start == std::string::npos)
        return names;
    std::istringstream lines(help.substr(start + 13));
    for (std::string line; std::getline(lines, line) && line.substr(0, 2) == "  ";) {
        if (line[2] != ' ')
            names.push_back(line.substr(2, line.find(' ', 2) - 2));
    }
    return names;
}

void collect_commands(const std::string& command, std::set<std::string>* all) {
    std::vector<std::string> args = words_of(command);
    args.push_back("--help");
    const std::vector<std::string> below = subcommands_of(ke(args).out);
    if (below.empty())
        all->insert(command);
    for (const std::string& name : below)
        collect_commands(command.empty() ? name : command + " " + name, all);
}

std::set<std::string> options_in(const std::string& text) {
    std::set<std::string> options;
    for (size_t at = 0; (at = text.find("--", at)) != std::string::npos;) {
        const size_t end = text.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-", at);
        const std::string option = text.substr(at, end - at);
        if (option.size() > 2)
            options.insert(option);
        at += option.size();
    }
    options.erase("--help");
    options.erase("--version");
    return options;
}

// Returns the part of the page under a command's heading, with dashes escaped as troff requires.
std::string section_of(const std::string& page, const std::string& command) {
    const size_t start = page.find(".SS \"ke " + command + "\"\n");
    const size_t end = std::min(page.find("\n.S", start + 1), page.size());
    return page.substr(start, end - start);
}

#ifndef _WIN32
// Returns a text in single quotes.
std::string quoted_for_shell(const std::string& text) {
    std::string quoted;
    for (char c : text)
        quoted += c == '\'' ? "'\\''" : std::string(1, c);
    return quoted;
}
#endif

std::string man_page() {
    std::string page = read_file(program_folder() + "\\ke.1");
    std::string plain;
    for (size_t i = 0; i < page.size(); ++i) {
        if (page[i] == '\\' && i + 1 < page.size() && page[i + 1] == '-')
            continue;
        plain += page[i];
    }
    return plain;
}

TEST(KeHelp, NamesTheCommandsOfTheManPage) {
    std::set<std::string> commands;
    collect_commands("", &commands);
    EXPECT_EQ(commands.size(), 28u);
    EXPECT_EQ(commands_of_page(man_page()), commands);
}

TEST(KeHelp, NamesTheOptionsOfTheManPage) {
    const std::string page = man_page();
    for (const std::string& command : commands_of_page(page)) {
        std::vector<std::string> args = words_of(command);
        args.push_back("--help");
        EXPECT_EQ(options_in(section_of(page, command)), options_in(ke(args).out)) << command;
    }
    const size_t start = page.find(".SH OPTIONS");
    const std::string general = page.substr(start, page.find(".SH", start + 1) - start);
    const std::string help = ke({"--help"}).out;
    EXPECT_EQ(options_in(general), options_in(help.substr(0, help.find("Subcommands:"))));
}

TEST(KeHelp, IsACommandToo) {
    EXPECT_EQ(ke({"help", "json", "get"}).out, ke({"json", "get", "--help"}).out);
    EXPECT_EQ(ke({"help"}).out, ke({"--help"}).out);
    const Outcome outcome = ke({"help", "json", "gte"});
    EXPECT_EQ(outcome.status, 64);
    EXPECT_EQ(outcome.err, "ke: \"gte\" is not a command; did you mean \"get\"?\n");
}

// A completion script names every command with every option.
TEST(KeHelp, CompletionsNameEverything) {
    std::set<std::string> commands;
    collect_commands("", &commands);
    for (const char* shell : {"bash", "zsh", "powershell"}) {
        const std::string script = ke({"completion", shell}).out;
        for (const std::string& command : commands) {
            const char quote = shell[0] == 'p' ? '\'' : '"';
            const size_t line = script.find("        " + (quote + command) + quote);
            ASSERT_NE(line, std::string::npos) << shell << command;
            const std::string words = script.substr(line, script.find('\n', line) - line) + " ";
            std::vector<std::string> args = words_of(command);
            args.push_back("--help");
            for (const std::string& option : options_in(ke(args).out))
                EXPECT_NE(words.find(option), std::string::npos) << shell << command << option;
            // No word is offered twice.
            const std::string list = words.substr(words.find("--"));
            std::set<std::string> offered;
            for (const std::string& word : words_of(list.substr(0, list.find_first_of("\"'"))))
                EXPECT_TRUE(offered.insert(word).second) << shell << command << word;
        }
    }
    EXPECT_EQ(ke({"completion", "fish"}).status, 64);
}

#ifndef _WIN32
TEST(KeHelp, BashCompletesWords) {
    const auto complete = [](const std::string& line) {
        const std::string script =
            "source <('" + program_folder() + "/ke' completion bash); COMP_WORDS=(" + line +
            "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); cd /; _ke; echo \"${COMPREPLY[*]}\"";
        FILE* shell = popen(("bash -c '" + quoted_for_shell(script) + "'").c_str(), "r");
        char answer[4096] = {};
        EXPECT_NE(fgets(answer, sizeof(answer), shell), nullptr);
        pclose(shell);
        return std::string(answer);
    };
    EXPECT_EQ(complete("ke js"), "json\n");
    EXPECT_EQ(complete("ke json fo"), "format\n");
    EXPECT_EQ(complete("ke json get --wh"), "--where\n");
}
#endif

TEST(KeHelp, DescribesTheExitStatuses) {
    const std::string page = man_page();
    const std::string statuses = page.substr(page.find(".SH EXIT STATUS"));
    for (const char* status : {"\n0\n", "\n1\n", "\n2\n", "\n64\n"})
        EXPECT_NE(statuses.find(status), std::string::npos) << status;
}

}  // namespace
