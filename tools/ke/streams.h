// Reading a whole input and writing a whole output: files, standard streams, progress on standard error,
// and replacing a file only when everything has succeeded.
#pragma once

#include <string>
#include <string_view>

namespace tool {

// Options that every command shares.
struct Common {
    bool quiet = false;     // no progress
    std::string output;     // -o FILE; empty for standard output
    bool in_place = false;  // the output replaces the input
};

// What a command reads; "-" or nothing is standard input.
struct Input {
    std::string name;  // as messages show it
    std::string path;  // empty for standard input
    std::string bytes;
};

// Reads it to the end, or throws a Failure.
Input read_input(const std::string& argument, const Common& common);

// Writes the text where the options say: standard output, the file of -o, or the input's own file. A file
// is written beside its final place first and moved there when it is complete; a failure leaves what was
// there as it was and throws.
void write_output(std::string_view text, const Input& input, const Common& common);

}  // namespace tool
