// Tests of files and paths: documents are saved and loaded, and replaced in one step, under names in any
// script.
#include "parsed.h"

#include <string>
#include <vector>

#if !defined(_WIN32)
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#endif

namespace {

using ke::json;

// A separate folder for each test, empty at first. Files that the test names in it are removed with it.
class CppFiles : public testing::Test {
  protected:
    CppFiles() {
        const char* const temporary = std::getenv("TMPDIR");
        std::string name =
            ke::join_path(temporary != nullptr ? temporary : ".", "ke_cpp_XXXXXX").value();
        ke::u32 err = 0;
        std::FILE* const stream = wiq_mkstemp(name.data(), &err, "wb");
        EXPECT_NE(stream, nullptr);
        std::fclose(stream);
        EXPECT_EQ(ke::remove_file(name), 0);
        EXPECT_EQ(ke::make_directory(name), 0);
        folder_ = name;
    }
    ~CppFiles() override {
        for (const std::string& path : files_)
            (void)ke::remove_file(path);
        EXPECT_EQ(ke::remove_directory(folder_), 0) << "files remain in " << folder_;
    }
    std::string path(std::string_view name) {
        files_.push_back(ke::join_path(folder_, name).value());
        return files_.back();
    }
    std::string folder_;

  private:
    std::vector<std::string> files_;
};

TEST_F(CppFiles, DocumentsRoundTrip) {
    const std::string name = path("\xE2\x82\xAC \xD0\xB6 report.json");
    const json root = json{{"text", "na\xC3\xAFve \xF0\x9F\x98\x80"}, {"list", {1, 2}}};
    EXPECT_EQ(ke::save_file(name, root), 0);
    EXPECT_EQ(ke::load_file(name).value(), root);
    EXPECT_EQ(json::load_file(name).value(), root);
    EXPECT_EQ(ke::save_file(name, json{1}, ke::pretty), 0) << "replaces the first file";
    EXPECT_EQ(ke::load_text(name).value(), "[\n  1\n]\n");
    EXPECT_EQ(ke::load_file(std::string_view(name)).value(), json{1});
}

TEST_F(CppFiles, AFailureLeavesTheOldFile) {
    const std::string name = path("kept.json");
    EXPECT_EQ(ke::save_text(name, "[1]"), 0);
    EXPECT_EQ(ke::save_file(name, json()), ke::err_empty);
    EXPECT_EQ(ke::save_file(name, json::of("\xff")), WIQ_ERR_BAD_FORMAT);
    EXPECT_EQ(ke::load_text(name).value(), "[1]");
    EXPECT_EQ(ke::save_text(path("none") + "\\below", "x"), WIQ_ERR_NOT_FOUND);
    EXPECT_NE(ke::save_text(folder_, "x"), 0) << "a directory is not replaced";
    EXPECT_EQ(ke::save_text(std::string("a\0b", 3), "x"), WIQ_ERR_INVALID_ARG);
}

TEST_F(CppFiles, SavingUnderAnEmptyNameFails) {
    EXPECT_EQ(ke::save_text("", "x"), WIQ_ERR_IO);
}

#if !defined(_WIN32)
std::string native(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

TEST_F(CppFiles, SymbolicLinksAreFollowed) {
    const std::string below = ke::join_path(folder_, "below").value();
    ASSERT_EQ(ke::make_directory(below), 0);
    const std::string file = path("file");
    const std::string inner = path("below\\inner");
    const std::string outer = path("outer");
    const std::string circle = path("circle");
    ASSERT_EQ(::symlink("../file", native(inner).c_str()), 0);
    ASSERT_EQ(::symlink("below/inner", native(outer).c_str()), 0);
    ASSERT_EQ(::symlink("circle", native(circle).c_str()), 0);
    EXPECT_EQ(ke::save_text(outer, "first"), 0) << "makes the file that is not there yet";
    EXPECT_EQ(ke::load_text(file).value(), "first");
    EXPECT_EQ(ke::save_file(outer, json{1}), 0);
    EXPECT_EQ(ke::load_text(file).value(), "[1]\n");
    struct stat status;
    ASSERT_EQ(::lstat(native(outer).c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode)) << "the link is still one";
    EXPECT_EQ(ke::save_text(circle, "x"), WIQ_ERR_IO);
    EXPECT_EQ(ke::remove_file(inner), 0);
    EXPECT_EQ(ke::remove_directory(below), 0);
}

TEST_F(CppFiles, PipesAreWrittenTo) {
    const std::string name = path("pipe");
    ASSERT_EQ(::mkfifo(native(name).c_str(), 0600), 0);
    // Opened to read and write, a pipe keeps what is written until it is read here.
    const int reader = ::open(native(name).c_str(), O_RDWR | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    EXPECT_EQ(ke::save_text(name, "through"), 0);
    char text[16] = {};
    EXPECT_EQ(::read(reader, text, sizeof text), 7);
    EXPECT_STREQ(text, "through");
    EXPECT_EQ(ke::save_file(name, json::of("\xff")), WIQ_ERR_BAD_FORMAT);
    EXPECT_TRUE(ke::has_access(name)) << "a failure does not remove it";
    ::close(reader);
    // The name of an open pipe is a link that leads to no path.
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_NONBLOCK), 0);
    EXPECT_EQ(ke::save_text("/dev/fd/" + std::to_string(ends[1]), "there"), 0);
    EXPECT_EQ(::read(ends[0], text, sizeof text), 5);
    ::close(ends[0]);
    ::close(ends[1]);
}
#endif

TEST_F(CppFiles, FailuresReportStatusAndPosition) {
    EXPECT_EQ(ke::load_file(path("none.json")).status(), WIQ_ERR_NOT_FOUND);
    const std::string name = path("broken.json");
    EXPECT_EQ(ke::save_text(name, "{\"\xC3\xA9\":\n  x}"), 0);
    const auto broken = ke::load_file(name);
    EXPECT_EQ(broken.code(), WIQ_ERR_JSON_BAD_TOKEN);
    EXPECT_EQ(broken.line(), 2);
    EXPECT_EQ(broken.column(), 3);
    EXPECT_EQ(ke::save_text(name, ""), 0);
    EXPECT_EQ(ke::load_text(name).value(), "");
    EXPECT_EQ(ke::load_file(name).status(), WIQ_ERR_FILE_EMPTY);
    EXPECT_EQ(ke::save_text(name, std::string_view("a\0b", 3)), 0);
    EXPECT_EQ(ke::load_text(name)->size(), 3u) << "bytes are bytes";
}

TEST_F(CppFiles, StreamsAndLines) {
    const std::string name = path("lines.txt");
    EXPECT_EQ(ke::save_text(name, "one\ntwo"), 0);
    auto stream = ke::open_file(name, "rb");
    ASSERT_TRUE(stream);
    std::string line;
    EXPECT_TRUE(ke::read_line(stream->get(), line).ok());
    EXPECT_EQ(line, "one\n");
    EXPECT_TRUE(ke::read_line(stream->get(), line).ok());
    EXPECT_EQ(line, "two");
    EXPECT_EQ(ke::read_line(stream->get(), line), WIQ_ERR_EOF);
    EXPECT_EQ(line, "two");
    EXPECT_EQ(ke::open_file(path("none"), "rb").status(), WIQ_ERR_NOT_FOUND);
}

TEST_F(CppFiles, DirectoriesAndNames) {
    const std::string inner = ke::join_path(folder_, "a", "b").value();
    EXPECT_EQ(ke::make_parents(ke::join_path(inner, "file").value()), 0);
    EXPECT_EQ(ke::make_directory(inner), WIQ_ERR_ALREADY_EXISTS);
    EXPECT_TRUE(ke::has_access(inner));
    EXPECT_EQ(ke::rename_file(inner, ke::join_path(folder_, "c").value()), 0);
    EXPECT_FALSE(ke::has_access(inner));
    EXPECT_EQ(ke::remove_directory(ke::join_path(folder_, "c").value()), 0);
    EXPECT_EQ(ke::remove_directory(ke::join_path(folder_, "a").value()), 0);
    EXPECT_EQ(ke::remove_file(path("none")), WIQ_ERR_NOT_FOUND);
    EXPECT_TRUE(ke::install_dir());
}

TEST(CppPaths, Strings) {
    EXPECT_EQ(ke::base_name("a\\b/c"), "c");
    EXPECT_EQ(ke::base_name("c"), "c");
    EXPECT_EQ(ke::dir_name("C:\\dir\\f"), "C:\\dir");
    EXPECT_EQ(ke::dir_name("f"), "");
    EXPECT_EQ(ke::join_path("a", std::string("b"), std::string_view("cd").substr(1)).value(),
              "a\\b\\d");
    EXPECT_EQ(ke::join_path(std::string("a\0b", 3)).status(), WIQ_ERR_INVALID_ARG);
    EXPECT_TRUE(ke::is_absolute("C:\\x"));
    EXPECT_FALSE(ke::is_absolute("x"));
    EXPECT_TRUE(ke::is_file_name("x"));
    EXPECT_FALSE(ke::is_file_name("a/x"));
    EXPECT_EQ(ke::to_utf8(L"\u20AC").value(), "\xE2\x82\xAC");
    EXPECT_EQ(ke::to_wide("\xE2\x82\xAC").value(), L"\u20AC");
    EXPECT_EQ(ke::to_utf8(std::wstring(1, static_cast<wchar_t>(0xD800))).status(),
              WIQ_ERR_ENCODING);
    EXPECT_EQ(ke::to_utf8(std::wstring(L"a\0b", 3)).status(), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(ke::schema_name("json-get", true).value(), "json_get_input.json");
    EXPECT_FALSE(ke::load_schema("none.json"));
    EXPECT_FALSE(ke::open_schema("none.json"));
}

TEST(CppArguments, AreInUtf8) {
    const wchar_t* const wide[] = {L"tool", L"caf\u00e9", L""};
    ke::result<ke::arguments> made = ke::arguments::of(3, wide);
    ASSERT_TRUE(made);
    const ke::arguments words = *std::move(made);
    EXPECT_EQ(words.count(), 3);
    EXPECT_EQ(std::vector<std::string>(words.begin(), words.end()),
              (std::vector<std::string>{"tool", "caf\xC3\xA9", ""}));
    EXPECT_STREQ(words.get()[1], "caf\xC3\xA9");
    EXPECT_EQ((*ke::arguments::of(0, wide)).count(), 0);
    const std::wstring broken(1, static_cast<wchar_t>(0xD800));
    const wchar_t* const list[] = {L"tool", broken.c_str()};
    EXPECT_EQ(ke::arguments::of(2, list).status(), WIQ_ERR_ENCODING);
}

TEST_F(CppFiles, IniAsAMap) {
    const std::string name = path("drives.ini");
    EXPECT_EQ(
        ke::save_text(
            name, "[drive sda]\nname = \"one two\"\nhours = 5\n[other]\nx=1\n[drive]\nhours=6\n"),
        0);
    const auto drives = ke::ini::load(name);
    ASSERT_TRUE(drives) << drives.describe();
    EXPECT_EQ(drives->sections().size(), 2u);
    EXPECT_EQ(drives->sections().find("drive")->second.argument, "sda");
    EXPECT_EQ(drives->value_or("drive", "name", ""), "one two");
    EXPECT_EQ(drives->value_or("drive", "hours", ""), "6") << "the last value counts";
    EXPECT_EQ(drives->value_or("drive", "none", "else"), "else");
    EXPECT_EQ(drives->find("none", "x"), nullptr);
    const ke::ini_value* const x = drives->find("other", "x");
    ASSERT_NE(x, nullptr);
    EXPECT_EQ(x->location.line, 5u);
    EXPECT_EQ(x->location.column, 3u);
    EXPECT_EQ(x->key_location.column, 1u);
    EXPECT_EQ(ke::ini::load(path("none.ini")).status(), WIQ_ERR_NOT_FOUND);
    EXPECT_EQ(ke::save_text(name, "[a]\nx = 1\n= 2\n"), 0);
    const auto broken = ke::ini::load(name);
    EXPECT_EQ(broken.code(), WIQ_ERR_INI_SYNTAX);
    EXPECT_EQ(broken.line(), 3);
}

struct IniLog {
    std::string text;
    int throws_at = 0;
    ke::status section(std::string_view name, const WiqIniLocation&, std::string_view argument,
                       const WiqIniLocation&) {
        text += "[" + std::string(name) + " " + std::string(argument) + "]";
        return {};
    }
    ke::status key(std::string_view key, const WiqIniLocation& at, std::string_view value,
                   const WiqIniLocation&) {
        if (static_cast<int>(at.line) == throws_at)
            throw 7;
        text += std::string(key) + "=" + std::string(value) + ";";
        return value == "stop" ? WIQ_ERR_RANGE : 0;
    }
};
TEST_F(CppFiles, IniByCallbacks) {
    const std::string name = path("log.ini");
    EXPECT_EQ(ke::save_text(name, "[a b]\nx=1\nx=2\n[a]\ny=stop\nz=3\n"), 0);
    IniLog log;
    EXPECT_EQ(ke::parse_ini(ke::open_file(name, "rb")->get(), log), WIQ_ERR_RANGE);
    EXPECT_EQ(log.text, "[a b]x=1;x=2;[a ]y=stop;");
    IniLog thrower;
    thrower.throws_at = 3;
    EXPECT_THROW((void)ke::parse_ini(ke::open_file(name, "rb")->get(), thrower), int);
    EXPECT_EQ(thrower.text, "[a b]x=1;");
    EXPECT_EQ(ke::parse_ini(nullptr, log), WIQ_ERR_INVALID_ARG);
}

}  // namespace
