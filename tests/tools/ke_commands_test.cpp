// Every command of ke with valid input, from standard input and from a file, with its exact output.
#include "ke_utils/files.h"
#include "tools/rows.h"

namespace {

TEST(KeJson, ShowsDocuments) {
    expect_rows({
        {{"json", "format"}, "{\"a\":[1,2]}", 0, "{\n  \"a\": [\n    1,\n    2\n  ]\n}\n"},
        {{"json", "format", "-"}, "[]", 0, "[]\n"},
        {{"json", "format", "--compact"}, "[ 1 , {\"a\" : null} ]", 0, "[1,{\"a\":null}]\n"},
        {{"json", "format", "--compact", "--sort-keys"},
         "{\"c\":1,\"a\":2,\"b\":3}",
         0,
         "{\"a\":2,\"b\":3,\"c\":1}\n"},
        {{"json", "format", "--compact", "--u128-as-object"},
         "[18446744073709551616]",
         0,
         "[{\"u128\":\"18446744073709551616\"}]\n"},
        {{"json", "format", "--compact"}, "\"\xC3\xA9 \\u20ac\"", 0, "\"\xC3\xA9 \\u20ac\"\n"},
        {{"json", "get", "/a/1"}, "{\"a\":[1,\"x\\ny\"]}", 0, "\"x\\ny\"\n"},
        {{"json", "get", "--raw", "/a/1"}, "{\"a\":[1,\"x\\ny\"]}", 0, "x\ny\n"},
        {{"json", "get", "--raw", "/a/0"}, "{\"a\":[1,\"x\"]}", 0, "1\n"},
        {{"json", "get", ""}, "7", 0, "7\n"},
        {{"json", "get", "/\xC3\xA9"}, "{\"\xC3\xA9\":1}", 0, "1\n"},
        {{"json", "paths"}, "{\"b\":[1,{}],\"a\":\"x\"}", 0, "/b/0\t1\n/b/1\t{}\n/a\t\"x\"\n"},
        {{"json", "expand"}, "[7,{\"$ref\":\"#/0\"}]", 0, "[\n  7,\n  7\n]\n"},
        {{"json", "types"},
         "[1,2.5,\"x\",null,true,{\"a\":18446744073709551616},{\"$ref\":\"#/0\"}]",
         0,
         "objects\t1\narrays\t1\nstrings\t1\nintegers\t2\nreals\t1\nreferences\t1\nbooleans\t1\n"
         "nulls\t1\ndepth\t3\nlargest\t18446744073709551616\t/5/a\n"},
    });
}

TEST(KeJson, EditsDocuments) {
    expect_rows({
        {{"json", "set", "/a", "[true]"}, "{}", 0, "{\"a\": [true]}"},
        {{"json", "set", "/a/b/c", "1"}, "{}\n", 0, "{\"a\": {\"b\": {\"c\": 1}}}\n"},
        {{"json", "set", "/-", "2"}, "[1]", 0, "[1, 2]"},
        {{"json", "set", "", "\"new\""}, "[1]", 0, "\"new\""},
        {{"json", "set", "/a", "[1,2]", "--compact"}, "{ }", 0, "{\"a\":[1,2]}\n"},
        {{"json", "remove", "/a"}, "{\"a\":1,\"b\":2}", 0, "{\"b\":2}"},
        {{"json", "remove", "/1"}, "[1,2,3]", 0, "[1,3]"},
    });
}

TEST(KeJson, ComparesDocuments) {
    write_file("ke_a.json", "{\"x\":[1,3]}");
    write_file("ke_b.json", "{\"x\":[1,2,3],\"y\":0}");
    expect_rows({
        {{"json", "equal", "ke_a.json", "ke_a.json"}, "", 0, ""},
        {{"json", "equal", "ke_a.json", "ke_b.json"}, "", 1, "/x/1: 3 is not 2\n"},
        {{"json", "equal", "ke_a.json", "ke_b.json", "--quiet"}, "", 1, ""},
        {{"json", "equal", "-", "ke_a.json"}, "{\"x\":[1.0,3]}", 0, ""},
        {{"json", "subset", "ke_a.json", "ke_b.json"}, "", 0, ""},
        {{"json", "subset", "ke_b.json", "ke_a.json"}, "", 1, ""},
        {{"json", "subset", "--contiguous", "ke_a.json", "ke_b.json"}, "", 1, ""},
        {{"json", "subset", "--contiguous", "-", "ke_b.json"}, "{\"x\":[2,3]}", 0, ""},
        {{"json", "subset", "--contiguous", "--prefix", "-", "ke_b.json"}, "{\"x\":[2,3]}", 1, ""},
        {{"json", "subset", "--contiguous", "--prefix", "-", "ke_b.json"}, "{\"x\":[1,2]}", 0, ""},
        {{"json", "subset", "--contiguous", "--prefix", "--same-length", "-", "ke_b.json"},
         "{\"x\":[1,2]}",
         1,
         ""},
        {{"json", "subset", "--same-size", "ke_a.json", "ke_b.json"}, "", 1, ""},
    });
    wiq_unlink("ke_a.json");
    wiq_unlink("ke_b.json");
}

TEST(KeIni, ReadsFiles) {
    const char kIni[] = "[a]\nk = 1 ; comment\n[b \"x y\"]\nk = \"two words\"\n";
    write_file("ke.ini", kIni);
    expect_rows({
        {{"ini", "to-json"},
         kIni,
         0,
         "{\n  \"a\": {\n    \"k\": \"1\"\n  },\n  \"b\": {\n    \"x y\": {\n      \"k\": \"two "
         "words\"\n    }\n  }\n}\n"},
        {{"ini", "get", "a", "k"}, kIni, 0, "1\n"},
        {{"ini", "get", "b", "x y", "k", "-"}, kIni, 0, "two words\n"},
        {{"ini", "get", "b", "x y", "k", "-f", "ke.ini"}, "", 0, "two words\n"},
        {{"ini", "get", "b", "x y", "k", "ke.ini"}, "", 0, "two words\n"},
        {{"ini", "get", "a", "k", "ke.ini"}, "", 0, "1\n"},
        {{"ini", "to-json"}, "", 0, "{}\n"},
    });
    wiq_unlink("ke.ini");
}

TEST(KeBinary, DumpsAndEncodes) {
    expect_rows({
        {{"dump"}, "", 0, ""},
        {{"dump"},
         "0123456789abcdefg",
         0,
         "00000000  30313233 34353637  38396162 63646566\n00000010  67                             "
         " "
         "    \n"},
        {{"dump", "--line", "4", "--group", "2", "--block", "0", "--ascii"},
         "ab\x01\xFFz",
         0,
         "00000000  6162 01ff  |ab..|\n00000004  7a          |z   |\n"},
        {{"base64", "encode"}, "any carnal pleas", 0, "YW55IGNhcm5hbCBwbGVhcw==\n"},
        {{"base64", "decode"}, "YW55IGNhcm5hbCBwbGVhcw==\n", 0, "any carnal pleas"},
        {{"base64", "decode"}, "YWJj\r\nZGVm\r\n", 0, "abcdef"},
    });
    const std::string bytes("\0\r\n\x1A\xFF", 5);
    const Outcome encoded = ke({"base64", "encode"}, bytes);
    EXPECT_EQ(ke({"base64", "decode"}, encoded.out).out, bytes)
        << "bytes pass unchanged on every platform";
}

TEST(KeNumbers, Answers) {
    expect_rows({
        {{"capacity", "3840"},
         "",
         0,
         "capacity\t3840 GB\nblocks\t7501476528\nsector\t512 bytes\nbytes\t3840755982336\n"},
        {{"capacity", "--lba", "937684566", "--sector", "4096"},
         "",
         0,
         "capacity\t3840 GB\nblocks\t937684566\nsector\t4096 bytes\nbytes\t3840755982336\n"},
        {{"number", "340282366920938463463374607431768211455", "--base", "16"},
         "",
         0,
         "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF\n"},
        {{"number", "0xff"}, "", 0, "255\n"},
        {{"number", "0777"}, "", 0, "511\n"},
        {{"number", "0"}, "", 0, "0\n"},
        {{"number", "0x00ff", "--base", "2"}, "", 0, "11111111\n"},
        {{"number", "0xffffFFFFffffFFFFffffFFFFffffFFFF"},
         "",
         0,
         "340282366920938463463374607431768211455\n"},
        {{"hash", "abc"}, "", 0, "0xd32cac3f\n"},
        {{"status", "-1037"},
         "",
         0,
         "-1037\tWIQ_ERR_KEY_NOT_FOUND\tan object has no member with this key\n"},
        {{"status", "4294966259"},
         "",
         0,
         "-1037\tWIQ_ERR_KEY_NOT_FOUND\tan object has no member with this key\n"},
        {{"status", "key_not_found"},
         "",
         0,
         "-1037\tWIQ_ERR_KEY_NOT_FOUND\tan object has no member with this key\n"},
        {{"status", "0"}, "", 0, "0\tsuccess\n"},
    });
}

// The schemas of every command are next to the tool, and they are valid JSON.
TEST(KeSchema, OfEveryCommand) {
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             {"json", "format"},   {"json", "get"},   {"json", "set"},    {"json", "remove"},
             {"json", "merge"},    {"json", "patch"}, {"json", "diff"},   {"json", "paths"},
             {"json", "expand"},   {"json", "equal"}, {"json", "subset"}, {"json", "types"},
             {"ini", "to-json"},   {"ini", "get"},    {"ini", "set"},     {"ini", "remove"},
             {"ini", "sections"},  {"ini", "keys"},   {"dump"},           {"base64", "encode"},
             {"base64", "decode"}, {"capacity"},      {"number"},         {"hash"},
             {"schema"},           {"status"},        {"help"},           {"completion"}}) {
        std::vector<std::string> args = {"schema"};
        args.insert(args.end(), command.begin(), command.end());
        const Outcome outcome = ke(args);
        EXPECT_EQ(outcome.status, 0) << command[0] << outcome.err;
        for (const char* part : {"/input/$schema", "/output/$schema"})
            EXPECT_EQ(ke({"json", "get", part}, outcome.out).status, 0) << command[0] << part;
    }
    EXPECT_EQ(ke({"schema", "json get"}).out, ke({"schema", "json", "get"}).out);
    EXPECT_EQ(ke({"schema", "json-get"}).out, ke({"schema", "json", "get"}).out);
}

TEST(Ke, PrintsItsVersion) {
    const Outcome outcome = ke({"--version"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out.substr(0, 3), "ke ");
}

}  // namespace
