// What ke prints when something is wrong: position, line and caret, the exit status, and nothing on standard
// output.
#include <gtest/gtest.h>

#include "ke_utils/files.h"
#include "tools/process.h"

namespace {

struct Row {
    std::vector<std::string> args;
    std::string input;
    int status;
    std::string message;  // the message, or how it begins
};

void expect_rows(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        std::string line = "ke";
        for (const std::string& arg : row.args)
            line += " " + arg;
        SCOPED_TRACE(line);
        const Outcome outcome = ke(row.args, row.input);
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err.substr(0, row.message.size() + 4), "ke: " + row.message);
    }
}

#define BAD_TOKEN "an invalid character or word in JSON text (WIQ_ERR_JSON_BAD_TOKEN, -1046)"
#define ADVICE "; write a value, and a text in double quotes"

TEST(KeMistakes, PositionsInDocuments) {
    expect_rows({
        {{"json", "format"},
         "{\"a\":1,\n \"b\": tru}",
         2,
         "standard input:2:9: " BAD_TOKEN ": found \"tru\"" ADVICE "\n \"b\": tru}\n        ^\n"},
        // With UTF-8 before the mistake, columns count characters of the user's text.
        {{"json", "format"},
         "[\"\xE2\x82\xAC\xC3\xA9\", x]",
         2,
         "standard input:1:8: " BAD_TOKEN ": found \"x\"" ADVICE "\n[\"\xE2\x82\xAC\xC3\xA9\", x]\n"
         "       ^\n"},
        {{"json", "format"},
         "\t\t[\"a\",\tx]",
         2,
         "standard input:1:9: " BAD_TOKEN ": found \"x\"" ADVICE
         "\n\t\t[\"a\",\tx]\n\t\t     \t^\n"},
        {{"json", "format"},
         "[\"a\xFF\"]",
         2,
         "standard input:1:4: an invalid UTF-8 sequence in JSON text (WIQ_ERR_JSON_BAD_UTF8, "
         "-1049); convert the file to UTF-8\n"},
        {{"json", "format"}, "", 2, "standard input:1:1: "},
        {{"json", "format"}, "[1,2", 2, "standard input:1:5: "},
        {{"json", "format"}, "[1] x", 2, "standard input:1:5: "},
        {{"json", "format"}, "\r\n\r\n[1,\r\n,]", 2, "standard input:4:1: "},
    });
}

// A text may contain terminal commands, and characters that would end a message.
TEST(KeMistakes, ShowNoControlCharacters) {
    expect_rows({
        {{"json", "format"},
         std::string("[\"a\033[2J\0\x7F\"]", 11),
         2,
         "standard input:1:4: a raw control character inside a JSON string "
         "(WIQ_ERR_JSON_CONTROL_CHAR, -1042); "
         "write it as an escape: \\n, \\t or \\u and four digits\n[\"a?[2J??\"]\n   ^\n"},
        {{"json", "format"},
         std::string("[1,\0]", 5),
         2,
         "standard input:1:4: " BAD_TOKEN ADVICE "\n[1,?]\n   ^\n"},
        {{"status", "x\033[2J"}, "", 2, "status \"x?[2J\": no status has this name"},
    });
}

// Missing arguments and unknown options.
TEST(KeMistakes, ShowTheUsageOfTheCommand) {
    const std::string hint = "\nTry \"ke --help\" or \"ke COMMAND --help\".\n";
    expect_rows({
        {{"ini", "set"},
         "",
         64,
         "section is required\nUsage: ke ini set SECTION KEY VALUE [FILE]" + hint},
        {{"ini", "set", "a", "k"},
         "",
         64,
         "value is required\nUsage: ke ini set SECTION KEY VALUE [FILE]" + hint},
        {{"ini", "set", "a", "k", "-x", "f"},
         "",
         64,
         "The following argument was not expected: -x; put \"--\" before an argument that begins "
         "with \"-\" and is not an option\nUsage: ke ini set SECTION KEY VALUE [FILE]" +
             hint},
        {{"json", "get", "/a", "--wehre", "/b=1"},
         "",
         64,
         "\"--wehre\" is not an option of \"json get\"; did you mean \"--where\"?" + hint},
        {{"json", "get", "/a", "--compacct=1"},
         "",
         64,
         "\"--compacct\" is not an option of \"json get\"; did you mean \"--compact\"?" + hint},
        {{"ini"},
         "",
         64,
         "a command of \"ini\" is missing; there are to-json, get, set, remove, "
         "sections, keys" +
             hint},
        {{}, "", 64, "a command is missing; there are json, ini, dump"},
        {{"json", "fromat"},
         "",
         64,
         "\"fromat\" is not a command of \"json\"; did you mean \"format\"?" + hint},
    });
    // After "--", every argument is a word.
    EXPECT_EQ(ke({"ini", "set", "a", "k", "--", "-x"}, "[a]\n").out, "[a]\nk = -x\n");
    EXPECT_EQ(ke({"json", "set", "--string", "/a", "--", "--b"}, "{}").out, "{\"a\": \"--b\"}");
}

