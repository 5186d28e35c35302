// Formatting once where the length is not known before: the first attempt goes to room that is there anyway,
// and only a text that did not fit is formatted again. Shared by the functions that make strings and by the
// string buffer.
#pragma once

#include <cstdarg>
#include <cstddef>

#include "ke_utils/types.h"

namespace ke {

// A first attempt: in the room behind a string's NUL, or on the stack where there is more. The string itself
// stays as it is, so that it may be among the arguments, also of the second attempt.
class FormatAttempt {
  public:
    static constexpr size_t kStackRoom = 512;

    FormatAttempt() = default;
    FormatAttempt(const FormatAttempt&) = delete;
    FormatAttempt& operator=(const FormatAttempt&) = delete;

    // Uses up `args`. `room` may be nullptr if `size` is 0. Returns whether the runtime takes the format.
    bool format(char* room, size_t size, const char* format, va_list args);

    // Of the whole text, also if it did not fit.
    size_t length() const { return length_; }
    // The text without a NUL, or nullptr if it did not fit.
    // NOLINTNEXTLINE(clang-analyzer-unix.Malloc): a caller that has moved its block has a text on the stack.
    const char* text() const { return text_; }

  private:
    size_t length_ = 0;
    const char* text_ = nullptr;
    char stack_[kStackRoom];
};

}  // namespace ke
