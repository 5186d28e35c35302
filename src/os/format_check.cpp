// See format_check.h. Modifiers are accepted in any order, so a format that has them in the wrong
// order, which a runtime would read in its own way, is still checked for what is dangerous.
#include "os/format_check.h"

#include <bitset>
#include <cstring>

#include "ke_utils/types.h"

namespace ke::os {

namespace {

// The largest position that Linux promises to support (NL_ARGMAX).
constexpr u64 kMaxPosition = 4096;
// The largest width or precision. A text that is longer could not be counted in an int.
constexpr u64 kMaxNumber = INT32_MAX;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Reads the modifiers of one conversion, one by one.
class Modifiers {
  public:
    Modifiers(const char* text, const char* others) : text_(text), others_(others) {}

    // Moves past the next modifier; returns false at the letter of the conversion, or at the end of
    // the format.
    bool next() {
        number_ = 0;
        is_position_ = false;
        if (is_digit(*text_)) {
            read_number();
            return true;
        }
        // Bit widths, such as "wf32" (C23): runtimes that support them read the digits as part of
        // the modifier.
        if (text_[0] == 'w' && text_[1] == 'f' && is_digit(text_[2]))
            ++text_;
        else if (*text_ == '\0' || (strchr("-+ #'*.hlLqjztZwTNI", *text_) == nullptr &&
                                    strchr(others_, *text_) == nullptr))
            return false;
        ++text_;
        return true;
    }

    const char* text() const { return text_; }
    // The value of a modifier that is a number, otherwise 0. It stops growing once it is over the
    // limit, so it cannot overflow.
    u64 number() const { return number_; }
    // Whether the number is a position: a "$" follows it.
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

// Moves past the conversions before the first one that has modifiers, is "%n" or is unusual. Most
// formats have no such conversion, so this keeps the check at a few per cent of the formatting.
const char* skip_plain_conversions(const char* format) {
    for (; *format != '\0'; ++format) {
        if (*format != '%')
            continue;
        switch (format[1]) {
            case '%':
            case 'c':
            case 'd':
            case 'f':
            case 'i':
            case 'p':
            case 's':
            case 'u':
            case 'x':
            case 'X':
                ++format;
                break;
            default:
                return format;
        }
    }
    return format;
}

// Calls on_modifier for each modifier of each conversion, and on_conversion with the letter of the
// conversion ('\0' if the format ends before it).
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

// Whether the positions are not exactly 1 to n, for some n: one is left out, is 0, or is beyond the
// limit. A runtime would have to guess the type of an argument that no conversion names.
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
    format = skip_plain_conversions(format);
    if (*format == '\0')
        return false;
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
