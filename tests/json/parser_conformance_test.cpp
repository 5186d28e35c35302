// The parser against the standard: for each kind of text in the published JSON parsing suites, whether RFC
// 8259 requires it to be accepted, requires it to be rejected or leaves it open, and what this parser does.
// The kinds come from the suites; the texts and answers are written here. Error positions are in
// parser_reject_test.cpp.
//
// There are two points in which this parser is stricter than the standard. They have their own table, so a
// third one cannot appear unnoticed.
#include "json/parser_support.h"

namespace {

using namespace std::string_view_literals;

struct Case {
    const char* kind;
    std::string_view text;
    const char* tree;  // nullptr means rejected
    i32 status = 0;
};

enum class Answer { kAccepted, kRejected, kEither };

template <size_t N>
void check_all(const Case (&cases)[N], Answer answer) {
    ScratchFile file;
    for (const Case& row : cases) {
        SCOPED_TRACE(row.kind);
        const bool accepted = row.tree != nullptr;
        EXPECT_TRUE(answer == Answer::kEither || accepted == (answer == Answer::kAccepted));
        const LoadOutcome stream = file.load(row.text, 0);
        EXPECT_EQ(stream.error.status, row.status);
        EXPECT_EQ(stream.tree, accepted ? row.tree : "");
        // A C string cannot contain a NUL.
        if (row.text.find('\0') != std::string_view::npos)
            continue;
        const LoadOutcome string = load_string(std::string(row.text), 0);
        EXPECT_EQ(string.error.status, row.status);
        EXPECT_EQ(string.tree, accepted ? row.tree : "");
    }
}

TEST(ParserConformance, StructuresToAccept) {
    constexpr Case kCases[] = {
        {"array of arrays, blanks", "[[]   ]"sv, "[[]]"},
        {"empty array", "[]"sv, "[]"},
        {"empty string in array", "[\"\"]"sv, "[\"\"]"},
        {"newline after array", "[\"a\"]\n"sv, "[\"a\"]"},
        {"false in array", "[false]"sv, "[false]"},
        {"mixed array", "[null, 1, \"1\", {}]"sv, "[null,1,\"1\",{}]"},
        {"null in array", "[null]"sv, "[null]"},
        {"newline after element", "[1\n]"sv, "[1]"},
        {"leading blank", " [1]"sv, "[1]"},
        {"trailing blank", "[2] "sv, "[2]"},
        {"several nulls", "[1,null,null,null,2]"sv, "[1,null,null,null,2]"},
        {"true in array", "[true]"sv, "[true]"},
        {"blanks around everything", " \t\r\n[ \t\r\n] \t\r\n"sv, "[]"},
        {"lone false", "false"sv, "false"},
        {"lone integer", "42"sv, "42"},
        {"lone negative real", "-0.1"sv, "d:-0.10000000000000001"},
        {"lone null", "null"sv, "null"},
        {"lone string", "\"asd\""sv, "\"asd\""},
        {"lone true", "true"sv, "true"},
        {"lone empty string", "\"\""sv, "\"\""},
        {"object of two", "{\"asd\":\"sdf\", \"dfg\":\"fgh\"}"sv,
         "{\"asd\":\"sdf\",\"dfg\":\"fgh\"}"},
        {"object of one", "{\"asd\":\"sdf\"}"sv, "{\"asd\":\"sdf\"}"},
        {"duplicate key", "{\"a\":\"b\",\"a\":\"c\"}"sv, "{\"a\":\"c\"}"},
        {"duplicate key and value", "{\"a\":\"b\",\"a\":\"b\"}"sv, "{\"a\":\"b\"}"},
        {"empty object", "{}"sv, "{}"},
        {"empty key", "{\"\":0}"sv, "{\"\":0}"},
        {"large reals", "{\"min\":-1.0e+28,\"max\":1.0e+28}"sv,
         "{\"max\":d:9.9999999999999996e+27,\"min\":d:-9.9999999999999996e+27}"},
        {"long strings",
         "{\"x\":[{\"id\":\"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx\"}],\"id\":\"y\"}"sv,
         "{\"id\":\"y\",\"x\":[{\"id\":\"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx\"}]}"},
        {"object of an empty array", "{\"a\":[]}"sv, "{\"a\":[]}"},
        {"escaped text beyond ASCII", "{\"t\":\"\\u041f\\u043e\"}"sv,
         "{\"t\":\"\\xD0\\x9F\\xD0\\xBE\"}"},
        {"object over lines", "{\n\"a\": \"b\"\n}"sv, "{\"a\":\"b\"}"},
    };
    check_all(kCases, Answer::kAccepted);
}

TEST(ParserConformance, NumbersToAccept) {
    constexpr Case kCases[] = {
        {"integer and exponent", "[123e65]"sv, "[d:1.2300000000000001e+67]"},
        {"zero, positive exponent", "[0e+1]"sv, "[d:0]"},
        {"zero, exponent", "[0e1]"sv, "[d:0]"},
        {"after a blank", "[ 4]"sv, "[4]"},
        {"near zero", "[-0.000000000000000000000000000000000000000000001]"sv,
         "[d:-9.9999999999999998e-46]"},
        {"small exponent", "[20e1]"sv, "[d:200]"},
        {"negative zero", "[-0]"sv, "[0]"},
        {"negative zero, real", "[-0.0]"sv, "[d:-0]"},
        {"negative", "[-123]"sv, "[-123]"},
        {"minus one", "[-1]"sv, "[-1]"},
        {"capital E", "[1E22]"sv, "[d:1e+22]"},
        {"capital E, negative", "[1E-2]"sv, "[d:0.01]"},
        {"capital E, positive", "[1E+2]"sv, "[d:100]"},
        {"exponent", "[123e45]"sv, "[d:1.2299999999999999e+47]"},
        {"fraction and exponent", "[123.456e78]"sv, "[d:1.23456e+80]"},
        {"negative exponent", "[1e-2]"sv, "[d:0.01]"},
        {"positive exponent", "[1e+2]"sv, "[d:100]"},
        {"simple integer", "[123]"sv, "[123]"},
        {"simple real", "[123.456789]"sv, "[d:123.456789]"},
    };
    check_all(kCases, Answer::kAccepted);
}

TEST(ParserConformance, StringsToAccept) {
    constexpr Case kCases[] = {
        {"escaped 1, 2 and 3 bytes", "[\"\\u0060\\u012a\\u12AB\"]"sv,
         "[\"`\\xC4\\xAA\\xE1\\x8A\\xAB\"]"},
        {"surrogate pair", "[\"\\uD801\\udc37\"]"sv, "[\"\\xF0\\x90\\x90\\xB7\"]"},
        {"surrogate pairs", "[\"\\ud83d\\ude39\\ud83d\\udc8d\"]"sv,
         "[\"\\xF0\\x9F\\x98\\xB9\\xF0\\x9F\\x92\\x8D\"]"},
        {"every escape", "[\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"]"sv,
         "[\"\\x22\\x5C/\\x08\\x0C\\x0A\\x0D\\x09\"]"},
        {"backslash, then u0000", "[\"\\\\u0000\"]"sv, "[\"\\x5Cu0000\"]"},
        {"escaped quote", "[\"\\\"\"]"sv, "[\"\\x22\"]"},
        {"comments inside", "[\"a/*b*/c/*d//e\"]"sv, "[\"a/*b*/c/*d//e\"]"},
        {"backslash, then a", "[\"\\\\a\"]"sv,
         "[\"\\x5C"
         "a\"]"},
        {"backslash, then n", "[\"\\\\n\"]"sv, "[\"\\x5Cn\"]"},
        {"escaped control character", "[\"\\u0012\"]"sv, "[\"\\x12\"]"},
        {"escaped noncharacter", "[\"\\uFFFF\"]"sv, "[\"\\xEF\\xBF\\xBF\"]"},
        {"after a blank", "[ \"asd\"]"sv, "[\"asd\"]"},
        {"last pair", "[\"\\uDBFF\\uDFFF\"]"sv, "[\"\\xF4\\x8F\\xBF\\xBF\"]"},
        {"escaped no-break space", "[\"new\\u00A0line\"]"sv, "[\"new\\xC2\\xA0line\"]"},
        {"one byte escaped", "[\"\\u002c\"]"sv, "[\",\"]"},
        {"two bytes escaped", "[\"\\u0123\"]"sv, "[\"\\xC4\\xA3\"]"},
        {"three bytes escaped", "[\"\\u0821\"]"sv, "[\"\\xE0\\xA0\\xA1\"]"},
        {"four bytes escaped", "[\"\\uD834\\uDd1e\"]"sv, "[\"\\xF0\\x9D\\x84\\x9E\"]"},
        {"ASCII", "[\"asd \"]"sv, "[\"asd \"]"},
        {"a blank", "\" \""sv, "\" \""},
        {"escaped letters", "[\"\\u0061\\u30af\\u30EA\"]"sv,
         "[\"a\\xE3\\x82\\xAF\\xE3\\x83\\xAA\"]"},
        {"escaped newline", "[\"new\\u000Aline\"]"sv, "[\"new\\x0Aline\"]"},
        {"raw delete", "[\"\x7f\"]"sv, "[\"\\x7F\"]"},
        {"raw delete between",
         "[\"a\x7f"
         "a\"]"sv,
         "[\"a\\x7F"
         "a\"]"},
        {"escaped backslash", "[\"\\u005C\"]"sv, "[\"\\x5C\"]"},
        {"escaped double quote", "[\"\\u0022\"]"sv, "[\"\\x22\"]"},
        {"escaped line separator", "[\"\\u2028\"]"sv, "[\"\\xE2\\x80\\xA8\"]"},
        {"escaped invisible plus", "[\"\\u2064\"]"sv, "[\"\\xE2\\x81\\xA4\"]"},
        {"U+10FFFE", "[\"\\uDBFF\\uDFFE\"]"sv, "[\"\\xF4\\x8F\\xBF\\xBE\"]"},
        {"U+1FFFE", "[\"\\uD83F\\uDFFE\"]"sv, "[\"\\xF0\\x9F\\xBF\\xBE\"]"},
        {"U+200B", "[\"\\u200B\"]"sv, "[\"\\xE2\\x80\\x8B\"]"},
        {"U+FDD0", "[\"\\uFDD0\"]"sv, "[\"\\xEF\\xB7\\x90\"]"},
        {"U+FFFE", "[\"\\uFFFE\"]"sv, "[\"\\xEF\\xBF\\xBE\"]"},
    };
    check_all(kCases, Answer::kAccepted);
}

