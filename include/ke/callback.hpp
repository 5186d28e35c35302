/**
 * @file callback.hpp
 * Runs callbacks of the user inside calls of the C interface. An exception must not pass through
 * the stack frames of C functions, so it is kept until the C function has returned, and is then
 * rethrown. This header is not for users of the library.
 */
#ifndef KE_CALLBACK_HPP
#define KE_CALLBACK_HPP

#include <exception>
#include <utility>

namespace ke::detail {

/** Runs callbacks and keeps the exception that one throws. The class has the same layout with and
 *  without exceptions, since files that are compiled either way may be linked into one program. */
class exception_keeper {
  public:
    /** Calls `call()` and returns its result. If it throws, keeps the exception and returns
     *  `otherwise`; from then on returns `otherwise` without calling anything. */
    template <class R, class Call>
    R run(R otherwise, Call&& call) noexcept {
#if defined(__cpp_exceptions)
        if (kept_)
            return otherwise;
        try {
            return std::forward<Call>(call)();
        } catch (...) {
            kept_ = std::current_exception();
            return otherwise;
        }
#else
        (void)otherwise;
        return std::forward<Call>(call)();
#endif
    }
    /** Throws the exception that was kept, if there is one. */
    void rethrow() {
        if (kept_)
            std::rethrow_exception(std::exchange(kept_, nullptr));
    }

  private:
    std::exception_ptr kept_;
};

}  // namespace ke::detail

#endif
