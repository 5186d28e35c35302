// The runtimes of Windows check their arguments. On a bad one, the Universal C Runtime ends the
// process, unless the program has installed a handler; the older msvcrt.dll makes the call fail,
// which is all that the library wants.
#pragma once

#include <stdlib.h>

#if defined(_UCRT)
// The runtime and its import library have this function, but not every header declares it.
extern "C" _invalid_parameter_handler __cdecl _set_thread_local_invalid_parameter_handler(
    _invalid_parameter_handler handler);
#endif

namespace ke::os {

// While an object of this class exists, the only effect of a bad argument in this thread is that
// the runtime's call fails, with errno set. Afterwards the program's own handlers, for this thread
// and for all threads, are as before.
class InvalidParametersFail {
  public:
#if defined(_UCRT)
    InvalidParametersFail() : before_(_set_thread_local_invalid_parameter_handler(ignore)) {}
    ~InvalidParametersFail() {
        _set_thread_local_invalid_parameter_handler(before_);
    }
#else
    InvalidParametersFail() {}
#endif
    InvalidParametersFail(const InvalidParametersFail&) = delete;
    InvalidParametersFail& operator=(const InvalidParametersFail&) = delete;

  private:
#if defined(_UCRT)
    static void __cdecl ignore(const wchar_t*, const wchar_t*, const wchar_t*, unsigned,
                               uintptr_t) {}

    _invalid_parameter_handler before_;
#endif
};

}  // namespace ke::os
