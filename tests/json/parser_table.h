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

// Short names, so that a row fits on a line.
constexpr i32 kEnd = WIQ_ERR_JSON_UNEXPECTED_END;
constexpr i32 kControl = WIQ_ERR_JSON_CONTROL_CHAR;
constexpr i32 kEscape = WIQ_ERR_JSON_BAD_ESCAPE;
constexpr i32 kNumber = WIQ_ERR_JSON_BAD_NUMBER;
constexpr i32 kPlace = WIQ_ERR_JSON_UNEXPECTED_TOKEN;
constexpr i32 kToken = WIQ_ERR_JSON_BAD_TOKEN;
constexpr i32 kTwice = WIQ_ERR_JSON_DUPLICATE_KEY;
constexpr i32 kUtf8 = WIQ_ERR_JSON_BAD_UTF8;
constexpr i32 kUnicode = WIQ_ERR_JSON_BAD_UNICODE_ESCAPE;
constexpr i32 kTrailing = WIQ_ERR_JSON_TRAILING_DATA;

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