// What the standard accepts and this parser does not: unescaped non-ASCII characters, and the escape of NUL.
TEST(ParserConformance, StricterThanTheStandard) {
    constexpr Case kCases[] = {
        {"raw two bytes", "[\"\xC3\xA9\"]"sv, nullptr, kToken},
        {"raw three bytes", "[\"\xE2\x82\xAC\"]"sv, nullptr, kToken},
        {"raw four bytes", "[\"\xF0\x9D\x84\x9E\"]"sv, nullptr, kToken},
        {"raw U+FFFF", "[\"\xEF\xBF\xBF\"]"sv, nullptr, kToken},
        {"raw U+10FFFF", "[\"\xF4\x8F\xBF\xBF\"]"sv, nullptr, kToken},
        {"raw U+1BFFF", "[\"\xF0\x9B\xBF\xBF\"]"sv, nullptr, kToken},
        {"raw pi", "[\"\xCF\x80\"]"sv, nullptr, kToken},
        {"raw line separator", "[\"\xE2\x80\xA8\"]"sv, nullptr, kToken},
        {"raw paragraph separator", "[\"\xE2\x80\xA9\"]"sv, nullptr, kToken},
        {"raw and alone", "\"\xC3\xA9\""sv, nullptr, -61},
        {"raw in a key", "{\"\xC3\xA9\":1}"sv, nullptr, kUnexpected},
        {"escaped NUL", "[\"\\u0000\"]"sv, nullptr, kToken},
        {"escaped NUL, alone", "\"\\u0000\""sv, nullptr, kUnicode},
        {"escaped NUL in a key", "{\"foo\\u0000bar\": 42}"sv, nullptr, kUnexpected},
    };
    check_all(kCases, Answer::kRejected);
}

