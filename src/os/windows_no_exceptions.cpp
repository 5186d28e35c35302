// Replaces the part of the C++ runtime that handles exceptions, in the DLL. The library throws
// nothing. But std::from_chars() in the compiler's C++ library refers to the handler of C++
// exceptions, which would bring in everything that unwinds a stack: locks, threads, the functions
// of a debugger. This file is linked into the DLL only; a program that uses the static library has
// its own C++ runtime.
#include <windows.h>

#include <cstdlib>

// NOLINTBEGIN(bugprone-reserved-identifier): the compiler's own names.

// The system calls this for each function of the C++ library on the stack while it looks for a
// handler of an exception (such as an access violation). None of them handles any.
extern "C" EXCEPTION_DISPOSITION __gxx_personality_seh0(PEXCEPTION_RECORD, void*, PCONTEXT, void*) {
    return ExceptionContinueSearch;
}

// A `noexcept` function of the C++ library would get here if something had been thrown.
extern "C" void* __cxa_begin_catch(void*) {
    abort();
}

// NOLINTEND(bugprone-reserved-identifier)

namespace std {

void terminate() noexcept {
    abort();
}

}  // namespace std
