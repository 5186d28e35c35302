// Takes the place of the C++ runtime's exceptions in the DLL. The library throws nothing, yet std::from_chars()
// in the compiler's C++ library names the handler of C++ exceptions, and with it would come all that unwinds a
// stack: locks, threads, the functions of a debugger. Linked into the DLL only; a program with the static
// library has its own.
#include <windows.h>

#include <cstdlib>

// NOLINTBEGIN(bugprone-reserved-identifier): the compiler's own names.

// Asked by the system, while it looks for whoever handles an exception (an access violation, for instance),
// about the functions of the C++ library on the stack: none of them does.
extern "C" EXCEPTION_DISPOSITION __gxx_personality_seh0(PEXCEPTION_RECORD, void*, PCONTEXT, void*) {
    return ExceptionContinueSearch;
}

// Where a `noexcept` function of the C++ library would go, had something been thrown.
extern "C" void* __cxa_begin_catch(void*) {
    abort();
}

// NOLINTEND(bugprone-reserved-identifier)

namespace std {

void terminate() noexcept {
    abort();
}

}  // namespace std
