// Tests of path strings, in tables.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "ke_utils/core.h"
#include "ke_utils/files.h"

namespace {

TEST(Path, Basename) {
    struct Row {
        const char *path, *tail;
    };
    for (const Row& row :
         {Row{"a/b\\c", "c"}, Row{"a\\b/c", "c"}, Row{"dir\\", ""}, Row{"dir/", ""},
          Row{"file", "file"}, Row{"", ""}, Row{"C:\\f", "f"}, Row{"C:f", "C:f"}})
        EXPECT_STREQ(wiq_basename(row.path), row.tail) << row.path;
    EXPECT_EQ(wiq_basename(nullptr), nullptr);
    const char* path = "a\\b";
    EXPECT_EQ(wiq_basename(path), path + 2) << "points into the path";
}

TEST(Path, Dirname) {
    struct Row {
        std::string path;
        const char* dir;
    };
    for (const Row& row : {
             Row{"C:\\dir\\f", "C:\\dir"},
             Row{"C:\\f", "C:\\"},
             Row{"C:/f", "C:/"},
             Row{"\\f", "\\"},
             Row{"/f", "/"},
             Row{"f", ""},
             Row{"", ""},
             Row{"a\\b", "a"},
             Row{"ab\\c", "ab"},
             Row{"a/b/c", "a/b"},
             Row{"dir\\", "dir"},
             Row{"a\\", "a"},
             Row{"\\\\x", "\\"},
             Row{"abc\\d", "abc"},
             Row{"C:f", ""},
         }) {
        std::string path = row.path;
        EXPECT_EQ(wiq_dirname(path.data()), path.data());
        EXPECT_STREQ(path.c_str(), row.dir) << row.path;
    }
    EXPECT_EQ(wiq_dirname(nullptr), nullptr);
}

TEST(Path, IsAbsolute) {
    for (const char* path : {"\\x", "\\", "C:", "C:rel", "C:\\x", "1:"})
        EXPECT_TRUE(wiq_is_abs_path(path)) << path;
    for (const char* path : {"/x", "x", "", "C", "xy", "x/y"})
        EXPECT_FALSE(wiq_is_abs_path(path)) << path;
    EXPECT_FALSE(wiq_is_abs_path(nullptr));
}

TEST(Path, FilenameOnly) {
    EXPECT_TRUE(wiq_filename_only("file.json"));
    EXPECT_TRUE(wiq_filename_only(""));
    EXPECT_FALSE(wiq_filename_only("a\\b"));
    EXPECT_FALSE(wiq_filename_only("a/b"));
    EXPECT_FALSE(wiq_filename_only("/"));
    EXPECT_FALSE(wiq_filename_only(nullptr));
}

TEST(Path, TrimDirsep) {
    struct Row {
        std::string path;
        const char* trimmed;
    };
    for (const Row& row : {Row{"a\\", "a"}, Row{"a/", "a"}, Row{"a//", "a/"}, Row{"a\\\\", "a\\"},
                           Row{"\\", ""}, Row{"a", "a"}, Row{"", ""}}) {
        std::string path = row.path;
        wiq_trim_dirsep(path.data());
        EXPECT_STREQ(path.c_str(), row.trimmed);
    }
    wiq_trim_dirsep(nullptr);
}

TEST(Path, Build) {
    struct Row {
        const char *dir, *name, *path;
    };
    for (const Row& row : {Row{"C:\\d\\", "f", "C:\\d\\f"}, Row{"C:\\d//", "f", "C:\\d/\\f"},
                           Row{"C:\\d", "f", "C:\\d\\f"}, Row{"", "f", "\\f"}, Row{"d", "", "d\\"},
                           Row{"\\", "f", "\\f"}}) {
        char* path = wiq_build_path(row.dir, row.name);
        EXPECT_STREQ(path, row.path);
        free(path);
    }
    EXPECT_EQ(wiq_build_path(nullptr, "f"), nullptr);
    EXPECT_EQ(wiq_build_path("d", nullptr), nullptr);
}

class PathAppend : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(wiq_strbuf_init(&buf_, 0), 0); }
    void TearDown() override { wiq_strbuf_finalize(&buf_); }
    wiq_strbuf buf_;
};

TEST_F(PathAppend, OnePart) {
    struct Row {
        const char *before, *part, *after;
        i32 count;
    };
    for (const Row& row :
         {Row{"", "b", "b", 1}, Row{"a", "b", "a\\b", 2}, Row{"a\\", "b", "a\\b", 1},
          Row{"a/", "b", "a/\\b", 2}, Row{"a", "", "a", 0}, Row{"", "", "", 0},
          Row{"a", "\\b", "a\\\\b", 3}}) {
        wiq_strbuf_rwrite(&buf_, row.before, strlen(row.before));
        EXPECT_EQ(wiq_append_path(&buf_, row.part), row.count);
        EXPECT_STREQ(buf_.data, row.after);
    }
    EXPECT_EQ(wiq_append_path(nullptr, "b"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_append_path(&buf_, nullptr), WIQ_ERR_INVALID_ARG);
}

TEST_F(PathAppend, SeveralParts) {
    EXPECT_EQ(wiq_append_paths(&buf_, 3, "a", "b", "c"), 5);
    EXPECT_STREQ(buf_.data, "a\\b\\c");
    EXPECT_EQ(wiq_append_paths(&buf_, 0), 0);
    EXPECT_EQ(wiq_append_paths(&buf_, -1), 0);
    const char* none = nullptr;
    EXPECT_EQ(wiq_append_paths(&buf_, 3, "d", none, "e"), WIQ_ERR_INVALID_ARG);
    EXPECT_STREQ(buf_.data, "a\\b\\c\\d") << "what came before it was written";
    EXPECT_EQ(wiq_append_paths(nullptr, 1, "d"), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_append_paths(nullptr, 0), 0);
}

}  // namespace
