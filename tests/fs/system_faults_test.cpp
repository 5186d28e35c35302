// Every system call of the library fails, once alone and once with all later ones: the header documents the
// returned status, the library does not retry, no file is lost or left over, and no descriptor stays open.
#include "support/system_faults.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <map>
#include <string>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "ke_utils/json.h"
#include "ke_utils/text.h"
#include "os/os.h"

namespace {

using Names = std::set<std::string>;

// A folder whose contents are known before and after.
class SystemFaultsOfFiles : public testing::Test {
  protected:
    void SetUp() override {
        clear();
        ASSERT_EQ(wiq_mkdir(kFolder), 0);
    }
    void TearDown() override {
        clear();
        EXPECT_EQ(wiq_access(kFolder, 0), WIQ_ERR_ACCESS_DENIED);
    }

    static constexpr const char* kFolder = "system_faults";

    static std::string in(const std::string& name) { return std::string(kFolder) + "\\" + name; }

    static void write(const std::string& name, const std::string& content) {
        FILE* fp = wiq_fopen(in(name).c_str(), "wb", nullptr);
        ASSERT_NE(fp, nullptr);
        ASSERT_EQ(fwrite(content.data(), 1, content.size(), fp), content.size());
        fclose(fp);
    }

    // Returns the folder's files with their contents; subfolders with "/".
    static std::map<std::string, std::string> contents() {
        std::map<std::string, std::string> all;
        DIR* dir = opendir(kFolder);
        while (const dirent* entry = dir == nullptr ? nullptr : readdir(dir)) {
            const std::string name = entry->d_name;
            if (name == "." || name == "..")
                continue;
            if (entry->d_type == DT_DIR) {
                all[name] = "/";
                continue;
            }
            void* data = nullptr;
            const i32 size = wiq_load_file(in(name).c_str(), &data, 1);
            all[name] = size > 0 ? static_cast<char*>(data) : "";
            free(data);
        }
        if (dir != nullptr)
            closedir(dir);
        return all;
    }

    static void clear() {
        for (const auto& [name, content] : contents()) {
            if (content == "/")
                wiq_rmdir(in(name).c_str());
            else
                wiq_unlink(in(name).c_str());
        }
        wiq_rmdir(kFolder);
    }
};

using Files = std::map<std::string, std::string>;

TEST_F(SystemFaultsOfFiles, Opening) {
    write("f", "kept");
    for (const char* mode : {"r", "rb", "r+", "a"}) {
        const Names fired = SweepSystemCalls([&](SystemFaults& faults) {
            u32 err = 9;
            faults.arm();
            FILE* fp = wiq_fopen(in("f").c_str(), mode, &err);
            faults.disarm();
            EXPECT_EQ(fp == nullptr, !faults.fired().empty());
            EXPECT_EQ(static_cast<i32>(err), fp == nullptr ? static_cast<i32>(WIQ_ERR_IO) : 0);
            if (fp != nullptr)
                fclose(fp);
            EXPECT_EQ(contents(), (Files{{"f", "kept"}}));
        });
        EXPECT_EQ(fired, (Names{"fclose", "fopen", "fstat"}));
    }
}

// The status says that the file is a directory, even if the directory cannot be closed again.
TEST_F(SystemFaultsOfFiles, OpeningADirectory) {
    const Names fired = SweepSystemCalls([](SystemFaults& faults) {
        u32 err = 9;
        faults.arm("fclose");
        EXPECT_EQ(wiq_fopen(kFolder, "r", &err), nullptr);
        faults.disarm();
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_ACCESS_DENIED);
    });
    EXPECT_EQ(fired, (Names{"fclose"}));
}

// A failure to close or remove the new file does not change the status either.
TEST_F(SystemFaultsOfFiles, RemovingATemporaryFile) {
    for (const char* cleanup : {"close", "unlink"}) {
        std::string tmpl = in("tXXXXXX");
        SystemFaults faults(1, SystemFaults::kPersistent, EIO);
        faults.fail_also(cleanup, ENOENT);
        u32 err = 9;
        faults.arm("fdopen");
        EXPECT_EQ(wiq_mkstemp(tmpl.data(), &err, "w"), nullptr);
        faults.disarm();
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_IO) << cleanup;
        EXPECT_EQ(faults.fired(), (Names{cleanup, "fdopen"}));
        wiq_unlink(tmpl.c_str());
    }
}

