// Fails every allocation of the file family once, except those that libuv and the runtime make for
// themselves.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>

#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "support/alloc_faults.h"
#include "support/temporary_stream.h"

namespace {

constexpr const char* kName = "fs_faults_test.tmp";

// Sweeps a call that returns a new string or NULL.
size_t sweep_string(char* (*make)()) {
    return SweepAllocations([make](AllocFaults& faults) {
        faults.arm();
        char* text = make();
        faults.disarm();
        EXPECT_EQ(text == nullptr, faults.fired());
        free(text);
    });
}

TEST(EncodingFaults, Conversions) {
    EXPECT_EQ(SweepAllocations([](AllocFaults& faults) {
                  u32 err = 0;
                  faults.arm();
                  char* text = narrow(L"text", &err);
                  faults.disarm();
                  EXPECT_EQ(err, faults.fired() ? 8u : 0u);
                  EXPECT_EQ(text == nullptr, faults.fired());
                  free(text);
              }),
              2u);
    SweepAllocations([](AllocFaults& faults) {
        u32 err = 0;
        faults.arm();
        wchar_t* text = widen("text", &err);
        faults.disarm();
        EXPECT_EQ(err, faults.fired() ? 8u : 0u);
        free(text);
    });
    SweepAllocations([](AllocFaults& faults) {
        const wchar_t* items[] = {L"a", L"b", L"c"};
        u32 err = 0;
        faults.arm();
        char** texts = narrow_array(3, items, &err);
        faults.disarm();
        EXPECT_EQ(err, faults.fired() ? 8u : 0u);
        EXPECT_EQ(texts == nullptr, faults.fired());
        free_narrow_array(3, texts, nullptr);
    });
}

TEST(PathFaults, Strings) {
    sweep_string([] { return wiq_build_path("dir", "name"); });
    sweep_string([] { return wiq_install_dir(); });
    sweep_string([] { return wiq_schema_filename("a-b", true, nullptr); });
    // The buffer is full. After it has grown for the separator, "def" fits, and the longer part does not.
    for (const std::string& part : {std::string("def"), std::string(100, 'd')}) {
        const size_t points = SweepAllocations([&part](AllocFaults& faults) {
            wiq_strbuf buf;
            ASSERT_EQ(wiq_strbuf_init(&buf, 4), 0);
            wiq_strbuf_write(&buf, "abc", 3);
            faults.arm();
            const i32 appended = wiq_append_path(&buf, part.c_str());
            faults.disarm();
            EXPECT_EQ(appended, faults.fired() ? static_cast<i32>(WIQ_ERR_NO_MEMORY)
                                               : static_cast<i32>(part.size() + 1));
            EXPECT_EQ(buf.data, faults.fired() ? "abc" : "abc\\" + part);
            wiq_strbuf_finalize(&buf);
        });
        EXPECT_EQ(points, part.size() == 3 ? 2u : 4u);
    }
}

TEST(FilesystemFaults, Mkdir) {
    SweepAllocations([](AllocFaults& faults) {
        faults.arm();
        const i32 status = wiq_mkdir("fs_faults_dir");
        faults.disarm();
        if (!faults.fired()) {
            EXPECT_EQ(status, 0);
        } else {
            EXPECT_NE(status, 0);
        }
        if (faults.nth() == 1 && faults.fired()) {
            EXPECT_EQ(status, WIQ_ERR_NO_MEMORY);
        }
        wiq_rmdir("fs_faults_dir");
    });
    SweepAllocations([](AllocFaults& faults) {
        faults.arm();
        const i32 status = wiq_mkdir_parents("fs_faults_dir\\f");
        faults.disarm();
        EXPECT_EQ(status == 0, !faults.fired());
        wiq_rmdir("fs_faults_dir");
    });
}

TEST(FileFaults, LoadFile) {
    FILE* made = fopen(kName, "wb");
    ASSERT_NE(made, nullptr);
    fputs("content", made);
    fclose(made);
    SweepAllocations([](AllocFaults& faults) {
        void* data = nullptr;
        faults.arm();
        const i32 size = wiq_load_file(kName, &data, 1);
        faults.disarm();
        if (faults.fired()) {
            // On Windows, paths are converted first; if there is no memory for that, the file cannot be
            // opened.
            EXPECT_TRUE(size == WIQ_ERR_NO_MEMORY || size == WIQ_ERR_ENCODING) << size;
            EXPECT_EQ(data, nullptr);
        } else {
            EXPECT_EQ(size, 7);
        }
        free(data);
    });
    remove(kName);
}

// The caller's block may have been reallocated before memory ran out; the returned address and size must be
// valid.
TEST(FileFaults, GetlineKeepsTheCallersBuffer) {
    const std::string content = std::string(300, 'x') + "\n";
    const size_t points = SweepAllocations([&content](AllocFaults& faults) {
        FILE* stream = stream_of(content);
        ASSERT_NE(stream, nullptr);
        char* line = static_cast<char*>(malloc(4));
        size_t size = 4;
        faults.arm();
        const i32 length = wiq_getline(&line, &size, stream);
        faults.disarm();
        EXPECT_EQ(length, faults.fired() ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : 301);
        EXPECT_EQ(size, faults.fired() ? 4 + 128 * (faults.nth() - 1) : 4 + 3 * 128);
        memset(line, 'y', size);
        free(line);
        fclose(stream);
    });
    EXPECT_EQ(points, 6u) << "three growths, each failing alone and with all after it";
}

TEST(FileFaults, GetlineWithoutABufferLeavesNone) {
    const std::string content = std::string(300, 'x') + "\n";
    const size_t points = SweepAllocations([&content](AllocFaults& faults) {
        FILE* stream = stream_of(content);
        ASSERT_NE(stream, nullptr);
        char* line = nullptr;
        size_t size = 77;
        faults.arm();
        const i32 length = wiq_getline(&line, &size, stream);
        faults.disarm();
        EXPECT_EQ(length, faults.fired() ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : 301);
        EXPECT_EQ(line == nullptr, faults.fired());
        EXPECT_EQ(size, faults.fired() ? 77u : 384u);
        free(line);
        fclose(stream);
    });
    EXPECT_EQ(points, 6u);
}

TEST(IniFaults, TheLineBufferCannotGrow) {
    const std::string content = "[s]\nk=" + std::string(300, 'v') + "\n";
    SweepAllocations([&content](AllocFaults& faults) {
        FILE* stream = stream_of(content);
        ASSERT_NE(stream, nullptr);
        faults.arm();
        const i32 status = wiq_ini_parse(stream, nullptr, nullptr, nullptr, nullptr);
        faults.disarm();
        EXPECT_EQ(status, faults.fired() ? WIQ_ERR_NO_MEMORY : 0);
        fclose(stream);
    });
}

// What the callbacks of a parse receive, in order. The strings do not grow while allocations may fail.
struct IniEvents {
    IniEvents() { seen.reserve(8192); }
    i32 parse(FILE* stream) {
        seen.clear();
        rewind(stream);
        const auto on_section = [](const char* name, const WiqIniLocation*, const char* argument,
                                   const WiqIniLocation*, void* user) {
            auto* self = static_cast<IniEvents*>(user);
            self->add({"[", name, "|", argument != nullptr ? argument : "", "]"});
            return i32{0};
        };
        const auto on_key = [](const char* key, const WiqIniLocation*, const char* value,
                               const WiqIniLocation*, void* user) {
            static_cast<IniEvents*>(user)->add({key, "=", value, ";"});
            return i32{0};
        };
        const auto on_error = [](const WiqIniLocation*, void* user) {
            static_cast<IniEvents*>(user)->add({"!"});
        };
        return wiq_ini_parse(stream, on_section, on_key, on_error, this);
    }
    void add(std::initializer_list<const char*> parts) {
        for (const char* part : parts)
            seen += part;
    }

