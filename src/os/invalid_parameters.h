// The runtimes of Windows look at what they are given. The Universal C Runtime ends a process whose program has not
// said what else to do; the older msvcrt.dll fails the call, which is all that the library wants.
#pragma once

#include <stdlib.h>

#if defined(_UCRT)
// In the runtime and its import library, though not in every header.
extern "C" _invalid_parameter_handler __cdecl _set_thread_local_invalid_parameter_handler(
    _invalid_parameter_handler handler);
#endif

namespace ke::os {

// While it lives, a bad argument fails the calling thread's call of the runtime, with errno set, and no more. The
// program's own handler, for this thread and for all, is as it was afterwards.
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
