// How a command reports that it cannot do its work: it throws a Failure, which main() prints before it exits
// with the Failure's exit status. The argument parser finds usage mistakes by itself; they are not Failures.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "ke_utils/types.h"

namespace tool {

constexpr int kExitOk = 0;
constexpr int kExitNo = 1;  // a comparison says no, or a value could not be kept
constexpr int kExitData = 2;
constexpr int kExitUsage = 64;

struct Failure {
    std::string message;  // complete lines, without the leading "ke: " and the last line feed
    int exit_status = kExitData;
};

// Returns "WIQ_ERR_NOT_FOUND", for example, or "" if the number is not a status.
std::string_view status_name(i32 status);
// Returns "a file or directory does not exist", for example.
std::string_view status_meaning(i32 status);

// Makes a message of the form "SUBJECT: MEANING (NAME, NUMBER)".
Failure failure(std::string_view subject, i32 status);

// A text in which a mistake was found, or the part of it that is in memory.
struct Excerpt {
    std::string_view text;
    u64 lines_before = 0;    // line feeds before the part
    u64 columns_before = 0;  // characters before the part in its first line
};

// Makes a message like a compiler's: "FILE:LINE:COLUMN: MESSAGE", then the line, and a caret under the
// position. `offset` is a byte offset in the excerpt; columns count characters, from 1.
Failure failure_at(std::string_view file, const Excerpt& excerpt, size_t offset,
                   const std::string& message, int exit_status = kExitData);
// As above, with "MEANING (NAME, NUMBER)" as the message, followed by what was found there and what to do
// about it.
Failure failure_at(std::string_view file, const Excerpt& excerpt, size_t offset, i32 status,
                   std::string_view found = {});

// Suggests what an unknown word could have meant: `; did you mean "get"?` if one of the known words is
// similar; otherwise lists all known words if they are few, or else the nearest.
std::string suggestion(const std::string& word, const std::vector<std::string>& known);

// Throws failure(subject, status) if the status is negative.
void check(std::string_view subject, i32 status);

}  // namespace tool
