// Tables of commands with their input and the expected results.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/process.h"

struct Row {
    std::vector<std::string> args;
    std::string input;
    int status;
    std::string output;
    std::string message = {};  // how standard error begins after "ke: "; if "", it is empty
};

inline void expect_rows(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        std::string line = "ke";
        for (const std::string& arg : row.args)
            line += " " + arg;
        SCOPED_TRACE(line);
        const Outcome outcome = ke(row.args, row.input);
        EXPECT_EQ(outcome.status, row.status) << outcome.err;
        EXPECT_EQ(outcome.out, row.output);
        const std::string expected = row.message.empty() ? "" : "ke: " + row.message;
        EXPECT_EQ(row.message.empty() ? outcome.err : outcome.err.substr(0, expected.size()),
                  expected)
            << outcome.err;
    }
}