TEST(SystemFaultsOfNumbers, WithoutRandomBytesOrAClock) {
    const Names fired = SweepSystemCalls([](SystemFaults& faults) {
        faults.arm();
        ke::os::random_u64();
        faults.disarm();
    });
    EXPECT_EQ(fired, (Names{"clock_gettime", "getrandom"}));
}

TEST(SystemFaultsOfNumbers, WithoutRandomBytes) {
    const Names fired = SweepSystemCalls([](SystemFaults& faults) {
        faults.arm("getrandom");
        const u64 first = ke::os::random_u64();
        const u64 second = ke::os::random_u64();
        faults.disarm();
        EXPECT_NE(first, second);
    });
    EXPECT_EQ(fired, Names{"getrandom"});
}

TEST_F(SystemFaultsOfFiles, TemporaryFiles) {
    const Names fired = SweepSystemCalls([](SystemFaults& faults) {
        std::string tmpl = in("tXXXXXX");
        u32 err = 9;
        faults.arm();
        FILE* fp = wiq_mkstemp(tmpl.data(), &err, "w+b");
        faults.disarm();
        if (fp == nullptr) {
            EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_IO);
            // If every call fails, the new file cannot be removed either.
            if (faults.fired().count("unlink") == 0) {
                EXPECT_EQ(contents(), Files{}) << "a file remains";
            }
        } else {
            EXPECT_EQ(err, 0u);
            fclose(fp);
        }
        wiq_unlink(tmpl.c_str());
    });
    EXPECT_EQ(fired, (Names{"access", "close", "fdopen", "getrandom", "open", "unlink"}));
}

TEST_F(SystemFaultsOfFiles, Loading) {
    write("f", "content");
    const Names fired = SweepSystemCalls([](SystemFaults& faults) {
        void* data = nullptr;
        faults.arm();
        const i32 size = wiq_load_file(in("f").c_str(), &data, 1);
        faults.disarm();
        // The whole file has been read before it is closed, so it does not matter whether closing fails.
        const bool read = faults.fired().empty() || faults.fired() == Names{"fclose"};
        EXPECT_EQ(size, read ? 7 : static_cast<i32>(WIQ_ERR_IO));
        free(data);
    });
    EXPECT_EQ(fired, (Names{"fclose", "fopen", "fread", "fseek", "fstat", "ftell"}));
}

// Whatever fails, the file has its old name or its new one, and an existing target is not replaced.
TEST_F(SystemFaultsOfFiles, Renaming) {
    const Names fired = SweepSystemCalls([](SystemFaults& faults) {
        write("from", "moved");
        faults.arm();
        const i32 status = wiq_rename(in("from").c_str(), in("to").c_str());
        faults.disarm();
        EXPECT_EQ(status, faults.fired().empty() ? 0 : static_cast<i32>(WIQ_ERR_IO));
        EXPECT_EQ(contents(), status == 0 ? (Files{{"to", "moved"}}) : (Files{{"from", "moved"}}));
        wiq_unlink(in("to").c_str());
    });
    EXPECT_EQ(fired, (Names{"renameat2"}));
}

// Simulates kernels and file systems that cannot rename without replacing.
class RenamingInSteps : public SystemFaultsOfFiles, public testing::WithParamInterface<int> {
  protected:
    // Renames while renameat2() fails for the parameter's reason.
    static i32 rename(const char* from, const char* to) {
        SystemFaults faults(1, SystemFaults::kPersistent, GetParam());
        faults.arm("renameat2");
        const i32 status = wiq_rename(in(from).c_str(), in(to).c_str());
        faults.disarm();
        EXPECT_EQ(faults.fired(), (Names{"renameat2"}));
        return status;
    }
};

TEST_P(RenamingInSteps, GivesTheSameStatuses) {
    write("f", "f");
    write("g", "g");
    ASSERT_EQ(wiq_mkdir(in("d").c_str()), 0);
    ASSERT_EQ(wiq_mkdir(in("e").c_str()), 0);
    EXPECT_EQ(rename("f", "g"), WIQ_ERR_IO);
    EXPECT_EQ(rename("f", "d"), WIQ_ERR_IO);
    EXPECT_EQ(rename("d", "e"), WIQ_ERR_IO);
    EXPECT_EQ(rename("d", "f"), WIQ_ERR_IO);
    EXPECT_EQ(rename("d", "d\\below"), WIQ_ERR_IO);
    EXPECT_EQ(rename("f", "f"), 0);
    EXPECT_EQ(rename("d", "d"), 0);
    EXPECT_EQ(rename("none", "g"), WIQ_ERR_NOT_FOUND);
    EXPECT_EQ(rename("none", "none"), WIQ_ERR_NOT_FOUND);
    EXPECT_EQ(rename("f", "none\\f"), WIQ_ERR_NOT_FOUND);
    EXPECT_EQ(rename("f", "g\\below"), WIQ_ERR_NOT_FOUND);
    EXPECT_EQ(rename("f", std::string(300, 'n').c_str()), WIQ_ERR_NOT_FOUND);
    EXPECT_EQ(contents(), (Files{{"d", "/"}, {"e", "/"}, {"f", "f"}, {"g", "g"}}));
    EXPECT_EQ(rename("f", "h"), 0);
    EXPECT_EQ(rename("d", "i"), 0);
    EXPECT_EQ(contents(), (Files{{"e", "/"}, {"g", "g"}, {"h", "f"}, {"i", "/"}}));
}