    std::string seen;
};

TEST(IniFaults, EveryPrefix) {
    const std::string content =
        "; comment\r\n[one]\nkey = value\n\n[two argument]\n k=\"quoted; text\" # x\n" +
        std::string("[three \"an argument\"]\nlong = ") + std::string(200, 'v') +
        "\nlonger = " + std::string(600, 'w') + "\nlast = \xc3\xa9";
    size_t points = 0;
    for (size_t length = 0; length <= content.size(); ++length) {
        SCOPED_TRACE(length);
        FILE* stream = stream_of(content.substr(0, length));
        ASSERT_NE(stream, nullptr);
        IniEvents whole;
        const i32 expected = whole.parse(stream);
        EXPECT_TRUE(expected == 0 || expected == WIQ_ERR_INI_SYNTAX) << expected;
        points += SweepAllocations([&](AllocFaults& faults) {
            IniEvents events;
            faults.arm();
            const i32 status = events.parse(stream);
            faults.disarm();
            EXPECT_EQ(status, faults.fired() ? static_cast<i32>(WIQ_ERR_NO_MEMORY) : expected);
            // What was read before memory ran out has been delivered, and nothing else.
            EXPECT_EQ(events.seen,
                      faults.fired() ? whole.seen.substr(0, events.seen.size()) : whole.seen);
        });
        fclose(stream);
        if (HasFailure())
            break;
    }
    EXPECT_GT(points, 2 * content.size());
}

TEST(SchemaFaults, Load) {
    char* dir = wiq_install_dir();
    const std::string schemas = std::string(dir) + "\\schemas";
    free(dir);
    const bool made = wiq_mkdir(schemas.c_str()) == 0;
    const std::string path = schemas + "\\" + kName;
    FILE* fp = wiq_fopen(path.c_str(), "wb", nullptr);
    ASSERT_NE(fp, nullptr);
    fputs("{\"a\":[1,\"text\"]}", fp);
    fclose(fp);
    SweepAllocations([](AllocFaults& faults) {
        u32 err = 0;
        faults.arm();
        wiq_json_t* schema = wiq_load_schema(kName, &err);
        faults.disarm();
        // A search that runs out of memory finds nothing (-3); a parse that runs out of memory says so.
        EXPECT_EQ(schema == nullptr, faults.fired());
        EXPECT_EQ(err != 0, faults.fired());
        wiq_json_unref(schema);
    });
    EXPECT_EQ(wiq_unlink(path.c_str()), 0);
    if (made)
        wiq_rmdir(schemas.c_str());
}

}  // namespace

