// INI files of more than 2^31 and 2^32 bytes and lines.
#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "large/large_test.h"
#include "support/temporary_stream.h"

namespace {

class IniLarge : public Large {};
class IniLargeThreads : public Large {};

struct Seen {
    std::string keys;
    WiqIniLocation key = {};
    WiqIniLocation value = {};
    WiqIniLocation section = {};
    WiqIniLocation mistake = {};
};

i32 parse(FILE* stream, Seen* seen) {
    const auto on_section = [](const char*, const WiqIniLocation* name, const char*,
                               const WiqIniLocation*, void* user) {
        static_cast<Seen*>(user)->section = *name;
        return i32{0};
    };
    const auto on_key = [](const char* key, const WiqIniLocation* key_location, const char*,
                           const WiqIniLocation* value_location, void* user) {
        auto* into = static_cast<Seen*>(user);
        into->keys += key;
        into->key = *key_location;
        into->value = *value_location;
        return i32{0};
    };
    const auto on_error = [](const WiqIniLocation* location, void* user) {
        static_cast<Seen*>(user)->mistake = *location;
    };
    return wiq_ini_parse(stream, on_section, on_key, on_error, seen);
}

// Comments of one mebibyte each, so that only the offset becomes large. Tests the last positions that can be
// expressed, and those that would wrap to small ones.
TEST_F(IniLarge, Offsets) {
    const std::string comment = ";" + std::string((1 << 20) - 2, 'x') + "\n";
    for (const size_t offset : {k2G + 5, k4G - 13, k4G - 12, k4G - 8, k4G - 7, k4G + 5}) {
        SCOPED_TRACE(offset);
        FILE* stream = temporary_stream();
        ASSERT_NE(stream, nullptr);
        const std::string before = "[s]\n";
        fputs(before.c_str(), stream);
        size_t written = before.size();
        for (; written + comment.size() <= offset; written += comment.size())
            fwrite(comment.data(), 1, comment.size(), stream);
        for (; written < offset; ++written)
            putc('\n', stream);
        fputs("key = value\n[t]\nb b", stream);
        rewind(stream);
        Seen seen;
        EXPECT_EQ(parse(stream, &seen), WIQ_ERR_INI_SYNTAX);
        fclose(stream);
        const auto told = [](size_t at) {
            return at < UINT32_MAX ? static_cast<u32>(at) : UINT32_MAX;
        };
        EXPECT_EQ(seen.keys, "key");
        EXPECT_EQ(seen.key.offset, told(offset));
        EXPECT_EQ(seen.key.column, 1u);
        EXPECT_EQ(seen.value.offset, told(offset + 6));
        EXPECT_EQ(seen.value.column, 7u);
        EXPECT_EQ(seen.value.length, 5u);
        EXPECT_EQ(seen.section.offset, told(offset + 13));
        EXPECT_EQ(seen.mistake.column, 3u);
        EXPECT_EQ(seen.mistake.line, seen.key.line + 2);
    }
}

TEST_F(IniLargeThreads, Lines) {
    struct Row {
        size_t feeds;
        u32 line;
    };
    for (const Row& row : {Row{k2G + 5, (1u << 31) + 7}, Row{k4G - 4, UINT32_MAX - 1},
                           Row{k4G - 3, UINT32_MAX}, Row{k4G + 5, UINT32_MAX}}) {
        SCOPED_TRACE(row.feeds);
        Source source("[s]\n", row.feeds, '\n', "key = value\n");
        Seen seen;
        EXPECT_EQ(parse(source.stream(), &seen), 0);
        EXPECT_EQ(seen.keys, "key");
        EXPECT_EQ(seen.key.line, row.line);
    }
}

// A word of NUL bytes; the parse returns the status of reading the line.
TEST_F(IniLarge, ALineThatIsTooLong) {
    const SparseFile file("[s]\na = 1\nb = ", k2G, "\nc = 3\n");
    FILE* stream = fopen(file.name(), "rb");
    Seen seen;
    EXPECT_EQ(parse(stream, &seen), WIQ_ERR_IO);
    EXPECT_EQ(seen.keys, "a");
    EXPECT_EQ(seen.mistake.line, 0u) << "no mistake in the syntax";
    fclose(stream);
}

TEST_F(IniLarge, TheLongestValue) {
    const SparseFile file("[s]\na = 1\nb = ", k2G - 6, "\nc = 3\n");
    FILE* stream = fopen(file.name(), "rb");
    Seen seen;
    EXPECT_EQ(parse(stream, &seen), 0);
    EXPECT_EQ(seen.keys, "abc");
    EXPECT_EQ(seen.key.offset, k2G + 9);
    fclose(stream);
}

}  // namespace
