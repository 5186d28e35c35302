// The fixture for the parser's tables: each row has a text and either the resulting tree, or the status and
// the position. Every text is read from a string and from a stream, with the same result.
#pragma once

#include "json/parser_support.h"

struct Accepted {
    const char* text;
    const char* tree;
};

struct Rejected {
    const char* text;
    i32 status;
    i32 position;  // also the column if no line is given
    i32 line = 1;
    i32 column = -1;
};

class ParserTable : public testing::Test {
  protected:
    // Checks the outcome from both sources.
    void check(const char* text, i32 flags, const LoadOutcome& expected) {
        const std::string name = describe_text(text);
        EXPECT_EQ(load_string(text, flags), expected) << name << " from a string";
        EXPECT_EQ(file_.load(text, flags), expected) << name << " from a stream";
    }

    void check_accepted(const char* text, const char* tree) {
        check(text, 0, {tree, {0, 1, 0, static_cast<i32>(strlen(text))}});
    }

    void check_rejected(const Rejected& row) {
        const i32 column = row.column < 0 ? row.position : row.column;
        check(row.text, 0, {"", {row.status, row.line, column, row.position}});
    }

    template <size_t N>
    void check_all(const Accepted (&rows)[N]) {
        for (const Accepted& row : rows)
            check_accepted(row.text, row.tree);
    }
    template <size_t N>
    void check_all(const Rejected (&rows)[N]) {
        for (const Rejected& row : rows)
            check_rejected(row);
    }

    ScratchFile file_;
};
