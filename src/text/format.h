// Formatting a text whose length is not known beforehand. The first attempt writes into space that
// exists anyway; only a text that does not fit is formatted again. The functions that make strings
// and the string buffer share this.
#pragma once

#include <cstdarg>
#include <cstddef>

#include "ke_utils/types.h"

namespace ke {

// A first attempt. It writes either into the free space after a string's NUL, or onto the stack if
// there is more space there. The string itself does not change, so it may be among the arguments,
// even those of a second attempt.
class FormatAttempt {
  public:
    static constexpr size_t kStackRoom = 512;

    FormatAttempt() = default;
    FormatAttempt(const FormatAttempt&) = delete;
    FormatAttempt& operator=(const FormatAttempt&) = delete;

    // Uses up `args`. `room` may be nullptr if `size` is 0. Returns whether the runtime accepts the
    // format.
    bool format(char* room, size_t size, const char* format, va_list args);

    // The length of the whole text, even if it did not fit.
    size_t length() const { return length_; }
    // The text, not terminated, or nullptr if it did not fit. A text that does not fit into `room`
    // is on the stack, so it stays valid when the caller has to move the block that contains
    // `room`.
    // NOLINTNEXTLINE(clang-analyzer-unix.Malloc)
    const char* text() const { return text_; }

  private:
    size_t length_ = 0;
    const char* text_ = nullptr;
    char stack_[kStackRoom];
};

}  // namespace ke