TEST(ParserConformance, ArraysToReject) {
    constexpr Case kCases[] = {
        {"no comma", "[1 true]"sv, nullptr, kUnexpected},
        {"invalid byte", "[a\xE5]"sv, nullptr, kToken},
        {"colon for comma", "[\"\": 1]"sv, nullptr, kUnexpected},
        {"comma after array", "[\"\"],"sv, nullptr, kTrailing},
        {"comma and number", "[,1]"sv, nullptr, kUnexpected},
        {"double comma", "[1,,2]"sv, nullptr, kUnexpected},
        {"double extra comma", "[\"x\",,]"sv, nullptr, kUnexpected},
        {"extra bracket", "[\"x\"]]"sv, nullptr, kTrailing},
        {"extra comma", "[\"\",]"sv, nullptr, kUnexpected},
        {"incomplete", "[\"x\""sv, nullptr, kEnd},
        {"incomplete, other value", "[x"sv, nullptr, kToken},
        {"inner array, no comma", "[3[4]]"sv, nullptr, kUnexpected},
        {"byte of no character", "[\xFF]"sv, nullptr, kToken},
        {"just a comma", "[,]"sv, nullptr, kUnexpected},
        {"just a minus", "[-]"sv, nullptr, kToken},
        {"missing value", "[   , \"\"]"sv, nullptr, kUnexpected},
        {"unclosed over lines", "[\"a\",\n4\n,1,"sv, nullptr, kEnd},
        {"comma before the end", "[1,]"sv, nullptr, kUnexpected},
        {"commas before the end", "[1,,]"sv, nullptr, kUnexpected},
        {"vertical tab", "[\"\va\"\\f]"sv, nullptr, kToken},
        {"star", "[*]"sv, nullptr, kToken},
        {"unclosed, empty string", "[\"\""sv, nullptr, kEnd},
        {"unclosed, trailing comma", "[1,"sv, nullptr, kEnd},
        {"unclosed, newlines", "[1,\n1\n,1"sv, nullptr, kEnd},
        {"unclosed, object inside", "[{}"sv, nullptr, kEnd},
        {"cut false", "[fals]"sv, nullptr, kToken},
        {"cut null", "[nul]"sv, nullptr, kToken},
        {"cut true", "[tru]"sv, nullptr, kToken},
        {"capitals", "[TRUE]"sv, nullptr, kToken},
        {"bare word", "[asd]"sv, nullptr, kToken},
    };
    check_all(kCases, Answer::kRejected);
}

