// The command groups. Each registers its commands with the argument parser. When a command is named on the
// command line, it stores in `session.action` what to do once all arguments are known to be valid.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "common.h"
#include "json_writer.h"

namespace tool {

struct Session {
    Common common;
    std::function<int()> action;  // returns the exit status
};

void add_json_commands(CLI::App& app, Session& session);
void add_json_get_command(CLI::App& json, Session& session);
void add_json_edit_commands(CLI::App& json, Session& session);
void add_json_expand_command(CLI::App& json, Session& session);
void add_json_report_commands(CLI::App& json, Session& session);
void add_json_compare_commands(CLI::App& json, Session& session);
void add_ini_commands(CLI::App& app, Session& session);
void add_dump_command(CLI::App& app, Session& session);
void add_base64_commands(CLI::App& app, Session& session);
void add_number_commands(CLI::App& app, Session& session);
void add_schema_command(CLI::App& app, Session& session);
void add_status_command(CLI::App& app, Session& session);

// Adds --in-place, for every command whose output may replace its input.
void add_in_place(CLI::App& command, Session& session);
// Add the file argument of every command that reads one file or several.
void add_input(CLI::App& command, std::string& file);
void add_inputs(CLI::App& command, std::vector<std::string>& files);
// Adds the options of every command that writes JSON.
void add_layout(CLI::App& command, Layout& layout);
// Adds the option that says "every line of the input is a document".
void add_json_lines(CLI::App& command, bool& several);

// Returns the names of all commands that can be run, with their groups before them and `between` as the
// separator: "json get".
std::vector<std::string> command_names(const CLI::App& app, const std::string& between);

// A check for the argument parser: the argument must not be empty.
std::string refuse_empty(std::string& text);

}  // namespace tool
