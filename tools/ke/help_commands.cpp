// See help_commands.h.
#include "help_commands.h"

#include <memory>

#include "completion.h"
#include "failure.h"
#include "sink.h"

namespace tool {

namespace {

std::string help_on(const CLI::App& app, const std::vector<std::string>& words) {
    const CLI::App* command = &app;
    std::string path = app.get_name();
    for (const std::string& word : words) {
        const CLI::App* next = nullptr;
        std::vector<std::string> names;
        for (const CLI::App* below : command->get_subcommands({})) {
            names.push_back(below->get_name());
            if (below->get_name() == word)
                next = below;
        }
        if (next == nullptr)
            throw Failure{"\"" + word + "\" is not a command" + suggestion(word, names),
                          kExitUsage};
        command = next;
        path += " " + word;
    }
    return command->get_formatter()->make_help(command, path, CLI::AppFormatMode::Normal);
}

}  // namespace

void add_help_commands(CLI::App& app, Session& session) {
    auto words = std::make_shared<std::vector<std::string>>();
    CLI::App* help =
        app.add_subcommand("help", "Print what a command does and which arguments it takes");
    help->add_option("command", *words, "The command, such as json get")->type_name("COMMAND");
    help->callback([words, &app, &session] {
        session.action = [words, &app, &session] {
            write_output(help_on(app, *words), session.common);
            return kExitOk;
        };
    });

    auto shell = std::make_shared<std::string>();
    CLI::App* completion =
        app.add_subcommand("completion", "Print a script that completes commands in a shell");
    completion->add_option("shell", *shell, "bash, zsh or powershell")
        ->type_name("SHELL")
        ->required()
        ->check(CLI::IsMember(shells_with_completion()));
    completion->callback([shell, &app, &session] {
        session.action = [shell, &app, &session] {
            write_output(completion_script(app, *shell), session.common);
            return kExitOk;
        };
    });
}

}  // namespace tool