TEST(ParserConformance, NumbersToReject) {
    constexpr Case kCases[] = {
        {"two signs", "[++1234]"sv, nullptr, kToken},
        {"plus", "[+1]"sv, nullptr, kToken},
        {"plus infinity", "[+Inf]"sv, nullptr, kToken},
        {"minus zero one", "[-01]"sv, nullptr, kToken},
        {"minus one point", "[-1.0.]"sv, nullptr, kUnexpected},
        {"minus two points", "[-2.]"sv, nullptr, kToken},
        {"point and minus", "[.-1]"sv, nullptr, kToken},
        {"point and exponent", "[.2e-3]"sv, nullptr, kToken},
        {"two points", "[0.1.2]"sv, nullptr, kUnexpected},
        {"0.3e+", "[0.3e+]"sv, nullptr, kToken},
        {"0.3e", "[0.3e]"sv, nullptr, kToken},
        {"0.e1", "[0.e1]"sv, nullptr, kToken},
        {"0E+", "[0E+]"sv, nullptr, kToken},
        {"0E", "[0E]"sv, nullptr, kToken},
        {"1.0e+", "[1.0e+]"sv, nullptr, kToken},
        {"1.0e-", "[1.0e-]"sv, nullptr, kToken},
        {"1.0e", "[1.0e]"sv, nullptr, kToken},
        {"blank between", "[1 000.0]"sv, nullptr, kUnexpected},
        {"1eE2", "[1eE2]"sv, nullptr, kToken},
        {"2.e+3", "[2.e+3]"sv, nullptr, kToken},
        {"9.e+", "[9.e+]"sv, nullptr, kToken},
        {"expression", "[1+2]"sv, nullptr, kUnexpected},
        {"hexadecimal digit", "[0x1]"sv, nullptr, kUnexpected},
        {"hexadecimal digits", "[0x42]"sv, nullptr, kUnexpected},
        {"infinity", "[Infinity]"sv, nullptr, kToken},
        {"invalid sign", "[0e+-1]"sv, nullptr, kToken},
        {"negative, invalid", "[-123.123foo]"sv, nullptr, kUnexpected},
        {"invalid byte", "[123\xE5]"sv, nullptr, kUnexpected},
        {"invalid byte in exponent", "[1e1\xE5]"sv, nullptr, kUnexpected},
        {"invalid byte alone", "[0\xE5]\n"sv, nullptr, kUnexpected},
        {"minus infinity", "[-Infinity]"sv, nullptr, kToken},
        {"minus and letters", "[-foo]"sv, nullptr, kToken},
        {"minus and blank", "[- 1]"sv, nullptr, kToken},
        {"leading zero", "[012]"sv, nullptr, kToken},
        {"negative leading zero", "[-012]"sv, nullptr, kToken},
        {"negative, no digit before point", "[-.123]"sv, nullptr, kToken},
        {"letter after number", "[-1x]"sv, nullptr, kUnexpected},
        {"real with letter", "[1.2a-3]"sv, nullptr, kUnexpected},
        {"no fraction", "[1.]"sv, nullptr, kToken},
        {"starts with point", "[.123]"sv, nullptr, kToken},
        {"not a number", "[NaN]"sv, nullptr, kToken},
        {"not a number, signed", "[-NaN]"sv, nullptr, kToken},
        {"full-width digit", "[\xEF\xBC\x91]"sv, nullptr, kToken},
        {"letter and exponent", "[1ea]"sv, nullptr, kToken},
        {"alone, cut", "-"sv, nullptr, kNumber},
    };
    check_all(kCases, Answer::kRejected);
}

