// Texts that the parser accepts, and the resulting trees, written by hand. They include all kinds of texts
// that the published JSON parsing suites require to be accepted or leave open. The others are in
// parser_reject_test.cpp.
#include "json/parser_table.h"

namespace {

struct Flagged {
    const char* text;
    i32 flags;
    const char* tree;  // nullptr means rejected
    i32 status;
    i32 position;
};

TEST_F(ParserTable, ScalarsAccepted) {
    constexpr Accepted kRows[] = {
        {"null", "null"},
        {"true", "true"},
        {"false", "false"},
        {" null", "null"},
        {"null ", "null"},
        {"\t\r\n true \n", "true"},
        {"0", "0"},
        {"-0", "0"},
        {"1", "1"},
        {"-1", "-1"},
        {"10", "10"},
        {"1234567890", "1234567890"},
        {"999999999999999999", "999999999999999999"},
        {"-999999999999999999", "-999999999999999999"},
        {"1000000000000000000", "1000000000000000000"},
        {"9223372036854775806", "9223372036854775806"},
        {"9223372036854775807", "9223372036854775807"},
        {"-9223372036854775807", "-9223372036854775807"},
        {"-9223372036854775808", "-9223372036854775808"},
        // Integers that do not fit in a signed 64-bit number have 128 bits, modulo 2^128.
        {"9223372036854775808", "u:9223372036854775808"},
        {"-9223372036854775809", "u:340282366920938463454151235394913435647"},
        {"18446744073709551615", "u:18446744073709551615"},
        {"18446744073709551616", "u:18446744073709551616"},
        {"340282366920938463463374607431768211455", "u:340282366920938463463374607431768211455"},
        {"340282366920938463463374607431768211456", "u:0"},
        {"340282366920938463463374607431768211457", "u:1"},
        {"-340282366920938463463374607431768211455", "u:1"},
        {"-340282366920938463463374607431768211456", "u:0"},
        {"3402823669209384634633746074317682114560", "u:0"},
        {"0.0", "d:0"},
        {"-0.0", "d:-0"},
        {"0e0", "d:0"},
        {"0E+0", "d:0"},
        {"-0e-0", "d:-0"},
        {"1.0", "d:1"},
        {"1.5", "d:1.5"},
        {"-1.5", "d:-1.5"},
        {"0.25", "d:0.25"},
        {"0.1", "d:0.10000000000000001"},
        {"123e2", "d:12300"},
        {"123E2", "d:12300"},
        {"123e+2", "d:12300"},
        {"12500e-2", "d:125"},
        {"1.25e1", "d:12.5"},
        {"0.000125e+3", "d:0.125"},
        {"1e00", "d:1"},
        {"1e01", "d:10"},
        {"20e1", "d:200"},
        {"123.456789", "d:123.456789"},
        {"9223372036854775808.0", "d:9.2233720368547758e+18"},
        {"1.7976931348623157e308", "d:1.7976931348623157e+308"},
        {"4.9406564584124654e-324", "d:4.9406564584124654e-324"},
        {"2.2250738585072014e-308", "d:2.2250738585072014e-308"},
        // Numbers outside the range of doubles do not fail.
        {"1e400", "d:inf"},
        {"-1e400", "d:-inf"},
        {"1.7976931348623159e308", "d:inf"},
        {"1e-400", "d:0"},
        {"-1e-400", "d:-0"},
        {"1e99999999999999999999", "d:inf"},
        {"0e99999999999999999999", "d:0"},
        {"1e-99999999999999999999", "d:0"},
    };
    check_all(kRows);
}

TEST_F(ParserTable, StringsAccepted) {
    constexpr Accepted kRows[] = {
        {"\"\"", "\"\""},
        {"\" \"", "\" \""},
        {"\"a\"", "\"a\""},
        {" \"asd \" ", "\"asd \""},
        {"\"\x7f\"", "\"\\x7F\""},
        {"\"/ & ' # [ ] { } : ,\"", "\"/ & ' # [ ] { } : ,\""},
        {"\"a/*b*/c/*d//e\"", "\"a/*b*/c/*d//e\""},
        {"\"true\"", "\"true\""},
        {"\"\\\"\"", "\"\\x22\""},
        {"\"\\\\\"", "\"\\x5C\""},
        {"\"\\/\"", "\"/\""},
        {"\"\\b\\f\\n\\r\\t\"", "\"\\x08\\x0C\\x0A\\x0D\\x09\""},
        {"\"\\\\n\"", "\"\\x5Cn\""},
        {"\"\\\\u0041\"", "\"\\x5Cu0041\""},
        {"\"a\\\\\\\"b\"", "\"a\\x5C\\x22b\""},
        {"\"\\u0041\"", "\"A\""},
        {"\"\\u0022\"", "\"\\x22\""},
        {"\"\\u005C\"", "\"\\x5C\""},
        {"\"\\u0001\\u001f\"", "\"\\x01\\x1F\""},
        {"\"\\u007f\"", "\"\\x7F\""},
        {"\"\\u0080\"", "\"\\xC2\\x80\""},
        {"\"\\u00e9\"", "\"\\xC3\\xA9\""},
        {"\"\\u00E9\"", "\"\\xC3\\xA9\""},
        {"\"\\u07ff\"", "\"\\xDF\\xBF\""},
        {"\"\\u0800\"", "\"\\xE0\\xA0\\x80\""},
        {"\"\\u20aC\"", "\"\\xE2\\x82\\xAC\""},
        {"\"\\ud7ff\"", "\"\\xED\\x9F\\xBF\""},
        {"\"\\ue000\"", "\"\\xEE\\x80\\x80\""},
        {"\"\\uFEFF\"", "\"\\xEF\\xBB\\xBF\""},
        {"\"\\uFFFF\"", "\"\\xEF\\xBF\\xBF\""},
        {"\"\\ud800\\udc00\"", "\"\\xF0\\x90\\x80\\x80\""},
        {"\"\\ud83d\\ude00\"", "\"\\xF0\\x9F\\x98\\x80\""},
        {"\"\\uD83D\\uDE00\"", "\"\\xF0\\x9F\\x98\\x80\""},
        {"\"\\udbff\\udfff\"", "\"\\xF4\\x8F\\xBF\\xBF\""},
        {"\"a\\ud83d\\ude00b\\u00e9c\"", "\"a\\xF0\\x9F\\x98\\x80b\\xC3\\xA9c\""},
        {"\"\\u2028\\u2029\"", "\"\\xE2\\x80\\xA8\\xE2\\x80\\xA9\""},
        // Lengths around sixteen bytes, which are examined together.
        {"\"0123456789abcde\"", "\"0123456789abcde\""},
        {"\"0123456789abcdef\"", "\"0123456789abcdef\""},
        {"\"0123456789abcdefg\"", "\"0123456789abcdefg\""},
        {"\"0123456789abcdef0123456789abcde\\n\"", "\"0123456789abcdef0123456789abcde\\x0A\""},
        {"\"\\n123456789abcdef0123456789abcdef\"", "\"\\x0A123456789abcdef0123456789abcdef\""},
    };
    check_all(kRows);
}

TEST_F(ParserTable, ArraysAccepted) {
    constexpr Accepted kRows[] = {
        {"[]", "[]"},
        {"[ ]", "[]"},
        {" [ \n ] ", "[]"},
        {"[[]]", "[[]]"},
        {"[[] ]", "[[]]"},
        {"[[],[[]],[]]", "[[],[[]],[]]"},
        {"[[[[[[[[[[]]]]]]]]]]", "[[[[[[[[[[]]]]]]]]]]"},
        {"[\"\"]", "[\"\"]"},
        {"[\"a\"]", "[\"a\"]"},
        {"[1]", "[1]"},
        {"[1,2,3]", "[1,2,3]"},
        {"[1 , 2\t,\n3\r]", "[1,2,3]"},
        {"[1\n]", "[1]"},
        {" [1] ", "[1]"},
        {"[1,null,null,null,2]", "[1,null,null,null,2]"},
        {"[null,true,false]", "[null,true,false]"},
        {"[null, 1, \"1\", {}]", "[null,1,\"1\",{}]"},
        {"[-1,-0,1e1,0]", "[-1,0,d:10,0]"},
        {"[99999999999999999999,1e999]", "[u:99999999999999999999,d:inf]"},
        {"[{},{},[]]", "[{},{},[]]"},
        {"[{\"a\":[{\"b\":[]}]}]", "[{\"a\":[{\"b\":[]}]}]"},
        {"[\"\\u0012\",\"\\\"\"]", "[\"\\x12\",\"\\x22\"]"},
    };
    check_all(kRows);
}

TEST_F(ParserTable, ObjectsAccepted) {
    constexpr Accepted kRows[] = {
        {"{}", "{}"},
        {" { } ", "{}"},
        {"{\"a\":1}", "{\"a\":1}"},
        {"{ \"a\" : 1 }", "{\"a\":1}"},
        {"{\n\"a\"\n:\n1\n}\n", "{\"a\":1}"},
        {"{\"\":0}", "{\"\":0}"},
        {"{\"a\":[]}", "{\"a\":[]}"},
        {"{\"a\":{}}", "{\"a\":{}}"},
        {"{\"a\":{\"a\":{\"a\":null}}}", "{\"a\":{\"a\":{\"a\":null}}}"},
        {"{\"b\":1,\"a\":2}", "{\"a\":2,\"b\":1}"},
        {"{\"min\":-1.0e+28,\"max\":1.0e+28}",
         "{\"max\":d:9.9999999999999996e+27,"
         "\"min\":d:-9.9999999999999996e+27}"},
        {"{\"\\u0061\\n\":true}", "{\"a\\x0A\":true}"},
        {"{\"\\ud83d\\ude00\":1}", "{\"\\xF0\\x9F\\x98\\x80\":1}"},
        {"{\"x\":[{\"id\":\"aaaaaaaaaaaaaaaaaaaa\"}],\"id\":\"b\"}",
         "{\"id\":\"b\",\"x\":[{\"id\":\"aaaaaaaaaaaaaaaaaaaa\"}]}"},
        // Of equal keys, the last one counts.
        {"{\"a\":1,\"a\":2}", "{\"a\":2}"},
        {"{\"a\":1,\"b\":2,\"a\":[3]}", "{\"a\":[3],\"b\":2}"},
        {"{\"a\":{\"b\":1},\"\\u0061\":{}}", "{\"a\":{}}"},
        {"{\"a\":0,\"a\":0,\"a\":0}", "{\"a\":0}"},
        // References.
        {"{\"$ref\":\"#/a\"}", "ref:\"#/a\""},
        {"{\"$ref\":\"\"}", "ref:\"\""},
        {" { \"$ref\" : \"x\" } ", "ref:\"x\""},
        {"{\"\\u0024ref\":\"\\u00e9\"}", "ref:\"\\xC3\\xA9\""},
        {"{\"$ref\":1}", "{\"$ref\":1}"},
        {"{\"$ref\":null}", "{\"$ref\":null}"},
        {"{\"$ref\":[\"a\"]}", "{\"$ref\":[\"a\"]}"},
        {"{\"$ref\":\"x\",\"b\":1}", "{\"$ref\":\"x\",\"b\":1}"},
        {"{\"b\":1,\"$ref\":\"x\"}", "{\"$ref\":\"x\",\"b\":1}"},
        {"{\"$Ref\":\"x\"}", "{\"$Ref\":\"x\"}"},
        {"{\"$re\":\"x\"}", "{\"$re\":\"x\"}"},
        {"{\"$reff\":\"x\"}", "{\"$reff\":\"x\"}"},
        {"{\"a\":{\"$ref\":\"#/b\"},\"b\":1}", "{\"a\":ref:\"#/b\",\"b\":1}"},
        {"[{\"$ref\":\"0\"},{\"$ref\":\"1\"}]", "[ref:\"0\",ref:\"1\"]"},
        // A reference as the value of "$ref" is not a string, so the outer object stays an object.
        {"{\"$ref\":{\"$ref\":\"#/x\"}}", "{\"$ref\":ref:\"#/x\"}"},
        {"{\"$ref\":{\"$ref\":\"#/$ref\"}}", "{\"$ref\":ref:\"#/$ref\"}"},
        {"{\"$ref\":{\"$ref\":\"#\"}}", "{\"$ref\":ref:\"#\"}"},
        {"{\"x\":\"y\",\"z\":{\"$ref\":{\"$ref\":\"#/x\"}}}",
         "{\"x\":\"y\",\"z\":{\"$ref\":ref:\"#/x\"}}"},
        // Only one of two members with the same key remains.
        {"{\"$ref\":\"a\",\"$ref\":\"b\"}", "ref:\"b\""},
        {"{\"$ref\":1,\"$ref\":\"b\"}", "ref:\"b\""},
        {"{\"$ref\":\"a\",\"$ref\":1}", "{\"$ref\":1}"},
        {"{\"a\":{\"$ref\":\"x\"},\"a\":{\"$ref\":\"y\"}}", "{\"a\":ref:\"y\"}"},
    };
    check_all(kRows);
}

// The effect of the flags, at the top and in objects. Other failures are in parser_reject_test.cpp.
TEST_F(ParserTable, Flags) {
    constexpr i32 kAllow = WIQ_JSON_ALLOW_TRAILING;
    constexpr i32 kReject = WIQ_JSON_REJECT_DUPLICATES;
    constexpr Flagged kRows[] = {
        {"1", kAllow, "1", 0, 1},
        {"1 2", kAllow, "1", 0, 1},
        {" 1 2", kAllow, "1", 0, 2},
        {"1]", kAllow, "1", 0, 1},
        {"1x", kAllow, "1", 0, 1},
        {"1\n", kAllow, "1", 0, 1},
        {"-1.5e3,", kAllow, "d:-1500", 0, 6},
        {"[1]x", kAllow, "[1]", 0, 3},
        {"[1] \xFF", kAllow, "[1]", 0, 3},
        {"[1]\xFF", kAllow, "[1]", 0, 3},
        {"{} {}", kAllow, "{}", 0, 2},
        {"\n\n{\"a\":1}\n", kAllow, "{\"a\":1}", 0, 9},
        {"{\"$ref\":\"a\"}{", kAllow, "ref:\"a\"", 0, 12},
        {"true false", kAllow, "true", 0, 4},
        {"true,", kAllow, "true", 0, 4},
        {"\"a\"\"b\"", kAllow, "\"a\"", 0, 3},
        {"null \xFF", kAllow, "null", 0, 4},
        {"1\xFF", kAllow, "1", 0, 1},
        {"1 \xC3\xA9", kAllow, "1", 0, 1},
        // The byte right after a word or a number is examined.
        {"null\xFF", kAllow, nullptr, kUtf8, 4},
        {"null\xC3\xA9", kAllow, nullptr, -61, 5},
        {"1\xC3\xA9", kAllow, nullptr, WIQ_ERR_TRAILING_CHARS, 2},
        {"truex", kAllow, nullptr, kToken, 5},
        {"01", kAllow, nullptr, kNumber, 2},
        {"", kAllow, nullptr, kUnexpected, 0},
        {"[1", kAllow, nullptr, kEnd, 2},
        {"]", kAllow, nullptr, kUnexpected, 1},
        {"{\"a\":1,\"b\":2}", kReject, "{\"a\":1,\"b\":2}", 0, 13},
        {"{\"a\":{\"a\":1},\"b\":[{\"a\":2}]}", kReject, "{\"a\":{\"a\":1},\"b\":[{\"a\":2}]}", 0,
         27},
        {"{\"a\":1,\"a\":2}", kReject, nullptr, kTwice, 10},
        {"{\"a\":1,\"b\":2,\"a\":3}", kReject, nullptr, kTwice, 16},
        {"{\"a\":1,\"\\u0061\":2}", kReject, nullptr, kTwice, 15},
        {"{\"\":1,\"\":2}", kReject, nullptr, kTwice, 8},
        // A duplicate key is reported before anything that follows it.
        {"{\"a\":1,\"a\"x", kReject, nullptr, kTwice, 10},
        {"{\"a\":1,\"a\"", kReject, nullptr, kTwice, 10},
        {"{\"a\":{\"b\":1,\"b\"", kReject, nullptr, kTwice, 15},
        {"{\"$ref\":\"a\",\"$ref\":\"b\"}", kReject, nullptr, kTwice, 18},
        {"{\"a\":1} {\"a\":1,\"a\":2}", kReject | kAllow, "{\"a\":1}", 0, 7},
        {"{\"a\":1,\"a\":2} 3", kReject | kAllow, nullptr, kTwice, 10},
        {"1 2", kReject, nullptr, kTrailing, 3},
        // Other bits have no effect.
        {"{\"a\":1,\"a\":2}", 4, "{\"a\":2}", 0, 13},
        {"1 2", -4, nullptr, kTrailing, 3},
        {"1 2", -1, "1", 0, 1},
    };
    for (const Flagged& row : kRows) {
        if (row.tree != nullptr)
            check(row.text, row.flags, {row.tree, {0, 1, 0, row.position}});
        else
            check(row.text, row.flags, {"", {row.status, 1, row.position, row.position}});
    }
}

}  // namespace
