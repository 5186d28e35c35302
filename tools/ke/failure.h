// How a command says that it cannot do its work: it throws a Failure, and main prints it and ends with its
// exit status. Usage mistakes are found by the argument parser and never get here.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "ke_utils/types.h"

namespace tool {

constexpr int kExitOk = 0;
constexpr int kExitNo = 1;  // the answer of a comparison; or a value that a command could not keep
constexpr int kExitData = 2;
constexpr int kExitUsage = 64;

struct Failure {
    std::string message;  // whole lines, without "ke: " in front and the last line feed
    int exit_status = kExitData;
};

// "WIQ_ERR_NOT_FOUND", or "" for a number that is no status.
std::string_view status_name(i32 status);
// "a file or directory does not exist"
std::string_view status_meaning(i32 status);

// "SUBJECT: MEANING (NAME, NUMBER)"
Failure failure(std::string_view subject, i32 status);

// A text that a mistake was found in, or the part of it that is at hand.
struct Excerpt {
    std::string_view text;
    u64 lines_before = 0;    // line feeds in front of the part
    u64 columns_before = 0;  // characters in front of the part in its first line
};

// As a compiler would: "FILE:LINE:COLUMN: MESSAGE", the line, and a caret under the place. `offset` is a
// byte offset in the excerpt; columns count characters, from 1.
Failure failure_at(std::string_view file, const Excerpt& excerpt, size_t offset,
                   const std::string& message, int exit_status = kExitData);
// The same with "MEANING (NAME, NUMBER)", what was found there, and what to do about it.
Failure failure_at(std::string_view file, const Excerpt& excerpt, size_t offset, i32 status,
                   std::string_view found = {});

// What an unknown word could have meant: `; did you mean "get"?` where one is like it; otherwise all that
// there are, if they are few, or the nearest.
std::string suggestion(const std::string& word, const std::vector<std::string>& known);

// Throws failure(subject, status) unless the status is 0 or a count.
void check(std::string_view subject, i32 status);

}  // namespace tool