TEST(ParserConformance, ObjectsToReject) {
    constexpr Case kCases[] = {
        {"bad value", "[\"x\", truth]"sv, nullptr, kToken},
        {"bracket as key", "{[: \"x\"}\n"sv, nullptr, kUnexpected},
        {"comma for colon", "{\"x\", null}"sv, nullptr, kUnexpected},
        {"double colon", "{\"x\"::\"b\"}"sv, nullptr, kUnexpected},
        {"raw emoji", "{\xF0\x9F\x87\xA8}"sv, nullptr, kUnexpected},
        {"garbage at the end", "{\"a\":\"a\" 123}"sv, nullptr, kUnexpected},
        {"single quotes", "{key: 'value'}"sv, nullptr, kUnexpected},
        {"invalid byte in key", "{\"\xB9\":\"0\",}"sv, nullptr, kUnexpected},
        {"missing colon", "{\"a\" b}"sv, nullptr, kUnexpected},
        {"missing key", "{:\"b\"}"sv, nullptr, kUnexpected},
        {"missing comma", "{\"a\" \"b\"}"sv, nullptr, kUnexpected},
        {"missing value", "{\"a\":"sv, nullptr, kUnexpected},
        {"no colon", "{\"a\""sv, nullptr, kUnexpected},
        {"number as key", "{1:1}"sv, nullptr, kUnexpected},
        {"large number as key", "{9999E9999:1}"sv, nullptr, kUnexpected},
        {"null as key", "{null:null,null:null}"sv, nullptr, kUnexpected},
        {"several trailing commas", "{\"id\":0,,,,,}"sv, nullptr, kUnexpected},
        {"single-quoted key", "{'a':0}"sv, nullptr, kUnexpected},
        {"trailing comma", "{\"id\":0,}"sv, nullptr, kUnexpected},
        {"trailing comment", "{\"a\":\"b\"}/**/"sv, nullptr, kTrailing},
        {"trailing open comment", "{\"a\":\"b\"}/**//"sv, nullptr, kTrailing},
        {"trailing line comment", "{\"a\":\"b\"}//"sv, nullptr, kTrailing},
        {"two commas in a row", "{\"a\":\"b\",,\"c\":\"d\"}"sv, nullptr, kUnexpected},
        {"unquoted key", "{a: \"b\"}"sv, nullptr, kUnexpected},
        {"unterminated value", "{\"a\":\"a"sv, nullptr, kToken},
        {"lone string inside", "{ \"foo\" : \"bar\", \"a\" }"sv, nullptr, kUnexpected},
        {"garbage after object", "{\"a\":\"b\"}#"sv, nullptr, kTrailing},
    };
    check_all(kCases, Answer::kRejected);
}