// A file that cannot have a second name is renamed after checking that the target does not exist.
TEST_F(SystemFaultsOfFiles, RenamingWithoutHardLinks) {
    for (const int reason : {EPERM, EOPNOTSUPP, ENOSYS, EMLINK, EIO}) {
        SCOPED_TRACE(strerror(reason));
        write("from", "moved");
        write("there", "kept");
        SystemFaults faults(1, SystemFaults::kPersistent, ENOSYS);
        faults.fail_also("link", reason);
        faults.arm("renameat2");
        EXPECT_EQ(wiq_rename(in("from").c_str(), in("there").c_str()), WIQ_ERR_IO);
        const i32 status = wiq_rename(in("from").c_str(), in("to").c_str());
        faults.disarm();
        EXPECT_EQ(status, reason == EIO ? static_cast<i32>(WIQ_ERR_IO) : 0);
        EXPECT_EQ(contents(), (Files{{reason == EIO ? "from" : "to", "moved"}, {"there", "kept"}}));
        wiq_unlink(in("from").c_str());
        wiq_unlink(in("to").c_str());
    }
}

INSTANTIATE_TEST_SUITE_P(Reasons, RenamingInSteps, testing::Values(ENOSYS, EINVAL, EOPNOTSUPP));

TEST_F(SystemFaultsOfFiles, RenamingInStepsLosesNothing) {
    for (const char* step : {"link", "lstat", "rename", "unlink"}) {
        for (int reason : {EPERM, EIO, EINTR, ENOSYS}) {
            SCOPED_TRACE(std::string(step) + " " + strerror(reason));
            write("from", "moved");
            write("there", "kept");
            SystemFaults unsupported(1, SystemFaults::kPersistent, ENOSYS);
            unsupported.fail_also(step, reason);
            unsupported.arm("renameat2");
            const i32 status = wiq_rename(in("from").c_str(), in("to").c_str());
            const i32 refused = wiq_rename(in("from").c_str(), in("there").c_str());
            unsupported.disarm();
            Files after = contents();
            EXPECT_EQ(after["there"], "kept");
            EXPECT_NE(refused, 0);
            EXPECT_TRUE(after["from"] == "moved" || after["to"] == "moved")
                << "the file has been lost";
            if (status == 0) {
                EXPECT_EQ(after["to"], "moved");
            } else {
                EXPECT_EQ(after["from"], "moved");
            }
            wiq_unlink(in("from").c_str());
            wiq_unlink(in("to").c_str());
        }
    }
}

// A file that has the new name remains, even if the system cannot tell that it exists.
TEST_F(SystemFaultsOfFiles, RenamingBlindlyReplacesNothing) {
    for (const int reason : {EIO, ENOMEM, EACCES, EPERM, ENOSYS}) {
        SCOPED_TRACE(strerror(reason));
        write("from", "moved");
        write("there", "kept");
        SystemFaults faults(1, SystemFaults::kPersistent, ENOSYS);
        faults.fail_also("link", EPERM);
        faults.fail_also("lstat", reason);
        faults.arm("renameat2");
        const i32 status = wiq_rename(in("from").c_str(), in("there").c_str());
        faults.disarm();
        EXPECT_EQ(status, reason == EACCES ? static_cast<i32>(WIQ_ERR_ACCESS_DENIED)
                                           : static_cast<i32>(WIQ_ERR_IO));
        EXPECT_EQ(contents(), (Files{{"from", "moved"}, {"there", "kept"}}));
    }
}

