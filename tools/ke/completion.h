// Scripts that complete the words of a ke command line, made from the commands as the argument parser knows
// them, so that they never miss one.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace tool {

// The shells that there is a script for.
std::vector<std::string> shells_with_completion();
std::string completion_script(const CLI::App& app, const std::string& shell);

}  // namespace tool