namespace {

TEST(PathFaults, AppendedParts) {
    SweepAllocations([](AllocFaults& faults) {
        wiq_strbuf buf;
        ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
        const std::string part(200, 'p');
        faults.arm();
        const i32 result = wiq_append_paths(&buf, 2, part.c_str(), part.c_str());
        faults.disarm();
        EXPECT_EQ(result == WIQ_ERR_NO_MEMORY, faults.fired());
        wiq_strbuf_finalize(&buf);
    });
}

TEST(FilesystemFaults, HomeDir) {
    EXPECT_GE(sweep_string(wiq_home_dir), 2u);
}

TEST(SchemaFaults, Open) {
    const std::string name(9000, 'n');
    SweepAllocations([&name](AllocFaults& faults) {
        u32 err = 0;
        faults.arm();
        FILE* fp = wiq_schema_open(name.c_str(), &err);
        faults.disarm();
        EXPECT_EQ(fp, nullptr);
        EXPECT_LT(static_cast<i32>(err), 0);
    });
}

}  // namespace

namespace {

// Names that are too long for the inline buffers of conversions.
TEST(FilesystemFaults, LongNamesThatCannotBeConverted) {
    static const std::string name(5000, 'n');
    using Call = i32 (*)();
    const struct {
        const char* what;
        Call call;
        i32 with_memory, without;
    } kTable[] = {
        {"open",
         [] {
             u32 err = 0;
             EXPECT_EQ(wiq_fopen(name.c_str(), "r", &err), nullptr);
             return static_cast<i32>(err);
         },
         WIQ_ERR_IO, WIQ_ERR_ENCODING},
        {"access", [] { return wiq_access(name.c_str(), 0); }, WIQ_ERR_ACCESS_DENIED, 0},
        {"unlink", [] { return wiq_unlink(name.c_str()); }, WIQ_ERR_IO, WIQ_ERR_ENCODING},
        {"rmdir", [] { return wiq_rmdir(name.c_str()); }, WIQ_ERR_IO, WIQ_ERR_ENCODING},
        {"rename", [] { return wiq_rename(name.c_str(), name.c_str()); }, WIQ_ERR_IO, 1},
    };
    for (const auto& row : kTable) {
        SCOPED_TRACE(row.what);
        const size_t points = SweepAllocations([&row](AllocFaults& faults) {
            faults.arm();
            const i32 status = row.call();
            faults.disarm();
            if (!faults.fired()) {
                // Windows reports a name that is too long as not found.
                EXPECT_TRUE(status == row.with_memory || status == WIQ_ERR_NOT_FOUND) << status;
            } else if (row.without == 1) {
                EXPECT_TRUE(status == WIQ_ERR_ENCODING || status == WIQ_ERR_IO) << status;
            } else {
                EXPECT_EQ(status, row.without);
            }
        });
        EXPECT_GE(points, 2u);
    }
    SweepAllocations([](AllocFaults& faults) {
        faults.arm();
        const i32 status = wiq_mkdir(name.c_str());
        faults.disarm();
        EXPECT_LT(status, 0);
    });
    SweepAllocations([](AllocFaults& faults) {
        wiq_lib lib;
        faults.arm();
        const i32 status = wiq_dlopen_real(name.c_str(), &lib);
        faults.disarm();
        EXPECT_LT(status, 0);
    });
}

}  // namespace
