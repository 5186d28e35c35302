// The options that every command shares.
#pragma once

#include <string>

namespace tool {

struct Common {
    bool quiet = false;     // no progress
    std::string output;     // -o FILE; empty means standard output
    bool in_place = false;  // the output replaces the input
    std::string command;    // as the user writes it, for messages: "json get"
};

}  // namespace tool
