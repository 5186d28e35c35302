// Messages for people: statuses by name and meaning, positions by line, column and caret.
#include "failure.h"

#include <algorithm>

#include "ke_utils/core.h"

namespace tool {

namespace {

// Of longer lines, only the part around the position is shown.
constexpr size_t kMaxShownBytes = 100;

bool continues_character(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

size_t count_characters(std::string_view text) {
    return text.size() -
           static_cast<size_t>(std::count_if(text.begin(), text.end(), continues_character));
}

// Returns the line that contains `offset`, without its line end, cut to fit the screen. *position is the
// offset's position in the returned text.
std::string_view shown_line(std::string_view text, size_t offset, size_t* position) {
    const size_t start = text.rfind('\n', offset == 0 ? std::string_view::npos : offset - 1);
    size_t first = offset == 0 || start == std::string_view::npos ? 0 : start + 1;
    size_t last = std::min(text.find('\n', offset), text.size());
    if (last > first && text[last - 1] == '\r' && offset < last)
        --last;
    if (last - first > kMaxShownBytes) {
        if (offset - first > kMaxShownBytes / 2)
            first = offset - kMaxShownBytes / 2;
        last = std::min(last, first + kMaxShownBytes);
        while (first < offset && continues_character(text[first]))
            ++first;
        while (last > offset && last < text.size() && continues_character(text[last]))
            --last;
    }
    *position = offset - first;
    return text.substr(first, last - first);
}

// Returns blanks of the same width as the text, keeping tabs, so that the caret appears under its position.
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

// Returns what the user can do about a status.
std::string_view advice(i32 status) {
    switch (status) {
        case WIQ_ERR_JSON_TRAILING_DATA:
            return "a document is one value: remove what follows it; json format, get, paths, "
                   "types, set, remove, merge and patch take several with --jsonl";
        case WIQ_ERR_JSON_UNEXPECTED_END:
            return "close what is open, or get the whole file again";
        case WIQ_ERR_JSON_CONTROL_CHAR:
            return "write it as an escape: \\n, \\t or \\u and four digits";
        case WIQ_ERR_JSON_BAD_ESCAPE:
            return "write a backslash as \\\\, or one of the escapes of JSON";
        case WIQ_ERR_JSON_BAD_NUMBER:
            return "write digits without a leading 0 or +, and digits after a point or an e";
        case WIQ_ERR_JSON_BAD_TOKEN:
            return "write a value, and a text in double quotes";
        case WIQ_ERR_JSON_BAD_UTF8:
            return "convert the file to UTF-8";
        case WIQ_ERR_JSON_BAD_UNICODE_ESCAPE:
            return "write a pair of \\ud800 to \\udbff and \\udc00 to \\udfff";
        case WIQ_ERR_INI_SYNTAX:
            return "write [section], [section \"argument\"], key = value, or # in front of a "
                   "comment";
        default:
            return "";
    }
}

// Returns how many letters must be changed, added, removed or swapped with their neighbour to turn one word
// into the other.
size_t edit_distance(const std::string& a, const std::string& b) {
    std::vector<std::vector<size_t>> rows(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i) {
        for (size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                rows[i][j] = i + j;
                continue;
            }
            const size_t changed = rows[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            rows[i][j] = std::min({changed, rows[i - 1][j] + 1, rows[i][j - 1] + 1});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
        }
    }
    return rows[a.size()][b.size()];
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

Failure failure_at(std::string_view file, const Excerpt& excerpt, size_t offset,
                   const std::string& message, int exit_status) {
    const std::string_view text = excerpt.text;
    offset = std::min(offset, text.size());
    const std::string_view before = text.substr(0, offset);
    const u64 lines = static_cast<u64>(std::count(before.begin(), before.end(), '\n'));
    const size_t line_start = before.rfind('\n') + 1;  // npos + 1 is 0
    const u64 column =
        1 + count_characters(before.substr(line_start)) + (lines == 0 ? excerpt.columns_before : 0);

    size_t position = 0;
    const std::string_view shown = shown_line(text, offset, &position);
    std::string whole = std::string(file) + ":" + std::to_string(1 + lines + excerpt.lines_before) +
                        ":" + std::to_string(column) + ": " + message;
    whole += "\n" + std::string(shown) + "\n" + blank_like(shown.substr(0, position)) + "^";
    return {whole, exit_status};
}

Failure failure_at(std::string_view file, const Excerpt& excerpt, size_t offset, i32 status,
                   std::string_view found) {
    std::string message = explained(status);
    if (!found.empty())
        message += ": " + std::string(found);
    const std::string_view todo = advice(status);
    if (!todo.empty())
        message += "; " + std::string(todo);
    return failure_at(file, excerpt, offset, message);
}

std::string suggestion(const std::string& word, const std::vector<std::string>& known) {
    constexpr size_t kMaxListed = 12;
    size_t best = ~size_t{0};
    std::string nearest;
    std::string all;
    for (const std::string& candidate : known) {
        const size_t distance = edit_distance(word, candidate);
        if (distance < best) {
            best = distance;
            nearest = candidate;
        }
        all += (all.empty() ? "" : ", ") + candidate;
    }
    if (best <= std::max<size_t>(2, word.size() / 3))
        return "; did you mean \"" + nearest + "\"?";
    return known.size() <= kMaxListed ? "; there are " + all
                                      : "; the nearest is \"" + nearest + "\"";
}

void check(std::string_view subject, i32 status) {
    if (status < 0)
        throw failure(subject, status);
}

}  // namespace tool
