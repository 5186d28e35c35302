// INI files: converted to JSON without losing anything, and edited without changing comments and layout.
#include "ke_utils/files.h"
#include "tools/folder.h"
#include "tools/rows.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace {

class KeIniFiles : public Folder {};

TEST_F(KeIniFiles, BecomeJsonWithoutLoss) {
    expect_rows({
        {{"ini", "to-json", "--compact"},
         "[a]\nk=1\n[a \"x\"]\nk=2\n",
         0,
         "{\"a\":{\"k\":\"1\",\"x\":{\"k\":\"2\"}}}\n"},
        {{"ini", "to-json", "--compact"},
         "[a x]\nk=2\n[a]\nk=1\n",
         0,
         "{\"a\":{\"x\":{\"k\":\"2\"},\"k\":\"1\"}}\n"},
        {{"ini", "to-json", "--compact"},
         "[a]\nk=1\nk=2\n[b]\n[a]\nk=3\n",
         0,
         "{\"a\":{\"k\":[\"1\",\"2\",\"3\"]},\"b\":{}}\n"},
        {{"ini", "to-json"},
         "[a]\nx=1\n[a x]\nk=2\n",
         2,
         "",
         "standard input:3:4: \"x\" is both a key and an argument of the section"},
        {{"ini", "to-json"},
         "[a x]\nk=2\n[a]\n x=1\n",
         2,
         "",
         "standard input:4:2: \"x\" is both a key and an argument of the section"},
        {{"ini", "to-json"}, "[a]\nk = \xFF\n", 2, "", "standard input:2:5: a text is not valid"},
        // Names and values end where the parser ends them.
        {{"ini", "to-json", "--compact"},
         "[z \"p q\"]\nk=\"a;b \" # c\n[z r] ; c\n b\t=\ta  b \t# c\r\na=1\n b =2;\nb=x",
         0,
         "{\"z\":{\"p q\":{\"k\":\"a;b \"},\"r\":{\"b\":[\"a  b\",\"2\",\"x\"],\"a\":\"1\"}}}\n"},
        {{"ini", "to-json", "--compact", "--sort-keys"},
         "[z r]\nc=1\nb=2\n[y]\n[z]\na=3\n",
         0,
         "{\"y\":{},\"z\":{\"a\":\"3\",\"r\":{\"b\":\"2\",\"c\":\"1\"}}}\n"},
    });
}

TEST_F(KeIniFiles, ListTheirContents) {
    const std::string text = "[b]\n[a \"x y\"]\nk=1\nl=2\nk=3\n[b]\n";
    expect_rows({
        {{"ini", "sections"}, text, 0, "b\na\tx y\n"},
        {{"ini", "keys", "a", "-a", "x y"}, text, 0, "k\nl\n"},
        {{"ini", "keys", "b"}, text, 0, ""},
        {{"ini", "keys", "a"}, text, 2, "", "standard input: [a]: "},
        {{"ini", "get", "a", "k", "--argument", "x y"}, text, 0, "3\n"},
    });
}

TEST_F(KeIniFiles, AreEditedInPlace) {
    const std::string before =
        "# top\r\n[a]  ; one\r\n  k   = old value   # why\r\n; end of a\r\n\r\n[b "
        "\"x\"]\r\nq=\"1\"";
    const std::string path = in("r.ini");
    write_file(path, before);
    const auto edit = [&](std::vector<std::string> args) {
        args.insert(args.end(), {path, "--in-place"});
        const Outcome outcome = ke(args);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return read_file(path);
    };
    EXPECT_EQ(
        edit({"ini", "set", "a", "k", "new"}),
        "# top\r\n[a]  ; one\r\n  k   = new   # why\r\n; end of a\r\n\r\n[b \"x\"]\r\nq=\"1\"");
    EXPECT_EQ(edit({"ini", "set", "a", "l", "a;b"}),
              "# top\r\n[a]  ; one\r\n  k   = new   # why\r\n  l   = \"a;b\"\r\n; end of a\r\n\r\n"
              "[b \"x\"]\r\nq=\"1\"");
    EXPECT_EQ(edit({"ini", "set", "b", "-a", "x", "r", "2"}),
              "# top\r\n[a]  ; one\r\n  k   = new   # why\r\n  l   = \"a;b\"\r\n; end of a\r\n\r\n"
              "[b \"x\"]\r\nq=\"1\"\r\nr=2");
    EXPECT_EQ(edit({"ini", "remove", "a", "k"}),
              "# top\r\n[a]  ; one\r\n  l   = \"a;b\"\r\n; end of a\r\n\r\n"
              "[b \"x\"]\r\nq=\"1\"\r\nr=2");
    EXPECT_EQ(edit({"ini", "remove", "b", "-a", "x", ""}),
              "# top\r\n[a]  ; one\r\n  l   = \"a;b\"\r\n; end of a\r\n\r\n");
    EXPECT_EQ(edit({"ini", "set", "c", "-a", "y z", "k", "v w"}),
              "# top\r\n[a]  ; one\r\n  l   = \"a;b\"\r\n; end of a\r\n\r\n\r\n[c \"y z\"]\r\n"
              "k = v w\r\n");
    EXPECT_EQ(ke({"ini", "get", "c", "y z", "k", path}).out, "v w\n");
    EXPECT_EQ(names(), std::vector<std::string>{"r.ini"});
}