TEST_F(SystemFaultsOfFiles, Directories) {
    const Names made = SweepSystemCalls([](SystemFaults& faults) {
        faults.arm();
        const i32 status = wiq_mkdir(in("d").c_str());
        faults.disarm();
        if (faults.fired().count("mkdir") != 0) {
            EXPECT_EQ(status, WIQ_ERR_IO);
        } else {
            EXPECT_EQ(status, 0) << "a parent that appears to be missing is created again";
        }
        wiq_rmdir(in("d").c_str());
    });
    EXPECT_EQ(made, (Names{"access", "mkdir"}));
    ASSERT_EQ(wiq_mkdir(in("d").c_str()), 0);
    const Names again = SweepSystemCalls([](SystemFaults& faults) {
        faults.arm();
        const i32 status = wiq_mkdir(in("d").c_str());
        faults.disarm();
        EXPECT_EQ(status, faults.fired().count("mkdir") != 0
                              ? static_cast<i32>(WIQ_ERR_IO)
                              : static_cast<i32>(WIQ_ERR_ALREADY_EXISTS));
    });
    EXPECT_EQ(again, (Names{"access", "mkdir", "stat"}));
    const Names removed = SweepSystemCalls([](SystemFaults& faults) {
        wiq_mkdir(in("d").c_str());
        faults.arm();
        const i32 status = wiq_rmdir(in("d").c_str());
        faults.disarm();
        EXPECT_EQ(status, faults.fired().empty() ? 0 : static_cast<i32>(WIQ_ERR_IO));
        EXPECT_EQ(wiq_access(in("d").c_str(), 0) == 0, status != 0);
    });
    EXPECT_EQ(removed, (Names{"rmdir"}));
}

TEST_F(SystemFaultsOfFiles, AccessAndRemoval) {
    EXPECT_EQ(SweepSystemCalls([](SystemFaults& faults) {
                  write("f", "kept");
                  faults.arm();
                  const i32 access = wiq_access(in("f").c_str(), 0);
                  faults.disarm();
                  EXPECT_EQ(access,
                            faults.fired().empty() ? 0 : static_cast<i32>(WIQ_ERR_ACCESS_DENIED));
              }),
              (Names{"access"}));
    EXPECT_EQ(SweepSystemCalls([](SystemFaults& faults) {
                  write("f", "kept");
                  faults.arm();
                  const i32 status = wiq_unlink(in("f").c_str());
                  faults.disarm();
                  EXPECT_EQ(status, faults.fired().empty() ? 0 : static_cast<i32>(WIQ_ERR_IO));
                  EXPECT_EQ(contents(), status == 0 ? Files{} : (Files{{"f", "kept"}}));
              }),
              (Names{"unlink"}));
}

TEST_F(SystemFaultsOfFiles, DumpingToAFile) {
    wiq_json_t* root = wiq_json_loads("{\"a\":[1,2,3]}", 0, nullptr);
    ASSERT_NE(root, nullptr);
    const Names fired = SweepSystemCalls([root](SystemFaults& faults) {
        FILE* fp = wiq_fopen(in("f").c_str(), "wb", nullptr);
        ASSERT_NE(fp, nullptr);
        faults.arm();
        const i32 written = wiq_json_fdump(root, fp, 0, 0);
        faults.disarm();
        EXPECT_EQ(written < 0, !faults.fired().empty()) << written;
        fclose(fp);
    });
    EXPECT_EQ(fired, (Names{"fwrite"}));
    wiq_json_unref(root);
}

TEST(SystemFaultsOfSchemas, Loading) {
    char* dir = wiq_install_dir();
    ASSERT_NE(dir, nullptr);
    const std::string beside = std::string(dir) + "\\schemas";
    free(dir);
    const bool made = wiq_mkdir(beside.c_str()) == 0;
    const std::string name = beside + "\\faults_input.json";
    FILE* fp = wiq_fopen(name.c_str(), "wb", nullptr);
    ASSERT_NE(fp, nullptr);
    fputs("[1]", fp);
    fclose(fp);
    const Names fired = SweepSystemCalls([](SystemFaults& faults) {
        u32 err = 9;
        faults.arm();
        wiq_json_t* schema = wiq_load_schema("faults_input.json", &err);
        faults.disarm();
        const bool read = faults.fired().empty() || faults.fired() == Names{"fclose"};
        EXPECT_EQ(schema != nullptr, read);
        EXPECT_EQ(static_cast<i32>(err), read ? 0 : static_cast<i32>(WIQ_ERR_IO));
        wiq_json_unref(schema);
    });
    EXPECT_EQ(fired, (Names{"fclose", "fopen", "fstat", "readlink", "vsnprintf"}));
    EXPECT_EQ(wiq_unlink(name.c_str()), 0);
    if (made) {
        EXPECT_EQ(wiq_rmdir(beside.c_str()), 0);
    }
}

