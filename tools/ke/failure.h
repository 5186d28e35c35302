// How a command says that it cannot do its work: it throws a Failure, and main prints it and ends with its
// exit status. Usage mistakes are found by the argument parser and never get here.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "ke_utils/types.h"

namespace tool {

constexpr int kExitOk = 0;
constexpr int kExitNo = 1;  // the answer of a comparison
constexpr int kExitData = 2;
constexpr int kExitUsage = 64;

struct Failure {
    std::string message;  // whole lines, without the last line feed
    int exit_status = kExitData;
};

// "WIQ_ERR_NOT_FOUND", or "" for a number that is no status.
std::string_view status_name(i32 status);
// "a file or directory does not exist"
std::string_view status_meaning(i32 status);

// "SUBJECT: MEANING (NAME, NUMBER)"
Failure failure(std::string_view subject, i32 status);

// As a compiler would: "FILE:LINE:COLUMN: MEANING (NAME, NUMBER)", the line, and a caret under the place.
// `offset` is a byte offset in `text`; columns count characters, from 1.
Failure failure_at(std::string_view file, std::string_view text, size_t offset, i32 status);

// Throws failure(subject, status) unless the status is 0 or a count.
void check(std::string_view subject, i32 status);

}  // namespace tool
