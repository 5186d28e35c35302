// What ke reads from documents and writes to them: nothing changes that was not asked for.
#include <algorithm>

#include "ke_utils/files.h"
#include "tools/folder.h"
#include "tools/rows.h"

namespace {

class KeEdits : public Folder {};

TEST(KeValues, KeepTheirTextAndOrder) {
    const std::string text =
        "{\"z\":0.1234567891234,\"y\":1e-7,\"x\":1e999,\"w\":-99999999999999999999,"
        "\"v\":1.10,\"a\":\"\\u00e9\\/\",\"a\":2}\n";
    const std::string pretty =
        "{\n  \"z\": 0.1234567891234,\n  \"y\": 1e-7,\n  \"x\": 1e999,\n  \"w\": "
        "-99999999999999999999,\n  \"v\": 1.10,\n  \"a\": \"\\u00e9\\/\",\n  \"a\": 2\n}\n";
    expect_rows({
        {{"json", "format", "--compact"}, pretty, 0, text},
        {{"json", "format"}, text, 0, pretty},
        {{"json", "expand", "--compact"}, text, 0, text},
        {{"json", "get", "", "--compact"}, text, 0, text},
        {{"json", "get", "/x"}, text, 0, "1e999\n"},
        {{"json", "get", "/a"}, text, 0, "2\n"},
        {{"json", "format", "--indent", "1"}, "[1]", 0, "[\n 1\n]\n"},
        {{"json", "format", "--indent", "0"}, "[1]", 0, "[\n1\n]\n"},
    });
}

TEST(KeValues, AreSelected) {
    const std::string text =
        "{\"d\":[{\"n\":\"sda\",\"t\":31,\"s\":\"ok\"},{\"n\":\"sdb\",\"t\":55,\"s\":\"failed\"}],"
        "\"*\":{\"**\":7}}";
    expect_rows({
        {{"json", "get", "/d/0/n", "-p", "/d/1/t"}, text, 0, "\"sda\"\n55\n"},
        {{"json", "get", "/d/*/n", "--glob", "--raw"}, text, 0, "sda\nsdb\n"},
        {{"json", "get", "/**/t", "--glob"}, text, 0, "31\n55\n"},
        {{"json", "get", "/**", "--glob", "--type", "--where", "/t=55"}, text, 0, "object\n"},
        {{"json", "get", "/*/**"}, text, 0, "7\n"},
        {{"json", "get", "/d/*", "--glob", "--where", "/s=failed", "--lines"},
         text,
         0,
         "{\"n\":\"sdb\",\"t\":55,\"s\":\"failed\"}\n"},
        {{"json", "get", "/d/*", "--glob", "--where", "/t=31.0", "--keys"}, text, 0, "n\nt\ns\n"},
        {{"json", "get", "/d", "--length"}, text, 0, "2\n"},
        {{"json", "get", "/d/0/n", "--length"}, text, 0, "3\n"},
        {{"json", "get", "/d/0", "--sort-keys", "--compact"},
         text,
         0,
         "{\"n\":\"sda\",\"s\":\"ok\",\"t\":31}\n"},
        {{"json", "get", "/none", "--default", "[ ]"}, text, 0, "[]\n"},
        {{"json", "get", "/none"}, text, 2, "", "pointer \"/none\": "},
        {{"json", "get", "/none/*", "--glob"}, text, 0, ""},
        {{"json", "get", "/d/0/n", "--keys"}, text, 2, "", "--keys: "},
    });
}

// Of equal keys the last one counts, even if only an earlier one leads to what the pointer names.
TEST(KeValues, AreFoundAsTheLibraryFindsThem) {
    expect_rows({
        {{"json", "get", "/a/b"}, "{\"a\":{\"b\":1},\"a\":{\"c\":2}}", 2, "", "pointer \"/a/b\": "},
        {{"json", "get", "/a/b"}, "{\"a\":3,\"a\":{\"b\":{\"b\":2}}}", 0, "{\n  \"b\": 2\n}\n"},
        {{"json", "get", "/a/$ref"}, "{\"a\":{\"$ref\":\"#\"}}", 2, "", "pointer \"/a/$ref\": "},
        {{"json", "get", "/a/$ref"}, "{\"a\":{\"$ref\":\"#\",\"b\":1}}", 0, "\"#\"\n"},
        {{"json", "get", "/0x1"}, "[5,6]", 0, "6\n"},
        {{"json", "get", "/-"}, "[5,6]", 2, "", "pointer \"/-\": an array index"},
        {{"json", "get", "#/1"}, "[5,6]", 0, "6\n"},
        {{"json", "get", "1"}, "[5,6]", 2, "", "pointer \"1\": "},
        {{"json", "get", "/~2"}, "[5,6]", 2, "", "pointer \"/~2\": "},
        // An index beyond 32 bits names no element; in particular, it does not wrap.
        {{"json", "get", "/4294967296"}, "[5,6]", 2, "", "pointer \"/4294967296\": an array index"},
        {{"json", "get", "/4294967295"}, "[5,6]", 2, "", "pointer \"/4294967295\": an array index"},
        {{"json", "set", "/4294967296", "9"}, "[5,6]", 2, "", "pointer \"/4294967296\": an array"},
        {{"json", "remove", "/4294967297"}, "[5,6]", 2, "", "pointer \"/4294967297\": an array"},
        {{"json", "get", "/4294967296", "--glob"}, "[5,6]", 0, ""},
    });
}

TEST(KeValues, AreSelectedByTheirContents) {
    write_file("ke_where.json", "[{\"a=b\":1,\"s\":\"[x,y]\"},{\"s\":\"z\"}]");
    expect_rows({
        // The file after the option is not taken for a second condition.
        {{"json", "get", "/*/s", "--glob", "-p", "/*", "--where", "/s=z", "ke_where.json",
          "--type"},
         "",
         0,
         "object\n"},
        {{"json", "get", "/*", "--glob", "--where", "/s=[x,y]", "--length", "ke_where.json"},
         "",
         0,
         "2\n"},
        {{"json", "get", "/*", "--glob", "--where", "/s=z", "--where", "/s=x", "ke_where.json"},
         "",
         0,
         ""},
        // An invalid condition is reported whether or not a value is found.
        {{"json", "get", "/none", "--glob", "--where", "/s", "ke_where.json"},
         "",
         64,
         "",
         "--where /s: write POINTER=VALUE"},
        {{"json", "get", "/none", "--glob", "--where", "s=1", "ke_where.json"},
         "",
         2,
         "",
         "pointer \"s\": "},
    });
    wiq_unlink("ke_where.json");
}

TEST(KeValues, OfManyDocuments) {
    const std::string lines = "{\"a\":1}\n{\"a\":2}\n\n{\"b\":3}\n";
    expect_rows({
        {{"json", "get", "/a", "--jsonl", "--default", "null"}, lines, 0, "1\n2\nnull\n"},
        {{"json", "format", "--jsonl", "--compact"}, lines, 0, "{\"a\":1}\n{\"a\":2}\n{\"b\":3}\n"},
        {{"json", "format", "--jsonl", "--compact", "--sort-keys"},
         "{\"b\":1,\"a\":2}[3]",
         0,
         "{\"a\":2,\"b\":1}\n[3]\n"},
        {{"json", "format", "--jsonl"}, "", 0, ""},
        {{"json", "format"}, lines, 2, "", "standard input:2:1: JSON text continues"},
        {{"json", "types", "--jsonl"},
         lines,
         0,
         "objects\t3\narrays\t0\nstrings\t0\nintegers\t3\nreals\t0\nreferences\t0\nbooleans\t0\n"
         "nulls\t0\ndepth\t2\nlargest\t3\t/b\n"},
    });
    write_file("ke_1.json", "[1]");
    write_file("ke_2.json", "[2]");
    expect_rows({
        {{"json", "get", "/0", "ke_1.json", "ke_2.json"}, "", 0, "1\n2\n"},
        // The message says which of the documents lacks the value.
        {{"json", "get", "/1", "ke_1.json", "ke_2.json"}, "", 2, "", "ke_1.json: pointer \"/1\": "},
        {{"json", "get", "/a", "--jsonl"},
         lines,
         2,
         "",
         "standard input, document 3: pointer \"/a\": "},
        {{"json", "get", "/0", "--keys", "--default", "{}", "ke_1.json", "ke_2.json"},
         "",
         2,
         "",
         "ke_1.json: --keys: "},
        // Standard input can be read only once.
        {{"json", "format", "-", "-"}, "1", 64, "", "standard input is named twice"},
        {{"json", "get", "", "-", "ke_1.json", "-"}, "1", 64, "", "standard input is named twice"},
    });
    wiq_unlink("ke_1.json");
    wiq_unlink("ke_2.json");
}

// Each document is edited by itself. Bytes outside the edits do not change, not even between the documents.
TEST(KeValues, OfManyDocumentsAreEdited) {
    const std::string lines = " {\"a\": 1.50}\r\n{\"a\":2,\"b\":[1e9]}\n\n{}{ }  \n";
    write_file("ke_change.json", "{\"b\":null,\"c\":0}");
    write_file("ke_patch.json", "[{\"op\":\"add\",\"path\":\"/c\",\"value\":[]}]");
    write_file("ke_lines.jsonl", lines);
    expect_rows({
        {{"json", "set", "/c", "7", "--jsonl"},
         lines,
         0,
         " {\"a\": 1.50, \"c\": 7}\r\n{\"a\":2,\"b\":[1e9],\"c\":7}\n\n{\"c\": 7}{\"c\": 7}  \n"},
        {{"json", "set", "/c", "7", "--also", "/c", "8", "--jsonl", "--compact"},
         lines,
         0,
         "{\"a\":1.50,\"c\":8}\n{\"a\":2,\"b\":[1e9],\"c\":8}\n{\"c\":8}\n{\"c\":8}\n"},
        {{"json", "remove", "/a", "--jsonl"}, "{\"a\":1}\n{\"b\":2,\"a\":3}", 0, "{}\n{\"b\":2}"},
        {{"json", "set", "", "7", "--jsonl"}, "1 2\n\"x\"", 0, "7 7\n7"},
        {{"json", "merge", "ke_change.json", "--jsonl"},
         "{\"b\":1}\n{\"a\":1.50}\n",
         0,
         "{\"c\":0}\n{\"a\":1.50,\"c\":0}\n"},
        {{"json", "patch", "ke_patch.json", "--jsonl"},
         "{}\n{\"a\":1.50}",
         0,
         "{\"c\": []}\n{\"a\":1.50,\"c\":[]}"},
        {{"json", "set", "/c", "7", "--jsonl"}, "", 0, ""},
        {{"json", "set", "/c", "7", "--jsonl"}, " \n", 0, " \n"},
        // A failure names the document. Until 256 KiB have been written, none of the output appears.
        {{"json", "remove", "/b", "--jsonl"},
         lines,
         2,
         "",
         "standard input, document 1: pointer \"/b\": "},
        {{"json", "remove", "/a", "--jsonl"},
         lines,
         2,
         "",
         "standard input, document 3: pointer \"/a\": "},
        {{"json", "set", "/c", "7", "--jsonl"}, "{}\n{]", 2, "", "standard input:2:2: "},
        {{"json", "patch", "ke_patch.json", "--jsonl"},
         "{}\n7",
         2,
         "",
         "standard input, document 2: "},
        {{"json", "set", "/c", "7"}, lines, 2, "", "standard input:2:1: JSON text continues"},
        {{"json", "set", "/c", "7", "--jsonl", "--in-place", "ke_lines.jsonl"}, "", 0, ""},
    });
    EXPECT_EQ(
        read_file("ke_lines.jsonl"),
        " {\"a\": 1.50, \"c\": 7}\r\n{\"a\":2,\"b\":[1e9],\"c\":7}\n\n{\"c\": 7}{\"c\": 7}  \n");
    for (const char* name : {"ke_change.json", "ke_patch.json", "ke_lines.jsonl"})
        wiq_unlink(name);
}

TEST(KeValues, AreReportedAsTheyPass) {
    expect_rows({
        {{"json", "paths"},
         "{\"a/b\":{\"~\":[]},\"r\":{\"$ref\":\"#\"},\"$ref\":{\"$ref\":{}}}",
         0,
         "/a~1b/~0\t[]\n/r\t{\"$ref\":\"#\"}\n/$ref/$ref\t{}\n"},
        {{"json", "paths"}, "7", 0, "\t7\n"},
        {{"json", "paths"}, "{\"$ref\":\"a\",\"b\":1}", 0, "/$ref\t\"a\"\n/b\t1\n"},
        {{"json", "paths"}, "{\"$ref\":{\"$ref\":\"x\"}}", 0, "/$ref\t{\"$ref\":\"x\"}\n"},
    });
}

TEST_F(KeEdits, TouchOnlyWhatTheyAreAskedTo) {
    const std::string before =
        "{ \"a\" : 0.1234567891234,\r\n\t\"b\":[ 1e-7,2 ] , \"c\":1e999}\n\n";
    write_file(in("r.json"), before);
    const auto edit = [&](std::vector<std::string> args) {
        args.insert(args.end(), {in("r.json"), "--in-place"});
        const Outcome outcome = ke(args);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        return read_file(in("r.json"));
    };
    EXPECT_EQ(edit({"json", "set", "/b/1", "{\"x\":[3, 4]}"}),
              "{ \"a\" : 0.1234567891234,\r\n\t\"b\":[ 1e-7,{\"x\":[3, 4]} ] , \"c\":1e999}\n\n");
    EXPECT_EQ(edit({"json", "remove", "/b/0"}),
              "{ \"a\" : 0.1234567891234,\r\n\t\"b\":[ {\"x\":[3, 4]} ] , \"c\":1e999}\n\n");
    EXPECT_EQ(edit({"json", "set", "--string", "/b", "two \"words\""}),
              "{ \"a\" : 0.1234567891234,\r\n\t\"b\":\"two \\\"words\\\"\" , \"c\":1e999}\n\n");
    EXPECT_EQ(edit({"json", "remove", "/b", "--also", "/c"}), "{ \"a\" : 0.1234567891234}\n\n");
    EXPECT_EQ(edit({"json", "set", "/b", "1", "--also", "/b", "2", "--also", "/d", "[3]"}),
              "{ \"a\" : 0.1234567891234, \"b\" : 2, \"d\" : [3]}\n\n");
    EXPECT_EQ(names(), std::vector<std::string>{"r.json"});
}

TEST_F(KeEdits, TakeValuesFromFiles) {
    write_file(in("value"), " [1,\n2] \n");
    write_file(in("r.json"), "{\"a\":0}");
    expect_rows({
        {{"json", "set", "/a", "--value-file", in("value"), in("r.json")},
         "",
         0,
         "{\"a\":[1,\n2]}"},
        {{"json", "set", "/a", "--value-file", "-", in("r.json")}, "7\n", 0, "{\"a\":7}"},
        {{"json", "set", "/a", "--string", "--value-file", "-", in("r.json")},
         "x\n",
         0,
         "{\"a\":\"x\\n\"}"},
        {{"json", "set", "/a", "--value-file", in("value")}, "{}", 0, "{\"a\": [1,\n2]}"},
        {{"json", "set", "/a", "--value-file", "-"}, "{}", 64, "", "standard input cannot be both"},
        {{"json", "set", "/a", "tru", in("r.json")}, "", 2, "", "VALUE:1:3: "},
    });
}

TEST_F(KeEdits, MergeAndPatch) {
    write_file(in("m.json"), "{\"a\":null,\"c\":{\"d\":1}}");
    write_file(in("p.json"),
               "[{\"op\":\"test\",\"path\":\"/b\",\"value\":2.50},\n"
               "{\"op\":\"remove\",\"path\":\"/a\"}]");
    expect_rows({
        {{"json", "merge", in("m.json")},
         "{\"a\":1, \"b\":2.5}",
         0,
         "{\"b\":2.5, \"c\":{\"d\":1}}"},
        {{"json", "patch", in("p.json")}, "{\"a\":1, \"b\":2.5}", 0, "{\"b\":2.5}"},
        {{"json", "patch", in("p.json")},
         "{\"b\":2.5}",
         2,
         "",
         in("p.json") + ":2:1: pointer \"/a\": an object has no member"},
        {{"json", "patch", in("p.json")},
         "{\"b\":3}",
         2,
         "",
         in("p.json") + ":1:2: the test fails"},
    });
}

// Each difference takes one step, however many members precede it: counting them would take minutes.
TEST_F(KeEdits, DifferencesOfManyMembers) {
    std::string before = "{\"k\":0";
    std::string after = before;
    for (int i = 0; i < 100000; ++i) {
        const std::string key = ",\"k" + std::to_string(i) + "\":";
        before += key + "1";
        after += key + "2";
    }
    write_file(in("a.json"), before + "}");
    write_file(in("b.json"), after + "}");
    const Outcome outcome = ke({"json", "diff", "--compact", in("a.json"), in("b.json")});
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '{'), 100000);
}