TEST(SystemFaultsOfLocations, AreNull) {
    const auto sweep = [](char* (*locate)()) {
        return SweepSystemCalls([locate](SystemFaults& faults) {
            faults.arm();
            char* dir = locate();
            faults.disarm();
            EXPECT_EQ(dir == nullptr, !faults.fired().empty());
            free(dir);
        });
    };
    EXPECT_EQ(sweep(wiq_install_dir), (Names{"readlink"}));
    EXPECT_EQ(sweep(wiq_home_dir), (Names{"uv_os_homedir"}));
}

TEST(SystemFaultsOfEntryPoints, HaveTheirStatuses) {
    EXPECT_EQ(SweepSystemCalls([](SystemFaults& faults) {
                  i64 stored = 0;
                  faults.arm();
                  const i64 now = wiq_time_real(&stored);
                  faults.disarm();
                  EXPECT_EQ(now == -1, !faults.fired().empty());
                  EXPECT_EQ(stored, now);
              }),
              (Names{"time"}));
    EXPECT_EQ(SweepSystemCalls([](SystemFaults& faults) {
                  struct tm tm;
                  faults.arm();
                  const i32 status = wiq_get_tm(&tm);
                  faults.disarm();
                  EXPECT_EQ(status,
                            faults.fired().empty() ? 0 : static_cast<i32>(WIQ_ERR_TIME_CONVERSION));
              }),
              (Names{"gmtime_r", "time"}));
    EXPECT_EQ(SweepSystemCalls([](SystemFaults& faults) {
                  const i64 time = 0;
                  struct tm tm;
                  faults.arm();
                  const i32 status = wiq_gmtime_real(&time, &tm);
                  faults.disarm();
                  EXPECT_EQ(status,
                            faults.fired().empty() ? 0 : static_cast<i32>(WIQ_ERR_TIME_CONVERSION));
              }),
              (Names{"gmtime_r"}));
    EXPECT_EQ(SweepSystemCalls([](SystemFaults& faults) {
                  wiq_lib lib = {};
                  faults.arm();
                  const i32 status = wiq_dlopen_real("libm.so.6", &lib);
                  faults.disarm();
                  EXPECT_EQ(status, faults.fired().empty() ? 0 : static_cast<i32>(WIQ_ERR_DLOPEN));
                  EXPECT_EQ(lib.errmsg, nullptr);
                  wiq_dlclose_real(&lib);
              }),
              (Names{"uv_dlopen"}));
    wiq_lib lib = {};
    ASSERT_EQ(wiq_dlopen_real("libm.so.6", &lib), 0);
    EXPECT_EQ(SweepSystemCalls([&lib](SystemFaults& faults) {
                  void* sym = &lib;
                  faults.arm();
                  const i32 status = wiq_dlsym_real(&lib, "sin", &sym);
                  faults.disarm();
                  EXPECT_EQ(status, faults.fired().empty() ? 0 : static_cast<i32>(WIQ_ERR_DLSYM));
                  EXPECT_EQ(sym == nullptr, status != 0);
              }),
              (Names{"uv_dlsym"}));
    wiq_dlclose_real(&lib);
}

// A runtime that needs memory for a format may refuse it at any time, even after it has measured the text.
class SystemFaultsOfFormats : public testing::TestWithParam<size_t> {
  protected:
    // Makes a call that returns the length of text(), or WIQ_ERR_FAILED if the runtime fails in it. Returns
    // how many times the call formats.
    static size_t sweep(const std::function<i32(SystemFaults&)>& call) {
        size_t formats = 0;
        const Names fired = SweepSystemCalls([&call, &formats](SystemFaults& faults) {
            ++formats;
            const i32 result = call(faults);
            EXPECT_EQ(result, faults.fired().empty() ? static_cast<i32>(GetParam())
                                                     : static_cast<i32>(WIQ_ERR_FAILED));
        });
        EXPECT_EQ(fired, Names{"vsnprintf"});
        return formats / (2 * 5) - 1;
    }
    static std::string text() { return std::string(GetParam(), 'x'); }
    // A text of 512 characters is formatted twice.
    static size_t times() { return GetParam() < 512 ? 1 : 2; }
};

INSTANTIATE_TEST_SUITE_P(Lengths, SystemFaultsOfFormats, testing::Values(0, 1, 511, 512, 5000));