// Many lines with the same key, and sections that are repeated.
TEST_F(KeIniFiles, KeepTheOrderOfValues) {
    std::string text;
    std::string values;
    for (int i = 0; i < 1000; ++i) {
        const std::string number = std::to_string(i);
        text += "[a x]\nk=" + number + "\n[b" + std::to_string(i % 100) + "]\nn" + number + "=1\n";
        values += (i == 0 ? "\"" : ",\"") + number + "\"";
    }
    write_file(in("r.ini"), text);
    const std::string json = ke({"ini", "to-json", "--compact", in("r.ini")}).out;
    EXPECT_EQ(ke({"json", "get", "/a/x/k", "--compact"}, json).out, "[" + values + "]\n");
    EXPECT_EQ(ke({"json", "get", "/b7", "--keys"}, json).out,
              "n7\nn107\nn207\nn307\nn407\nn507\nn607\nn707\nn807\nn907\n");
    EXPECT_EQ(ke({"json", "get", "", "--length"}, json).out, "101\n");
    EXPECT_EQ(ke({"ini", "remove", "a", "-a", "x", "k", in("r.ini"), "--in-place"}).status, 0);
    EXPECT_EQ(ke({"ini", "remove", "b7", "", in("r.ini"), "--in-place"}).status, 0);
    const std::string left = read_file(in("r.ini"));
    EXPECT_EQ(left.substr(0, 26), "[a x]\n[b0]\nn0=1\n[a x]\n[b1]");
    EXPECT_EQ(left.find("k="), std::string::npos);
    EXPECT_EQ(left.find("n107="), std::string::npos);
    EXPECT_NE(left.find("n108="), std::string::npos);
}

#ifdef _WIN32
// Meanwhile a temporary file holds the text that the parser reads; it must not remain.
TEST_F(KeIniFiles, LeaveNoTemporaryFile) {
    write_file(in("r.ini"), "[a]\nk=1\n");
    char before[1024] = {};
    GetEnvironmentVariableA("TMP", before, sizeof(before));
    char here[1024] = {};
    GetFullPathNameA(folder().c_str(), sizeof(here), here, nullptr);
    SetEnvironmentVariableA("TMP", here);
    const Outcome outcome = ke({"ini", "get", "a", "k", in("r.ini")});
    SetEnvironmentVariableA("TMP", (std::string(here) + "\\none").c_str());
    const Outcome nowhere = ke({"ini", "get", "a", "k", in("r.ini")});
    SetEnvironmentVariableA("TMP", before);
    EXPECT_EQ(outcome.out, "1\n") << outcome.err;
    EXPECT_EQ(names(), std::vector<std::string>{"r.ini"});
    EXPECT_EQ(nowhere.status, 2) << "the temporary file would be in TMP";
    EXPECT_EQ(nowhere.err.substr(0, 20), "ke: a temporary file") << nowhere.err;
}
#else
// A file in UTF-16 consists of characters, so invalid bytes would become other characters.
TEST_F(KeIniFiles, RefuseBytesThatAreNotCharacters) {
    const std::string utf16("\xFF\xFE[\0a\0]\0\n\0", 10);
    const std::string marked = "\xEF\xBB\xBF[a]\n";
    for (const std::string& before : {utf16, marked}) {
        write_file(in("r.ini"), before);
        for (const char* value : {"x\xFFy", "\xE2\x82"}) {
            const Outcome outcome = ke({"ini", "set", "a", "k", value, in("r.ini"), "--in-place"});
            EXPECT_EQ(outcome.status, 2);
            EXPECT_NE(outcome.err.find("UTF-8"), std::string::npos) << outcome.err;
            EXPECT_EQ(read_file(in("r.ini")), before);
        }
    }
    // Without a byte order mark the encoding is not known, so any bytes are accepted.
    write_file(in("r.ini"), "[a]\nk=\xE9\n");
    EXPECT_EQ(ke({"ini", "set", "a", "l", "\xFF", in("r.ini"), "--in-place"}).status, 0);
    EXPECT_EQ(read_file(in("r.ini")), "[a]\nk=\xE9\nl=\xFF\n");
}
#endif

TEST_F(KeIniFiles, RefuseWhatTheyCannotHold) {
    write_file(in("r.ini"), "[a]\nk=1\n");
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"a", "k", ""},
                                               {"a", "k", "two\nlines"},
                                               {"a", "k", "a\"b"},
                                               {"a", "two words", "1"},
                                               {"a b", "k", "1"},
                                               {"a", "k=", "1"}}) {
        std::vector<std::string> args = {"ini", "set"};
        args.insert(args.end(), words.begin(), words.end());
        args.insert(args.end(), {in("r.ini"), "--in-place"});
        EXPECT_EQ(ke(args).status, 2) << words[0] << words[1] << words[2];
        EXPECT_EQ(read_file(in("r.ini")), "[a]\nk=1\n");
    }
    EXPECT_EQ(ke({"ini", "remove", "a", "none", in("r.ini"), "--in-place"}).status, 2);
}

// Each section and key takes one step, however many there are: searching all previous ones would take
// minutes.
TEST_F(KeIniFiles, OfManySectionsAndKeys) {
    std::string text;
    std::string sections;
    for (int i = 0; i < 100000; ++i) {
        sections += "s" + std::to_string(i) + "\n";
        text += "[s" + std::to_string(i) + "]\n";
    }
    std::string keys;
    for (int i = 0; i < 100000; ++i) {
        keys += "k" + std::to_string(i) + "\n";
        text += "k" + std::to_string(i) + "=v\n";
    }
    write_file(in("many.ini"), text);
    EXPECT_EQ(ke({"ini", "sections", in("many.ini")}).out, sections);
    EXPECT_EQ(ke({"ini", "keys", "s99999", in("many.ini")}).out, keys);
    const std::string json = ke({"ini", "to-json", "--compact", in("many.ini")}).out;
    EXPECT_EQ(json.substr(0, 16), "{\"s0\":{},\"s1\":{}");
    EXPECT_EQ(json.substr(json.size() - 16), ",\"k99999\":\"v\"}}\n");
}

}  // namespace
