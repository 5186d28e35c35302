// The command groups. Each registers its commands with the argument parser; a command that was named leaves
// in `session.action` what is to be done once all arguments are known to be good.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

#include "streams.h"

namespace tool {

struct Session {
    Common common;
    std::function<int()> action;  // returns the exit status
};

void add_json_commands(CLI::App& app, Session& session);
void add_json_edit_commands(CLI::App& json, Session& session);
void add_json_report_commands(CLI::App& json, Session& session);
void add_ini_commands(CLI::App& app, Session& session);
void add_binary_commands(CLI::App& app, Session& session);
void add_number_commands(CLI::App& app, Session& session);
void add_schema_command(CLI::App& app, Session& session);
void add_status_command(CLI::App& app, Session& session);

// The option of every command whose output may take the place of its input.
inline void add_in_place(CLI::App& command, Session& session) {
    command.add_flag("--in-place", session.common.in_place,
                     "Replace the input file, only when everything succeeded");
}

// The file argument of every command that reads one.
inline void add_input(CLI::App& command, std::string& file) {
    command.add_option("file", file, "The file to read; \"-\" or nothing is standard input")
        ->type_name("FILE");
}

}  // namespace tool