TEST_P(SystemFaultsOfFormats, ANewString) {
    EXPECT_EQ(sweep([](SystemFaults& faults) {
                  char untouched = 'u';
                  char* out = &untouched;
                  faults.arm("vsnprintf");
                  const i32 result = wiq_asprintf(&out, "%s", text().c_str());
                  faults.disarm();
                  if (result < 0) {
                      EXPECT_EQ(out, nullptr);
                  } else {
                      EXPECT_EQ(out, text());
                  }
                  free(out);
                  return result;
              }),
              times());
}

TEST_P(SystemFaultsOfFormats, ABlockThatIsOverwritten) {
    EXPECT_EQ(sweep([](SystemFaults& faults) {
                  u64 size = 4;
                  char* block = strdup("old");
                  faults.arm("vsnprintf");
                  const i32 result = wiq_rasprintf(&block, &size, "%s", text().c_str());
                  faults.disarm();
                  const bool grew = size != 4;
                  EXPECT_EQ(block, result >= 0 ? text() : std::string(grew ? "" : "old"));
                  free(block);
                  return result;
              }),
              times());
}

TEST_P(SystemFaultsOfFormats, ABlockThatIsAppendedTo) {
    for (const u64 room : {u64{4}, u64{1024}}) {
        const size_t formats = sweep([room](SystemFaults& faults) {
            u64 size = room;
            char* block = static_cast<char*>(malloc(room));
            memcpy(block, "old", 4);
            faults.arm("vsnprintf");
            const i32 result = wiq_rapsprintf(&block, &size, "%s", text().c_str());
            faults.disarm();
            EXPECT_EQ(block, result < 0 ? "old" : "old" + text());
            free(block);
            return result;
        });
        EXPECT_EQ(formats, GetParam() == 512 && room == 1024 ? 1 : times());
    }
}

TEST_P(SystemFaultsOfFormats, AStringBuffer) {
    EXPECT_EQ(sweep([](SystemFaults& faults) {
                  wiq_strbuf buf;
                  EXPECT_EQ(wiq_strbuf_init(&buf, 4), 0);
                  wiq_strbuf_write(&buf, "old", 3);
                  faults.arm("vsnprintf");
                  const i32 result = wiq_strbuf_printf(&buf, "%s", text().c_str());
                  faults.disarm();
                  const std::string content(buf.data, buf.len);
                  if (result >= 0) {
                      EXPECT_EQ(content, "old" + text());
                  } else if (content != "old") {
                      EXPECT_EQ(content, "old" + std::string(GetParam(), '\0'));
                  }
                  EXPECT_EQ(buf.data[buf.len], '\0');
                  wiq_strbuf_finalize(&buf);
                  return result;
              }),
              times());
}

TEST_P(SystemFaultsOfFormats, ABufferOfTheCaller) {
    const auto fill = [](char* buf, size_t size, const char* format, ...) {
        va_list args;
        va_start(args, format);
        const i32 result = wiq_vsprintf(buf, size, format, args);
        va_end(args);
        return result;
    };
    EXPECT_EQ(sweep([fill](SystemFaults& faults) {
                  std::string buf(GetParam() + 1, '?');
                  faults.arm("vsnprintf");
                  const i32 result = fill(buf.data(), buf.size(), "%s", text().c_str());
                  faults.disarm();
                  if (result >= 0) {
                      EXPECT_STREQ(buf.c_str(), text().c_str());
                  }
                  return result;
              }),
              1u);
    // This one measures first, and its failures have no status of their own.
    SweepSystemCalls([](SystemFaults& faults) {
        char buf[100] = "old";
        faults.arm("vsnprintf");
        const i32 length = wiq_snprintf(buf, sizeof(buf), "%s", text().c_str());
        faults.disarm();
        EXPECT_EQ(length < 0, !faults.fired().empty());
        // The text may be there although it could not be measured.
        if (length >= 0 || buf[0] != '\0') {
            EXPECT_EQ(buf, text().substr(0, sizeof(buf) - 1));
        }
    });
}

TEST(SystemFaultsOfTexts, AVectorOfStrings) {
    SweepSystemCalls([](SystemFaults& faults) {
        wiq_strv strv;
        ASSERT_EQ(wiq_strv_init(&strv), 0);
        faults.arm("vsnprintf");
        const i32 result = wiq_strv_pushf(&strv, "%d", 42);
        faults.disarm();
        EXPECT_EQ(result, faults.fired().empty() ? 2 : static_cast<i32>(WIQ_ERR_FAILED));
        wiq_strv_finalize(&strv);
    });
}

