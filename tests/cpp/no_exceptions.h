// A use of every family of the C++ layer that is compiled as C++17, without exceptions and without run-time type
// information. scripts/tidy looks at the layer's headers through it.
#pragma once

#include <string>

namespace no_exceptions {

// Reads "/a/0" of a document as a number; -1 when there is none.
long long first_of_a(const char* text);
// What one use of each template of the layer gives.
std::string every_family();

}  // namespace no_exceptions
