/**
 * @file callback.hpp
 * Callbacks of the user inside calls of the C interface: an exception must not pass through C frames, so it
 * is kept there and thrown on when the call is over. Not for users.
 */
#ifndef KE_CALLBACK_HPP
#define KE_CALLBACK_HPP

#include <exception>
#include <utility>

namespace ke::detail {

/** Runs callbacks and keeps what they throw. It looks the same without exceptions, since files that are compiled
 *  with and without them may be linked into one program. */
class exception_keeper {
  public:
    /** Calls; `otherwise` in place of a result after a throw, and from then on without calling. */
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
    /** Throws what was kept. */
    void rethrow() {
        if (kept_)
            std::rethrow_exception(std::exchange(kept_, nullptr));
    }

  private:
    std::exception_ptr kept_;
};

}  // namespace ke::detail

#endif