TEST(SystemFaultsOfMemory, AlignedBlocks) {
    EXPECT_EQ(SweepSystemCalls([](SystemFaults& faults) {
                  void* block = &faults;
                  faults.arm();
                  const i32 status = wiq_real_aligned_alloc(&block, 100, 64);
                  faults.disarm();
                  EXPECT_EQ(status,
                            faults.fired().empty() ? 0 : static_cast<i32>(WIQ_ERR_NO_MEMORY));
                  EXPECT_EQ(block == nullptr, status != 0);
                  wiq_real_aligned_free(block);
              }),
              Names{"posix_memalign"});
    static size_t s_refused;
    const auto refused = [](size_t size) { s_refused = size; };
    EXPECT_EQ(
        SweepSystemCalls([refused](SystemFaults& faults) {
            s_refused = 0;
            void* block = &faults;
            faults.arm();
            const i32 status = wiq_wrap_aligned_alloc(&block, 100, 64, refused, nullptr, nullptr);
            faults.disarm();
            EXPECT_EQ(status, faults.fired().empty() ? 0 : static_cast<i32>(WIQ_ERR_NO_MEMORY));
            EXPECT_EQ(block == nullptr, status != 0);
            EXPECT_EQ(s_refused, status == 0 ? 0u : 100u);
            wiq_wrap_aligned_free(block, nullptr);
        }),
        Names{"posix_memalign"});
}

// If the locale "C" cannot be made, texts are formatted in the thread's own locale. In fact the runtime need not make
// that locale, so the call never fails. The test runs in another process because the library makes the call only once.
TEST(SystemFaultsOfTexts, WithoutALocale) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            SystemFaults faults(1, SystemFaults::kPersistent, ENOMEM);
            faults.arm("newlocale");
            char* text = nullptr;
            const i32 length = wiq_asprintf(&text, "%d %s", 42, "bytes");
            faults.disarm();
            fprintf(stderr, "%d %s %zu\n", length, text, faults.fired().size());
            _exit(0);
        },
        testing::ExitedWithCode(0), "8 42 bytes 1");
}

// This is the only call that continues after an interruption, because it promises a minimum duration.
TEST(SystemFaultsOfEntryPoints, AnInterruptedSleepContinues) {
    SystemFaults faults(1, SystemFaults::kTransient, EINTR);
    const auto before = std::chrono::steady_clock::now();
    faults.arm("nanosleep");
    wiq_sleep_real(30);
    faults.disarm();
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(30));
    EXPECT_EQ(faults.fired(), (Names{"nanosleep"}));
}

// A stream of the caller's that is interrupted, fails, or returns one byte at a time.
struct Source {
    std::string text;
    size_t at = 0;
    size_t calls = 0;
    size_t fails_at = 0;  // the call that fails; 0 means none
    int reason = 0;
};

ssize_t read_some(void* cookie, char* to, size_t size) {
    auto* source = static_cast<Source*>(cookie);
    if (++source->calls == source->fails_at) {
        errno = source->reason;
        return -1;
    }
    if (source->at == source->text.size() || size == 0)
        return 0;
    *to = source->text[source->at++];
    return 1;
}

FILE* stream_of(Source* source) {
    cookie_io_functions_t functions = {};
    functions.read = read_some;
    return fopencookie(source, "r", functions);
}

TEST(SystemFaultsOfStreams, AnInterruptedLineIsCompleted) {
    const std::string text = "one\ntwo\n";
    for (size_t fails_at = 1; fails_at <= text.size() + 1; ++fails_at) {
        Source source{text, 0, 0, fails_at, EINTR};
        FILE* fp = stream_of(&source);
        ASSERT_NE(fp, nullptr);
        char* line = nullptr;
        size_t size = 0;
        std::string all;
        int interrupted = 0;
        for (;;) {
            const i32 length = wiq_getline(&line, &size, fp);
            if (length > 0) {
                all.append(line, static_cast<size_t>(length));
                continue;
            }
            ASSERT_EQ(length, WIQ_ERR_EOF);
            // An interruption before the first byte of a line looks like the end, but the stream's error flag
            // is set.
            if (ferror(fp) == 0 || ++interrupted > 1)
                break;
            clearerr(fp);
        }
        EXPECT_EQ(all, text) << "failing at " << fails_at;
        free(line);
        fclose(fp);
    }
}

