// Uses every family of the C++ layer, compiled as C++17 without exceptions and run-time type information.
// scripts/tidy checks the layer's headers through this file.
#pragma once

#include <string>

namespace no_exceptions {

// Reads "/a/0" of a document as a number; returns -1 if there is no such value.
long long first_of_a(const char* text);
// Uses each template of the layer once and returns the results.
std::string every_family();

}  // namespace no_exceptions