TEST(KeMistakes, LongLinesAreShownInPart) {
    const std::string text =
        "[\"" + std::string(5000, 'a') + "\", x, \"" + std::string(5000, 'b') + "\"]";
    const Outcome outcome = ke({"json", "format"}, text);
    EXPECT_EQ(outcome.status, 2);
    const size_t shown = outcome.err.find('\n') + 1;
    const size_t caret = outcome.err.find('\n', shown) + 1;
    ASSERT_NE(caret, 0u);
    const std::string line = outcome.err.substr(shown, caret - shown - 1);
    EXPECT_LE(line.size(), 100u);
    const size_t column = outcome.err.size() - caret - 2;
    ASSERT_LT(column, line.size());
    EXPECT_EQ(line[column], 'x') << outcome.err;
}

TEST(KeMistakes, PositionsInIniFiles) {
    expect_rows({
        {{"ini", "to-json"},
         "[a]\n  b c\n",
         2,
         "standard input:2:5: a syntax error in an INI file (WIQ_ERR_INI_SYNTAX, -7010); "},
        {{"ini", "to-json"}, "[a", 2, "standard input:1:3: "},
        {{"ini", "get", "a", "k"}, "[a]\n=\n", 2, "standard input:2:1: "},
        {{"ini", "get", "a", "k"},
         "[a]\nother = 1\n",
         2,
         "standard input: [a] k: an object has no member with this key (WIQ_ERR_KEY_NOT_FOUND, "
         "-1037)\n"},
    });
}

TEST(KeMistakes, TheDataIsWrong) {
    expect_rows({
        {{"json", "format", "none.json"},
         "",
         2,
         "none.json: a file or directory does not exist (WIQ_ERR_NOT_FOUND, -3002)\n"},
        {{"json", "get", "/x"}, "{}", 2, "pointer \"/x\": "},
        {{"json", "get", "x"}, "{}", 2, "pointer \"x\": "},
        {{"json", "set", "/a", "nope"}, "{}", 2, "VALUE:1:"},
        {{"json", "set", "/a/b", "1"}, "{\"a\":1}", 2, "pointer \"/a/b\": "},
        {{"json", "remove", "/x"}, "{}", 2, "pointer \"/x\": "},
        {{"json", "remove", ""}, "{}", 2, "pointer \"\": the whole document cannot be removed\n"},
        {{"json", "expand"}, "{\"a\":{\"$ref\":\"#/a\"}}", 2, "standard input:1:6: a reference: "},
        {{"json", "expand"},
         "{\"a\":{\"$ref\":\"#/none\"}}",
         2,
         "standard input:1:6: a reference: "},
        {{"json", "equal", "none.json", "-"}, "1", 2, "none.json: "},
        {{"base64", "decode"}, "QUJD*", 2, "standard input:1:5: "},
        {{"number", "12x"}, "", 2, "number \"12x\": "},
        {{"number", "340282366920938463463374607431768211456"}, "", 2, "number "},
        {{"capacity", "abc"}, "", 2, "capacity \"abc\": "},
        {{"status", "zero"}, "", 2, "status \"zero\": no status has this name"},
        {{"status", "-99999"}, "", 2, "status -99999: no such status code\n"},
        {{"schema", "nothing"}, "", 2, "schema"},
    });
}

TEST(KeMistakes, WrongUsage) {
    const std::string hint = "Try \"ke --help\" or \"ke COMMAND --help\".\n";
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {},
             {"nonsense"},
             {"json"},
             {"json", "nonsense"},
             {"json", "get"},
             {"json", "set", "/a"},
             {"json", "equal", "-"},
             {"json", "format", "--nonsense"},
             {"json", "format", "--in-place", "-o", "x", "y"},
             {"capacity"},
             {"capacity", "100", "--sector", "513"},
             {"capacity", "100", "--lba", "5"},
             {"number", "1", "--base", "37"},
             {"number", "1", "--base", "1"},
             {"dump", "--line", "-1"},
             {"ini", "get", "a"},
         }) {
        const Outcome outcome = ke(args);
        EXPECT_EQ(outcome.status, 64);
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err.find(hint), std::string::npos) << outcome.err;
    }
    EXPECT_EQ(ke({"json", "equal", "-", "-"}).status, 64);
    EXPECT_EQ(ke({"json", "format", "--in-place"}, "1").status, 64) << "no file to replace";
}

}  // namespace
