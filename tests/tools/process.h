// Runs a program as a person would: arguments, standard input from a text, and what it says on both
// outputs with its exit status. Through libuv, so that arguments are UTF-8 on both platforms.
#pragma once

#include <string>
#include <vector>

struct Outcome {
    int status = -1;  // -1: it could not be started, or was ended by a signal
    std::string out;
    std::string err;
};

// The program stands in the test program's own folder; ".exe" is added where that is needed. Unless
// `has_reader`, nobody holds the other end of its standard output from its start.
Outcome run_program(const std::string& name, const std::vector<std::string>& args,
                    const std::string& input = "", bool has_reader = true);

// `ke` with these arguments.
inline Outcome ke(const std::vector<std::string>& args, const std::string& input = "") {
    return run_program("ke", args, input);
}

// A whole file; "(absent)" if it cannot be read.
std::string read_file(const std::string& path);
void write_file(const std::string& path, const std::string& content);

// The folder that the test program and ke stand in.
std::string program_folder();