// As above, for a patch that changes each member.
TEST_F(KeEdits, MergesOfManyMembers) {
    std::string before = "{\"k\":0";
    std::string changes = "{\"none\":null";
    std::string after = "{\"k\":0";
    std::string added;
    for (int i = 0; i < 100000; ++i) {
        const std::string key = ",\"k" + std::to_string(i) + "\":";
        const std::string inner = ",\"n" + std::to_string(i) + "\":";
        before += key + "{\"x\":1}";
        changes += key + (i % 2 == 0 ? "null" : "{\"x\":[]}") + inner + "{\"y\":null,\"z\":2}";
        after += i % 2 == 0 ? "" : key + "{\"x\":[]}";
        added += inner + "{\"z\":2}";
    }
    write_file(in("a.json"), before + "}");
    write_file(in("m.json"), changes + "}");
    const Outcome outcome = ke({"json", "merge", in("m.json"), in("a.json")});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, after + added + "}");
}

TEST_F(KeEdits, KeepTheEncoding) {
    const std::string mark = "\xEF\xBB\xBF";
    write_file(in("r.json"), mark + "{\"a\":1}");
    EXPECT_EQ(ke({"json", "get", "/a", in("r.json")}).out, "1\n");
    EXPECT_EQ(ke({"json", "set", "/a", "2", in("r.json"), "--in-place"}).status, 0);
    EXPECT_EQ(read_file(in("r.json")), mark + "{\"a\":2}");
    // UTF-16 as Windows editors write it; U+1F600 is a surrogate pair.
    const std::string utf16("\xFF\xFE[\0\"\0\x3D\xD8\0\xDE\"\0]\0", 14);
    write_file(in("u.json"), utf16);
    EXPECT_EQ(ke({"json", "get", "/0", "--raw", in("u.json")}).out, "\xF0\x9F\x98\x80\n");
    EXPECT_EQ(ke({"json", "set", "/-", "1", in("u.json"), "--in-place"}).status, 0);
    EXPECT_EQ(read_file(in("u.json")), utf16.substr(0, 12) + std::string(",\0 \0"
                                                                         "1\0]\0",
                                                                         8));
    // A command that lays out a file anew keeps its encoding, too, unless it writes elsewhere.
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"json", "format", "--compact"},
                                               {"json", "format", "--compact", "--sort-keys"},
                                               {"json", "expand", "--compact"},
                                               {"json", "set", "", "[1]", "--compact"}}) {
        std::vector<std::string> args = words;
        args.push_back(in("u.json"));
        write_file(in("u.json"), std::string("\xFF\xFE[\0 \0"
                                             "1\0]\0",
                                             10));
        EXPECT_EQ(ke(args).out, "[1]\n") << words[1];
        args.push_back("--in-place");
        EXPECT_EQ(ke(args).status, 0);
        EXPECT_EQ(read_file(in("u.json")), std::string("\xFF\xFE[\0"
                                                       "1\0]\0\n\0",
                                                       10))
            << words[1];
    }
    write_file(in("b.ini"), std::string("\xFE\xFF\0[\0a\0]\0\n\0k\0=\0"
                                        "1\0\n",
                                        18));
    EXPECT_EQ(ke({"ini", "get", "a", "k", in("b.ini")}).out, "1\n");
    EXPECT_EQ(ke({"ini", "set", "a", "k", "\xE2\x82\xAC", in("b.ini"), "--in-place"}).status, 0);
    EXPECT_EQ(read_file(in("b.ini")), std::string("\xFE\xFF\0[\0a\0]\0\n\0k\0=\x20\xAC\0\n", 18));
    for (const std::string& bad :
         {std::string("\xFF\xFE[\0\x3D\xD8]\0", 8), std::string("\xFF\xFE[\0]\0 ", 7),
          std::string("\xFF\xFE\0\0[\0\0\0", 8)}) {
        write_file(in("bad.json"), bad);
        const Outcome outcome = ke({"json", "format", in("bad.json")});
        EXPECT_EQ(outcome.status, 2);
        EXPECT_NE(outcome.err.find("UTF-"), std::string::npos) << outcome.err;
    }
}

}  // namespace
