// Arguments and options that several commands share, each defined once.
#include "commands.h"

namespace tool {

// NOLINTNEXTLINE(misc-no-recursion): two levels at most: a group has commands, and those have none.
std::vector<std::string> command_names(const CLI::App& app, const std::string& between) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({})) {
        const std::vector<std::string> below = command_names(*command, between);
        if (below.empty())
            names.push_back(command->get_name());
        for (const std::string& name : below) {
            std::string whole = command->get_name();
            names.push_back(whole.append(between).append(name));
        }
    }
    return names;
}

std::string refuse_empty(std::string& text) {
    return text.empty() ? "the name of the file is empty" : "";
}

void add_in_place(CLI::App& command, Session& session) {
    command.add_flag("--in-place", session.common.in_place,
                     "Replace the input file, but only if everything succeeds");
}

void add_input(CLI::App& command, std::string& file) {
    command.add_option("file", file, "The file to read; \"-\" or nothing is standard input")
        ->type_name("FILE")
        ->transform(CLI::Validator(refuse_empty, ""));
}

void add_inputs(CLI::App& command, std::vector<std::string>& files) {
    command
        .add_option("files", files,
                    "The files to read, one after the other; \"-\" or nothing is standard input")
        ->type_name("FILE")
        ->transform(CLI::Validator(refuse_empty, ""));
}

void add_layout(CLI::App& command, Layout& layout) {
    const auto asked = [&layout] { layout.is_asked_for = true; };
    command.add_flag_callback(
        "--compact",
        [&layout, asked] {
            asked();
            layout.compact = true;
        },
        "No blanks and no line breaks");
    command.add_flag_callback(
        "--sort-keys",
        [&layout, asked] {
            asked();
            layout.sort_keys = true;
        },
        "Members in the order of their keys' bytes");
    command
        .add_option_function<int>(
            "--indent",
            [&layout, asked](int blanks) {
                asked();
                layout.indent = blanks;
            },
            "Blanks for each level, 2 without this option")
        ->type_name("N")
        ->check(CLI::Range(0, 80));
}

void add_json_lines(CLI::App& command, bool& several) {
    command.add_flag("--jsonl", several, "The input is JSON Lines: any number of documents");
}

}  // namespace tool
