// What is said of arguments that make no command: the wrong word, the nearest right one, and what a command
// takes.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace tool {

// What is wrong with the arguments, in words of a user. `error` is what the argument parser says of them.
std::string usage_mistake(const CLI::App& root, const CLI::ParseError& error,
                          const std::vector<std::string>& args);

}  // namespace tool