TEST(ParserConformance, StringsToReject) {
    constexpr Case kCases[] = {
        {"one surrogate, cut escape", "[\"\\uD800\\\"]"sv, nullptr, kToken},
        {"surrogate, escape u", "[\"\\uD800\\u\"]"sv, nullptr, kToken},
        {"surrogate, escape u1", "[\"\\uD800\\u1\"]"sv, nullptr, kToken},
        {"surrogate, escape u1x", "[\"\\uD800\\u1x\"]"sv, nullptr, kToken},
        {"raw accent, no quotes", "[\xC3\xA9]"sv, nullptr, kToken},
        {"backslash and NUL", "[\"\\\0\"]"sv, nullptr, kToken},
        {"escape x", "[\"\\x00\"]"sv, nullptr, kToken},
        {"three backslashes", "[\"\\\\\\\"]"sv, nullptr, kToken},
        {"escaped raw tab", "[\"\\\t\"]"sv, nullptr, kToken},
        {"escaped emoji", "[\"\\\xF0\x9F\x8C\x80\"]"sv, nullptr, kToken},
        {"cut escape", "[\"\\\"]"sv, nullptr, kToken},
        {"cut u escape", "[\"\\u00A\"]"sv, nullptr, kToken},
        {"cut surrogate", "[\"\\uD834\\uDd\"]"sv, nullptr, kToken},
        {"cut surrogate, bad escape", "[\"\\uD800\\uD800\\x\"]"sv, nullptr, kToken},
        {"bad hexadecimal digit", "[\"\\uqqqq\"]"sv, nullptr, kToken},
        {"invalid byte after backslash", "[\"\\\xE5\"]"sv, nullptr, kToken},
        {"invalid byte in u escape", "[\"\\u\xE5\"]"sv, nullptr, kToken},
        {"escape a", "[\"\\a\"]"sv, nullptr, kToken},
        {"leading u escape", "[\\u0020\"asd\"]"sv, nullptr, kToken},
        {"no quotes, escape", "[\\n]"sv, nullptr, kToken},
        {"lone double quote", "\""sv, nullptr, kEnd},
        {"single quotes", "['single quote']"sv, nullptr, kToken},
        {"no quotes", "abc"sv, nullptr, kToken},
        {"cut after backslash", "[\"\\"sv, nullptr, kToken},
        {"raw NUL", "[\"a\0a\"]"sv, nullptr, kToken},
        {"raw newline", "[\"new\nline\"]"sv, nullptr, kToken},
        {"raw tab", "[\"\t\"]"sv, nullptr, kToken},
        {"raw tab, alone", "\"\t\""sv, nullptr, kControl},
        {"capital U", "\"\\UA66D\""sv, nullptr, kEscape},
        {"garbage after string", "\"\"x"sv, nullptr, kTrailing},
    };
    check_all(kCases, Answer::kRejected);
}

