// See format_check.h. Modifiers are skipped in any order: a format that a runtime reads in another way, because
// they are out of order, is refused rather than let through.
#include "os/format_check.h"

#include <bitset>
#include <cstring>

#include "ke_utils/types.h"

namespace ke::os {

namespace {

// POSIX systems promise this many positions and no more.
constexpr u64 kMaxPosition = 4096;
// Of a width or a precision. Texts beyond it cannot be counted.
constexpr u64 kMaxNumber = INT32_MAX;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Reads a conversion's modifiers one by one.
class Modifiers {
  public:
    Modifiers(const char* text, const char* others) : text_(text), others_(others) {}

    // Moves to the next modifier; false at the letter of the conversion.
    bool next() {
        number_ = 0;
        is_position_ = false;
        if (is_digit(*text_)) {
            read_number();
            return true;
        }
        // Widths in bits ("wf32"), which the runtimes of tomorrow know.
        if (text_[0] == 'w' && text_[1] == 'f' && is_digit(text_[2]))
            ++text_;
        else if (*text_ == '\0' || (strchr("-+ #'*.hlLqjztZwTNI", *text_) == nullptr &&
                                    strchr(others_, *text_) == nullptr))
            return false;
        ++text_;
        return true;
    }

    const char* text() const { return text_; }
    // The modifier's number; 0 if it is none.
    u64 number() const { return number_; }
    // Whether there is a "$" behind the number.
    bool is_position() const { return is_position_; }

  private:
    void read_number() {
        for (; is_digit(*text_); ++text_) {
            if (number_ <= kMaxNumber)
                number_ = number_ * 10 + static_cast<u64>(*text_ - '0');
        }
        is_position_ = *text_ == '$';
        if (is_position_)
            ++text_;
    }

    const char* text_;
    const char* others_;
    u64 number_ = 0;
    bool is_position_ = false;
};

// Calls a visitor with each modifier, and then with the text that begins with the conversion's letter.
template <class OnModifier, class OnConversion>
void walk(const char* format, const char* others, OnModifier on_modifier,
          OnConversion on_conversion) {
    while ((format = strchr(format, '%')) != nullptr) {
        Modifiers modifiers(format + 1, others);
        while (modifiers.next())
            on_modifier(modifiers);
        format = modifiers.text();
        on_conversion(*format);
        if (*format != '\0')
            ++format;
    }
}

bool has_gap(const char* format, const char* others) {
    std::bitset<kMaxPosition + 1> seen;
    u64 count = 0;
    u64 last = 0;
    bool beyond = false;
    walk(
        format, others,
        [&](const Modifiers& modifiers) {
            if (!modifiers.is_position())
                return;
            const u64 position = modifiers.number();
            beyond = beyond || position == 0 || position > kMaxPosition;
            if (beyond || seen[position])
                return;
            seen[position] = true;
            ++count;
            last = position > last ? position : last;
        },
        [](char) {});
    return beyond || count != last;
}

}  // namespace

bool is_refused_format(const char* format, const char* modifiers) {
    bool refused = false;
    bool has_positions = false;
    walk(
        format, modifiers,
        [&](const Modifiers& each) {
            has_positions = has_positions || each.is_position();
            refused = refused || each.number() > kMaxNumber;
        },
        [&](char conversion) { refused = refused || conversion == 'n'; });
    return refused || (has_positions && has_gap(format, modifiers));
}

}  // namespace ke::os
