// A use of the C++ layer that is compiled as C++17 and without exceptions.
#pragma once

namespace no_exceptions {

// Reads "/a/0" of a document as a number; -1 when there is none.
long long first_of_a(const char* text);

}  // namespace no_exceptions