TEST(ParserConformance, StructuresToReject) {
    constexpr Case kCases[] = {
        {"angle brackets", "<null>"sv, nullptr, kToken},
        {"angle brackets in array", "[<null>]"sv, nullptr, kToken},
        {"letter after array", "[1]x"sv, nullptr, kTrailing},
        {"bracket after array", "[1]]"sv, nullptr, kTrailing},
        {"cut byte order mark", "\xEF\xBB{}"sv, nullptr, kUtf8},
        {"byte order mark and nothing", "\xEF\xBB\xBF"sv, nullptr, -17},
        {"capital True", "[True]"sv, nullptr, kToken},
        {"bracket for a value", "1]"sv, nullptr, kTrailing},
        {"closing for opening", "]"sv, nullptr, kUnexpected},
        {"comma for a brace", "{\"x\": true,"sv, nullptr, kUnexpected},
        {"two arrays", "[][]"sv, nullptr, kTrailing},
        {"end of array as a value", "{\"a\": ]"sv, nullptr, kUnexpected},
        {"lone bracket", "["sv, nullptr, kEnd},
        {"lone brace", "{"sv, nullptr, kEnd},
        {"nothing", ""sv, nullptr, kUnexpected},
        {"NUL after array", "[1]\0"sv, nullptr, kTrailing},
        {"NUL inside", "[\0]"sv, nullptr, kToken},
        {"braces for brackets", "{]"sv, nullptr, kUnexpected},
        {"object and value", "{\"a\": true} \"x\""sv, nullptr, kTrailing},
        {"array and comma", "[1],"sv, nullptr, kTrailing},
        {"open array, apostrophe", "['"sv, nullptr, kToken},
        {"open array, comma", "[,"sv, nullptr, kUnexpected},
        {"open array, open object", "[{"sv, nullptr, kEnd},
        {"open array, open string", "[\"a"sv, nullptr, kToken},
        {"open array, string", "[\"a\""sv, nullptr, kEnd},
        {"open object, bracket", "{["sv, nullptr, kUnexpected},
        {"open object, comma", "{,"sv, nullptr, kUnexpected},
        {"open object, close array", "{]"sv, nullptr, kUnexpected},
        {"open object, open string", "{\"a"sv, nullptr, kUnexpected},
        {"open object, string", "{\"a\""sv, nullptr, kUnexpected},
        {"open object, apostrophe", "{'a'"sv, nullptr, kUnexpected},
        {"open all", "[\"\\{[\"\\{[\"\\{[\"\\{"sv, nullptr, kToken},
        {"byte of no character", "\xE5"sv, nullptr, kUtf8},
        {"star", "*"sv, nullptr, kToken},
        {"number and brace", "{\"a\":\"b\"}#{}"sv, nullptr, kTrailing},
        {"escape outside a string", "[\\u000A\"\"]"sv, nullptr, kToken},
        {"unclosed array", "[1"sv, nullptr, kEnd},
        {"unclosed, cut null", "[ false, nul"sv, nullptr, kToken},
        {"unclosed, cut true", "[ false, tru"sv, nullptr, kToken},
        {"unclosed object", "{\"asd\":\"asd\""sv, nullptr, kEnd},
        {"raw a-umlaut", "\xC3\xA5"sv, nullptr, -61},
        {"word joiner", "[\xE2\x81\xA0]"sv, nullptr, kToken},
        {"byte order mark inside", "[\xEF\xBB\xBF]"sv, nullptr, kToken},
        {"form feed as blank", "[\f]"sv, nullptr, kToken},
        {"no-break space as blank", "[\xC2\xA0]"sv, nullptr, kToken},
    };
    check_all(kCases, Answer::kRejected);
}

TEST(ParserConformance, FreeNumbers) {
    constexpr Case kCases[] = {
        {"huge negative exponent", "[123.456e-789]"sv, "[d:0]"},
        {"huge exponent", "[0.4e006699999999999999999999999999999999999969999999006]"sv, "[d:inf]"},
        {"negative, huge exponent", "[-1e+9999]"sv, "[d:-inf]"},
        {"positive, huge exponent", "[1.5e+9999]"sv, "[d:inf]"},
        {"negative overflow", "[-123123e100000]"sv, "[d:-inf]"},
        {"positive overflow", "[123123e100000]"sv, "[d:inf]"},
        {"underflow", "[123e-10000000]"sv, "[d:0]"},
        {"too large an integer", "[100000000000000000000]"sv, "[u:100000000000000000000]"},
        {"too small an integer", "[-123123123123123123123123123123]"sv,
         "[u:340282366797815340340251484308645088333]"},
        {"far too small an integer", "[-237462374673276894279832749832423479823246327846]"sv,
         "[u:32937266312677815518075703444639547354]"},
    };
    check_all(kCases, Answer::kEither);
}

