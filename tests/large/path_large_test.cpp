// Path strings, conversions and file names of more than 2^31 and 2^32 bytes.
#include <cwchar>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "large/large_test.h"

namespace {

class PathLarge : public Large {};

TEST_F(PathLarge, Strings) {
    for (const size_t length : kLarge) {
        SCOPED_TRACE(length);
        Text path(length, 'x');
        EXPECT_TRUE(wiq_filename_only(path.data()));
        EXPECT_EQ(wiq_basename(path.data()), path.data());
        EXPECT_FALSE(wiq_is_abs_path(path.data()));
        path.ending("\\f");
        EXPECT_EQ(wiq_basename(path.data()), path.end() - 1);
        EXPECT_FALSE(wiq_filename_only(path.data()));
        path.ending("x\\");
        char* built = wiq_build_path(path.data(), "f");
        ASSERT_NE(built, nullptr);
        EXPECT_STREQ(built + length - 2, "x\\f");
        EXPECT_EQ(wiq_dirname(built), built);
        EXPECT_EQ(strlen(built), length - 1);
        free(built);
        wiq_trim_dirsep(path.data());
        EXPECT_EQ(strlen(path.data()), length - 1);
    }
}

// What is appended, including the separator, is counted in 31 bits.
TEST_F(PathLarge, Parts) {
    Text part(k4G + 5, 'x');
    wiq_strbuf buf;
    ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
    for (const size_t length : {k2G - 1, k2G, k2G + 5, k4G - 1, k4G, k4G + 5}) {
        wiq_strbuf_rwrite(&buf, "d", 1);
        EXPECT_EQ(wiq_append_path(&buf, part.end() - length), WIQ_ERR_RANGE) << length;
        EXPECT_STREQ(buf.data, "d");
    }
    EXPECT_EQ(wiq_append_path(&buf, part.end() - (k2G - 2)), INT32_MAX);
    EXPECT_EQ(buf.len, k2G);
    EXPECT_EQ(buf.data[1], '\\');
    wiq_strbuf_finalize(&buf);

    ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
    EXPECT_EQ(wiq_append_path(&buf, part.end() - (k2G - 1)), INT32_MAX) << "without a separator";
    wiq_strbuf_reset(&buf);
    const char* half = part.end() - (k2G / 2 - 1);
    EXPECT_EQ(wiq_append_paths(&buf, 2, half, half), INT32_MAX);
    EXPECT_EQ(buf.len, k2G - 1);
    wiq_strbuf_reset(&buf);
    EXPECT_EQ(wiq_append_paths(&buf, 3, half, half, ""), INT32_MAX);
    wiq_strbuf_reset(&buf);
    EXPECT_EQ(wiq_append_paths(&buf, 3, half, "y", half), WIQ_ERR_RANGE);
    EXPECT_EQ(buf.len, k2G / 2 + 1);
    EXPECT_STREQ(buf.data + buf.len - 2, "\\y");
    wiq_strbuf_finalize(&buf);
}

// Includes characters of one, two, three and four bytes, and invalid bytes.
TEST_F(PathLarge, Conversions) {
    Text text(k2G + 9, 'x');
    text.ending("\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80");
    u32 err = 77;
    wchar_t* wide = widen(text.data(), &err);
    EXPECT_EQ(err, 0u);
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(wcslen(wide), k2G + (sizeof(wchar_t) == 2 ? 4 : 3));
    EXPECT_EQ(wide[k2G - 1], L'x');
    EXPECT_EQ(wide[k2G], 0xe9);
    EXPECT_EQ(wide[k2G + 1], 0x20ac);
    text.release();
    char* narrowed = narrow(wide, &err);
    EXPECT_EQ(err, 0u);
    free(wide);
    ASSERT_NE(narrowed, nullptr);
    EXPECT_EQ(strlen(narrowed), k2G + 9);
    EXPECT_TRUE(is_all(narrowed, k2G, 'x'));
    EXPECT_STREQ(narrowed + k2G, "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80");
    free(narrowed);
}

// Fewer than 2^31 wide characters that need more than 2^31 bytes.
TEST_F(PathLarge, ALongTextOfAShorterOne) {
    constexpr size_t kCount = k4G / 3 + 2;
    Text text(3 * kCount, '\0');
    for (size_t i = 0; i != kCount; ++i)
        memcpy(text.data() + 3 * i, "\xe2\x82\xac", 3);
    u32 err = 77;
    wchar_t* wide = widen(text.data(), &err);
    EXPECT_EQ(err, 0u);
    text.release();
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(wcslen(wide), kCount);
    EXPECT_TRUE(is_all(reinterpret_cast<char*>(wide + 1), 0, 0) && wide[0] == 0x20ac &&
                wmemcmp(wide, wide + 1, kCount - 1) == 0);
    if (sizeof(wchar_t) == 2) {
        char* narrowed = narrow(wide, &err);
        EXPECT_EQ(err, 0u);
        ASSERT_NE(narrowed, nullptr);
        EXPECT_EQ(strlen(narrowed), 3 * kCount);
        free(narrowed);
    }
    // Half of a surrogate pair is invalid, wherever it is.
    wide[kCount - 1] = static_cast<wchar_t>(0xd800);
    EXPECT_EQ(narrow(wide, &err), nullptr);
    EXPECT_EQ(err, 1113u);
    free(wide);
}

// No file can have such a name.
TEST_F(PathLarge, NamesOfFiles) {
    for (const size_t length : kLarge) {
        SCOPED_TRACE(length);
        const SparseFile file("", 0, "x");
        Text path(length, 'x');
        // If its length were truncated to 32 bits, one of these paths would name the file.
        path.ending(file.name());
        u32 err = 0;
        EXPECT_EQ(wiq_fopen(path.data(), "rb", &err), nullptr);
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_NOT_FOUND);
        void* data = nullptr;
        EXPECT_EQ(wiq_load_file(path.data(), &data, 0), WIQ_ERR_NOT_FOUND);
        EXPECT_EQ(wiq_access(path.data(), 0), WIQ_ERR_ACCESS_DENIED);
        EXPECT_EQ(wiq_rename(path.data(), "y"), WIQ_ERR_NOT_FOUND);
        EXPECT_LT(wiq_unlink(path.data()), 0);
        EXPECT_EQ(wiq_rmdir(path.data()), WIQ_ERR_IO);
        EXPECT_LT(wiq_mkdir(path.data()), 0);
        path.ending("\\f");
        EXPECT_LT(wiq_mkdir_parents(path.data()), 0);
        path.ending("XXXXXX");
        EXPECT_EQ(wiq_mkstemp(path.data(), &err, "wb"), nullptr);
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_NOT_FOUND);
    }
}

TEST_F(PathLarge, NamesOfSchemaFiles) {
    for (const size_t length : kLarge) {
        SCOPED_TRACE(length);
        Text command(length, '-');
        u32 err = 0;
        char* name = wiq_schema_filename(command.data(), true, &err);
        command.release();
        EXPECT_EQ(err, 0u);
        ASSERT_NE(name, nullptr);
        EXPECT_TRUE(is_all(name, length, '_'));
        EXPECT_STREQ(name + length, "_input.json");
        EXPECT_EQ(wiq_schema_open(name, &err), nullptr);
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_NOT_FOUND);
        EXPECT_EQ(wiq_load_schema(name, &err), nullptr);
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_IO);
        free(name);
    }
}

}  // namespace