TEST(SystemFaultsOfStreams, ADocumentThatBreaksOffIsRejected) {
    const std::string text = "{\"a\": [1, 2.5, \"text\\u00e9\", null]}";
    for (int reason : {EINTR, EIO}) {
        for (size_t fails_at = 0; fails_at <= text.size(); ++fails_at) {
            Source source{text, 0, 0, fails_at, reason};
            FILE* fp = stream_of(&source);
            ASSERT_NE(fp, nullptr);
            wiq_json_load_error error = {};
            wiq_json_t* root = wiq_json_loadf(fp, 0, &error);
            EXPECT_EQ(root != nullptr, fails_at == 0) << "failing at " << fails_at;
            EXPECT_EQ(error.status == 0, fails_at == 0);
            wiq_json_unref(root);
            fclose(fp);
        }
    }
}

// A disk that is full after a given number of bytes, and the stream that writes to it.
struct Disk {
    size_t room;
    std::string written;
};

ssize_t write_some(void* cookie, const char* from, size_t size) {
    auto* disk = static_cast<Disk*>(cookie);
    const size_t count = std::min(size, disk->room - disk->written.size());
    disk->written.append(from, count);
    if (count == 0)
        errno = ENOSPC;
    return static_cast<ssize_t>(count);
}

// Whatever fits has been written when the dump fails, and nothing is written twice.
TEST(SystemFaultsOfStreams, ADiskThatIsFullAfterEachByte) {
    wiq_json_t* root = wiq_json_loads(
        "{\"a\": [1, 2.5, \"text\\u00e9\", null, true], \"b\": {\"$ref\": \"/a\"}, \"c\": {}}", 0,
        nullptr);
    ASSERT_NE(root, nullptr);
    for (const u32 flags : {0u, u32{WIQ_JSON_DUMP_PRETTY}}) {
        char* whole = nullptr;
        const i32 length = wiq_json_sdump(root, &whole, flags);
        ASSERT_GT(length, 0);
        const std::string text = whole;
        free(whole);
        for (size_t room = 0; room <= text.size(); ++room) {
            Disk disk{room, ""};
            cookie_io_functions_t functions = {};
            functions.write = write_some;
            FILE* fp = fopencookie(&disk, "w", functions);
            ASSERT_NE(fp, nullptr);
            setvbuf(fp, nullptr, _IONBF, 0);
            EXPECT_EQ(wiq_json_fdump(root, fp, flags, 0), room < text.size() ? -1 : length) << room;
            EXPECT_EQ(ferror(fp) != 0, room < text.size()) << room;
            EXPECT_EQ(disk.written, text.substr(0, room));
            fclose(fp);
        }
    }
    wiq_json_unref(root);
}

// One byte at a time, with a failure at each byte: what was read before it has been passed on, once and in
// order, and nothing else. To a reader of lines, a failure looks like the end of the file.
TEST(SystemFaultsOfStreams, AnIniFileThatBreaksOff) {
    const std::string text = "[one]\nkey = value\n; comment\n[two]\nother = \"quoted\"\n";
    const auto parse = [](const std::string& of, size_t fails_at, int reason, std::string* seen) {
        Source source{of, 0, 0, fails_at, reason};
        FILE* fp = stream_of(&source);
        const auto on_section = [](const char*, const WiqIniLocation*, const char*,
                                   const WiqIniLocation*, void* user) {
            *static_cast<std::string*>(user) += "[";
            return i32{0};
        };
        const auto on_key = [](const char* key, const WiqIniLocation*, const char*,
                               const WiqIniLocation*, void* user) {
            *static_cast<std::string*>(user) += key + std::string(";");
            return i32{0};
        };
        const i32 status = wiq_ini_parse(fp, on_section, on_key, nullptr, seen);
        fclose(fp);
        return status;
    };
    std::string whole;
    EXPECT_EQ(parse(text, 0, 0, &whole), 0);
    EXPECT_EQ(whole, "[key;[other;");
    for (int reason : {EINTR, EIO}) {
        for (size_t fails_at = 1; fails_at <= text.size() + 1; ++fails_at) {
            std::string seen;
            const i32 status = parse(text, fails_at, reason, &seen);
            EXPECT_TRUE(status == 0 || status == WIQ_ERR_INI_SYNTAX) << status;
            EXPECT_EQ(whole.substr(0, seen.size()), seen) << "failing at " << fails_at;
            std::string lines;
            const size_t end = text.rfind('\n', fails_at - 1);
            parse(text.substr(0, end == std::string::npos ? 0 : end), 0, 0, &lines);
            EXPECT_GE(seen.size(), lines.size()) << "failing at " << fails_at;
        }
    }
}

}  // namespace
