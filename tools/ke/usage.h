// Messages for arguments that do not form a command: the wrong word, the nearest right one, and what a
// command takes.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace tool {

// Explains to the user what is wrong with the arguments. `error` is what the argument parser reports.
std::string usage_mistake(const CLI::App& root, const CLI::ParseError& error,
                          const std::vector<std::string>& args);

}  // namespace tool
