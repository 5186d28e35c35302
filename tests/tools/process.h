// Runs a program as a user would, with arguments and a text as standard input, and returns its outputs and
// its exit status. It uses libuv, so arguments are UTF-8 on both platforms.
#pragma once

#include <string>
#include <vector>

struct Outcome {
    int status = -1;  // -1 if it could not be started, or was ended by a signal
    std::string out;
    std::string err;
};

// Runs a program that is in the test program's own folder; ".exe" is added where needed. Without
// `has_reader`, the other end of its standard output is closed from the start.
Outcome run_program(const std::string& name, const std::vector<std::string>& args,
                    const std::string& input = "", bool has_reader = true);

// Runs `ke` with these arguments.
inline Outcome ke(const std::vector<std::string>& args, const std::string& input = "") {
    return run_program("ke", args, input);
}

// Returns the contents of a file, or "(absent)" if it cannot be read.
std::string read_file(const std::string& path);
void write_file(const std::string& path, const std::string& content);

// Returns the folder that contains the test program and ke.
std::string program_folder();
