// Messages for people: statuses by name and meaning, places by line, column and caret.
#include "failure.h"

#include <algorithm>

#include "ke_utils/core.h"

namespace tool {

namespace {

// Lines longer than this are shown in part, around the place.
constexpr size_t kShownBytes = 100;

bool continues_character(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

size_t count_characters(std::string_view text) {
    return text.size() -
           static_cast<size_t>(std::count_if(text.begin(), text.end(), continues_character));
}

// The line that holds `offset`, without its end, cut to what fits a screen; `place` is where in it the
// offset stands.
std::string_view shown_line(std::string_view text, size_t offset, size_t* place) {
    const size_t start = text.rfind('\n', offset == 0 ? std::string_view::npos : offset - 1);
    size_t first = offset == 0 || start == std::string_view::npos ? 0 : start + 1;
    size_t last = std::min(text.find('\n', offset), text.size());
    if (last > first && text[last - 1] == '\r' && offset < last)
        --last;
    if (last - first > kShownBytes) {
        if (offset - first > kShownBytes / 2)
            first = offset - kShownBytes / 2;
        last = std::min(last, first + kShownBytes);
        while (first < offset && continues_character(text[first]))
            ++first;
        while (last > offset && last < text.size() && continues_character(text[last]))
            --last;
    }
    *place = offset - first;
    return text.substr(first, last - first);
}

// As many columns as the text takes, tabs kept so that the caret stands under its place.
std::string blank_like(std::string_view text) {
    std::string blanks;
    for (char c : text) {
        if (!continues_character(c))
            blanks += c == '\t' ? '\t' : ' ';
    }
    return blanks;
}

std::string explained(i32 status) {
    return std::string(status_meaning(status)) + " (" + std::string(status_name(status)) + ", " +
           std::to_string(status) + ")";
}

}  // namespace

std::string_view status_name(i32 status) {
    return ke_status_name(status);
}

std::string_view status_meaning(i32 status) {
    return ke_status_meaning(status);
}

Failure failure(std::string_view subject, i32 status) {
    return {std::string(subject) + ": " + explained(status)};
}

Failure failure_at(std::string_view file, std::string_view text, size_t offset, i32 status) {
    offset = std::min(offset, text.size());
    const std::string_view before = text.substr(0, offset);
    const size_t line = 1 + static_cast<size_t>(std::count(before.begin(), before.end(), '\n'));
    const size_t line_start = before.rfind('\n') + 1;  // npos + 1 is 0
    const size_t column = 1 + count_characters(before.substr(line_start));

    size_t place = 0;
    const std::string_view shown = shown_line(text, offset, &place);
    std::string message = std::string(file) + ":" + std::to_string(line) + ":" +
                          std::to_string(column) + ": " + explained(status);
    message += "\n" + std::string(shown) + "\n" + blank_like(shown.substr(0, place)) + "^";
    return {message};
}

void check(std::string_view subject, i32 status) {
    if (status < 0)
        throw failure(subject, status);
}

}  // namespace tool
