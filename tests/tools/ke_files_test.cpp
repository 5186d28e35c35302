// What ke does to files: they are replaced only if everything succeeded; otherwise they are unchanged and no
// other file is left in their folder. Also names in any language, and no progress without a terminal.
#include <gtest/gtest.h>

#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "tools/folder.h"
#include "tools/process.h"

#ifndef _WIN32
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

class KeFiles : public Folder {};

TEST_F(KeFiles, AreReplacedInPlace) {
    write_file(in("r.json"), "{\"a\":1}");
    const Outcome outcome = ke({"json", "set", "/b", "2", in("r.json"), "--in-place"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(ke({"json", "format", "--compact", "--sort-keys", in("r.json")}).out,
              "{\"a\":1,\"b\":2}\n");
    EXPECT_EQ(names(), std::vector<std::string>{"r.json"});
}

#ifndef _WIN32
TEST_F(KeFiles, HaveThePermissionsOfTheOldOrOfAnyNewFile) {
    const auto mode_of = [this](const std::string& name) {
        struct stat status = {};
        EXPECT_EQ(stat((folder() + "/" + name).c_str(), &status), 0);
        return status.st_mode & 07777;
    };
    write_file(in("old.json"), "[1]");
    ASSERT_EQ(chmod((folder() + "/old.json").c_str(), 0640), 0);
    EXPECT_EQ(ke({"json", "format", "--in-place", in("old.json")}).status, 0);
    EXPECT_EQ(mode_of("old.json"), 0640u);
    const mode_t before = umask(027);
    EXPECT_EQ(ke({"json", "format", "-o", in("new.json")}, "1").status, 0);
    umask(before);
    EXPECT_EQ(mode_of("new.json"), 0640u);
}
#endif

TEST_F(KeFiles, AreUnchangedWhenACommandFails) {
    const std::string before = "{\"a\": 1, // no comment\n}";
    write_file(in("r.json"), before);
    for (const std::vector<std::string>& args :
         std::vector<std::vector<std::string>>{{"json", "format", "--in-place"},
                                               {"json", "set", "/b", "2", "--in-place"},
                                               {"json", "remove", "/a", "--in-place"},
                                               {"json", "expand", "--in-place"}}) {
        std::vector<std::string> with_file = args;
        with_file.push_back(in("r.json"));
        EXPECT_EQ(ke(with_file).status, 2);
        EXPECT_EQ(read_file(in("r.json")), before);
    }
    write_file(in("good.json"), "{\"a\":1}");
    EXPECT_EQ(ke({"json", "set", "/a/b", "2", "--in-place", in("good.json")}).status, 2);
    EXPECT_EQ(ke({"json", "get", "/x", in("good.json"), "-o", in("good.json")}).status, 2);
    EXPECT_EQ(read_file(in("good.json")), "{\"a\":1}");
    EXPECT_EQ(names().size(), 2u) << "no partly written file remains";
}

TEST_F(KeFiles, AreWrittenByEveryCommand) {
    write_file(in("r.json"), "{\"a\":1}");
    write_file(in("r.ini"), "[a]\nk=1\n");
    const std::string out = in("out");
    const struct {
        std::vector<std::string> args;
        const char* content;
    } kTable[] = {
        {{"json", "get", "/a", in("r.json")}, "1\n"},
        {{"json", "format", "--compact", in("r.json")}, "{\"a\":1}\n"},
        {{"json", "paths", in("r.json")}, "/a\t1\n"},
        {{"ini", "get", "a", "k", "-f", in("r.ini")}, "1\n"},
        {{"ini", "get", "a", "k", in("r.ini")}, "1\n"},
        {{"base64", "encode", in("r.json")}, "eyJhIjoxfQ==\n"},
        {{"number", "7"}, "7\n"},
        {{"status", "0"}, "0\tsuccess\n"},
    };
    for (const auto& row : kTable) {
        std::vector<std::string> args = row.args;
        args.insert(args.end(), {"-o", out});
        const Outcome outcome = ke(args);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(read_file(out), row.content);
    }
    EXPECT_EQ(names().size(), 3u);
}

// The argument parser must not take such a name for a list of names.
TEST_F(KeFiles, NamesInBrackets) {
    write_file("[ke_x]", "[1]");
    write_file("ke_x", "[2]");
    EXPECT_EQ(ke({"json", "format", "--compact", "[ke_x]"}).out, "[1]\n");
    EXPECT_EQ(ke({"json", "get", "/0", "[ke_x]", "ke_x"}).out, "1\n2\n");
    EXPECT_EQ(ke({"json", "get", "/5", "--default", "[5,6]", "--compact", "[ke_x]"}).out,
              "[5,6]\n");
    EXPECT_EQ(ke({"json", "set", "/0", "[3,4]", "[ke_x]", "--in-place"}).status, 0);
    EXPECT_EQ(ke({"json", "format", "[ke_x]", "--compact", "--in-place"}).status, 0);
    EXPECT_EQ(read_file("[ke_x]"), "[[3,4]]\n");
    EXPECT_EQ(read_file("ke_x"), "[2]");
    EXPECT_NE(ke({"json", "format", "[ke_none]"}).err.find("[ke_none]: "), std::string::npos);
    wiq_unlink("[ke_x]");
    wiq_unlink("ke_x");
}

#ifndef _WIN32
// The other name keeps the old text: the file to which it refers is not modified.
TEST_F(KeFiles, OnlyTheGivenNameIsReplaced) {
    write_file(in("r.json"), "[1]");
    ASSERT_EQ(link((folder() + "/r.json").c_str(), (folder() + "/other").c_str()), 0);
    EXPECT_EQ(ke({"json", "set", "/0", "2", in("r.json"), "--in-place"}).status, 0);
    EXPECT_EQ(read_file(in("r.json")), "[2]");
    EXPECT_EQ(read_file(in("other")), "[1]");
}
#endif

TEST_F(KeFiles, CannotBeWrittenWhereThereIsNoFolder) {
    const Outcome outcome = ke({"number", "7", "-o", in("none\\out")});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.err.find("WIQ_ERR_NOT_FOUND"), std::string::npos) << outcome.err;
}

TEST_F(KeFiles, NamesInAnyLanguage) {
    const std::string name =
        "Gr\xC3\xB6\xC3\x9F"
        "e \xE6\xB8\xA9\xE5\xBA\xA6.json";
    write_file(in(name), "[1]");
    EXPECT_EQ(ke({"json", "format", "--compact", in(name)}).out, "[1]\n");
    EXPECT_EQ(ke({"json", "set", "/-", "2", in(name), "--in-place"}).status, 0);
    EXPECT_EQ(ke({"json", "format", "--compact", in(name)}).out, "[1,2]\n");
    const Outcome outcome = ke({"json", "get", "/9", in(name)});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(names(), std::vector<std::string>{name});
}

TEST_F(KeFiles, LargeOnesShowNoProgressInAPipe) {
    std::string text = "[0";
    for (int i = 0; i < 400000; ++i)
        text += ",1234";
    write_file(in("large.json"), text + "]");
    const Outcome outcome = ke({"json", "types", in("large.json")});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(ke({"--quiet", "json", "types", in("large.json")}).out, outcome.out);
    // Through a pipe in both directions.
    const Outcome piped = ke({"json", "format", "--compact"}, text + "]");
    EXPECT_EQ(piped.out, text + "]\n");
    EXPECT_EQ(piped.err, "");
}

TEST_F(KeFiles, DeepDocumentsAreHandled) {
    constexpr size_t kLevels = 200000;
    const std::string deep = std::string(kLevels, '[') + std::string(kLevels, ']');
    EXPECT_EQ(ke({"json", "format", "--compact"}, deep).out, deep + "\n");
    const Outcome types = ke({"json", "types"}, deep);
    EXPECT_NE(types.out.find("depth\t200000\n"), std::string::npos) << types.out << types.err;
}

}  // namespace
