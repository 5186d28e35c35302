// Generates scripts that complete ke command lines. They are generated from the commands that are registered
// with the argument parser, so no command can be missing.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace tool {

// The shells for which there is a script.
std::vector<std::string> shells_with_completion();
std::string completion_script(const CLI::App& app, const std::string& shell);

}  // namespace tool
