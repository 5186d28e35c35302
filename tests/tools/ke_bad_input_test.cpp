// Input that is rejected, each with the reason in the message, and mistyped words.
#include "ke_utils/files.h"
#include "tools/rows.h"

namespace {

TEST(KeBadInput, Base64) {
    expect_rows({
        {{"base64", "decode"}, "Zm8", 2, "", "standard input:1:4: the base64 text ends within"},
        {{"base64", "decode"}, "Z", 2, "", "standard input:1:2: the base64 text ends within"},
        {{"base64", "decode"}, "Zg==Zm8=", 2, "", "standard input:1:5: something follows"},
        {{"base64", "decode"}, "Zg=", 2, "", "standard input:1:4: the base64 text ends within"},
        {{"base64", "decode"}, "Zm9v=", 2, "", "standard input:1:5: padding where"},
        {{"base64", "decode"}, "Z===", 2, "", "standard input:1:2: padding where"},
        {{"base64", "decode"}, "Zg===", 2, "", "standard input:1:5: something follows"},
        {{"base64", "decode"}, "Zm9v\nZm*v", 2, "", "standard input:2:3: invalid input data"},
        {{"base64", "decode"}, "Zg==\r\n", 0, "f"},
        {{"base64", "decode"}, "Z\ng=\n=\n", 0, "f"},
        {{"base64", "decode"}, "", 0, ""},
        {{"base64", "encode"}, "", 0, "\n"},
    });
}

TEST(KeBadInput, Numbers) {
    expect_rows({
        {{"number", "0x"}, "", 2, "", "number \"0x\": is not a number: hexadecimal digits"},
        {{"number", "-1"}, "", 2, "", "number \"-1\": has a sign"},
        {{"number", ""}, "", 2, "", "number \"\": is not a number"},
        {{"number", "09"}, "", 2, "", "number \"09\": is not a number: octal"},
        {{"number", "0x1g"}, "", 2, "", "number \"0x1g\": is not a number"},
        {{"number", " 1"}, "", 2, "", "number \" 1\": is not a number"},
        {{"number", "0x100000000000000000000000000000000"},
         "",
         2,
         "",
         "number \"0x100000000000000000000000000000000\": has more than 128 bits"},
        {{"number", "00"}, "", 0, "0\n"},
        {{"capacity", "49"}, "", 2, "", "capacity \"49\": is out of range"},
        {{"capacity", "18443165214"},
         "",
         0,
         "capacity\t18443165214 GB\nblocks\t36028797018231024\nsector\t512 bytes\nbytes\t"
         "18446744073334284288\n"},
        {{"capacity", "18443165215"}, "", 2, "", "capacity \"18443165215\": is out of range"},
        {{"capacity", "18446744073709551616"}, "", 2, "", "capacity \"18446744073709551616\": "},
        {{"capacity", "--lba", "97696367"}, "", 2, "", "--lba \"97696367\": is out of range"},
        {{"capacity", "--lba", "36028797018963968"}, "", 2, "", "--lba \"36028797018963968\": is"},
        {{"capacity", "-5"}, "", 2, "", "capacity \"-5\": is not a number"},
    });
}

TEST(KeBadInput, EmptyFileNames) {
    for (const std::vector<std::string>& args :
         std::vector<std::vector<std::string>>{{"json", "format", ""},
                                               {"json", "get", "/a", ""},
                                               {"number", "7", "-o", ""},
                                               {"json", "equal", "", ""},
                                               {"ini", "get", "a", "k", ""},
                                               {"dump", ""},
                                               {"json", "set", "/a", "1", ""}}) {
        const Outcome outcome = ke(args, "{}");
        EXPECT_EQ(outcome.status, 64) << args[0];
        EXPECT_NE(outcome.err.find("the name of the file is empty"), std::string::npos)
            << outcome.err;
    }
}

TEST(KeBadInput, FoldersAsFiles) {
    for (const std::vector<std::string>& args :
         std::vector<std::vector<std::string>>{{"json", "format", "."},
                                               {"json", "get", "/a", "."},
                                               {"dump", "."},
                                               {"base64", "encode", "."},
                                               {"ini", "to-json", "."},
                                               {"json", "equal", ".", "."}}) {
        const Outcome outcome = ke(args);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.err, "ke: .: is a directory; name a file in it\n");
    }
}

TEST(KeBadInput, MistypedWords) {
    expect_rows({
        {{"jsn"}, "", 64, "", "\"jsn\" is not a command; did you mean \"json\"?"},
        {{"bogus"}, "", 64, "", "\"bogus\" is not a command; there are json, ini, dump, base64"},
        {{"json", "fromat"},
         "",
         64,
         "",
         "\"fromat\" is not a command of \"json\"; did you mean \"format\"?"},
        {{"ini", "sett"},
         "",
         64,
         "",
         "\"sett\" is not a command of \"ini\"; did you mean \"set\"?"},
        {{"schema", "json", "gte"},
         "",
         2,
         "",
         "schema \"json-gte\": no such command; did you mean \"json-get\"?"},
        {{"schema", "nope"}, "", 2, "", "schema \"nope\": no such command; the nearest is "},
        {{"status", "WIQ_ERR_NOT_FUOND"},
         "",
         2,
         "",
         "status \"WIQ_ERR_NOT_FUOND\": no status has this name; did you mean "
         "\"WIQ_ERR_NOT_FOUND\"?"},
    });
}

// A command that must compute with a value that it cannot store says so.
TEST(KeBadInput, NumbersThatCannotBeKept) {
    write_file("ke_wide.json", "{\"n\": [1, 1e999]}");
    expect_rows({
        {{"json", "subset", "ke_wide.json", "ke_wide.json"},
         "",
         1,
         "",
         "ke_wide.json:1:11: the number 1e999 cannot be kept"},
        {{"json", "format", "--u128-as-object"},
         "[-9223372036854775809]",
         1,
         "",
         "standard input:1:2: the number -9223372036854775809 "},
        {{"json", "equal", "ke_wide.json", "ke_wide.json"}, "", 0, ""},
    });
    wiq_unlink("ke_wide.json");
}

}  // namespace
