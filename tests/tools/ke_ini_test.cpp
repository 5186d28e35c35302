// INI files: as JSON without losing anything, and edited without touching comments and layout.
#include "ke_utils/files.h"
#include "tools/folder.h"
#include "tools/rows.h"

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
        {{"ini", "to-json"}, "[a]\nk = \xFF\n", 2, "", "standard input:2:5: a text is no valid"},
    });
}

TEST_F(KeIniFiles, TellWhatTheyHold) {
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

// A step for each section and key, however many there are: a search among those before would take minutes.
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