TEST(ParserConformance, FreeStringsAndStructures) {
    constexpr Case kCases[] = {
        {"lone low surrogate in key", "{\"\\uDFAA\":0}"sv, nullptr, kUnexpected},
        {"high surrogate, no low", "[\"\\uDADA\"]"sv, nullptr, kToken},
        {"high surrogate, no low, alone", "\"\\uDADA\""sv, nullptr, kUnicode},
        {"high surrogate, other unit", "[\"\\uD888\\u1234\"]"sv, nullptr, kToken},
        {"high surrogate, newline", "[\"\\uD800\\n\"]"sv, nullptr, kToken},
        {"high surrogate and letters", "[\"\\uDd1ea\"]"sv, nullptr, kToken},
        {"two high surrogates, newline", "[\"\\uD800\\uD800\\n\"]"sv, nullptr, kToken},
        {"lone high surrogate", "[\"\\ud800\"]"sv, nullptr, kToken},
        {"high surrogate and ASCII", "[\"\\ud800abc\"]"sv, nullptr, kToken},
        {"high surrogate, digits of a low one", "[\"\\ud800xxdc00\"]"sv, nullptr, kToken},
        {"high surrogate, backslash, digits", "[\"\\ud800\\\\dc00\"]"sv, nullptr, kToken},
        {"high surrogate, u, digits", "[\"\\ud800xudc00\"]"sv, nullptr, kToken},
        {"inverted surrogates", "[\"\\uDd1e\\uD834\"]"sv, nullptr, kToken},
        {"lone low surrogate", "[\"\\uDFAA\"]"sv, nullptr, kToken},
        {"no UTF-8", "[\"\xFF\"]"sv, nullptr, kToken},
        {"Latin-1", "[\"\xE9\"]"sv, nullptr, kToken},
        {"lone continuation byte", "[\"\x81\"]"sv, nullptr, kToken},
        {"beyond Unicode", "[\"\xF4\xBF\xBF\xBF\"]"sv, nullptr, kToken},
        {"two bytes for one", "[\"\xC0\xAF\"]"sv, nullptr, kToken},
        {"six bytes", "[\"\xFC\x83\xBF\xBF\xBF\xBF\"]"sv, nullptr, kToken},
        {"six bytes for NUL", "[\"\xFC\x80\x80\x80\x80\x80\"]"sv, nullptr, kToken},
        {"cut sequence", "[\"\xE0\xFF\"]"sv, nullptr, kToken},
        {"encoded surrogate", "[\"\xED\xA0\x80\"]"sv, nullptr, kToken},
        {"no UTF-8, alone", "\"\xFF\""sv, nullptr, kUtf8},
        {"UTF-16, little-endian, marked", "\xFF\xFE[\0\"\0\"\0]\0"sv, nullptr, kUtf8},
        {"UTF-16, big-endian", "\0[\0\"\0\"\0]"sv, nullptr, kToken},
        {"UTF-16, little-endian", "[\0\"\0\"\0]\0"sv, nullptr, kToken},
        {"UTF-8 byte order mark", "\xEF\xBB\xBF{}"sv, nullptr, -17},
    };
    check_all(kCases, Answer::kEither);
}

std::string repeat(std::string_view text, int count) {
    std::string out;
    for (int i = 0; i < count; ++i)
        out += text;
    return out;
}

// Nesting deeper than many parsers support: each kind of text gets the same answer as a shallow one.
TEST(ParserConformance, Depth) {
    const std::string whole = repeat("[", 500) + repeat("]", 500);
    const std::string arrays = repeat("[", 100000);
    const std::string objects = repeat("[{\"\":", 50000) + "\n";
    const Case cases[] = {
        {"500 arrays, free", whole, whole.c_str()},
        {"100000 opening arrays, rejected", arrays, nullptr, kEnd},
        {"50000 arrays of objects, rejected", objects, nullptr, kUnexpected},
    };
    check_all(cases, Answer::kEither);
}

}  // namespace
