// Tests of the replaceable entry points: the slots at load time, and the functions in them.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "ke_utils/core.h"
#include "ke_utils/files.h"

namespace {

struct Slots {
    decltype(wiq_sleep_real_ptr) sleep = wiq_sleep_real_ptr;
    decltype(wiq_time_real_ptr) time = wiq_time_real_ptr;
    decltype(wiq_gmtime_real_ptr) gmtime = wiq_gmtime_real_ptr;
    decltype(wiq_dlopen_real_ptr) dlopen = wiq_dlopen_real_ptr;
    decltype(wiq_dlclose_real_ptr) dlclose = wiq_dlclose_real_ptr;
    decltype(wiq_dlsym_real_ptr) dlsym = wiq_dlsym_real_ptr;
};

// Returns the path of a module that the build puts next to this program.
std::string beside(const char* name) {
    char* dir = wiq_install_dir();
    char* path = wiq_build_path(dir, name);
    std::string result = path;
    free(path);
    free(dir);
    return result;
}

TEST(EntryPoints, SlotsHoldTheLibrarysFunctionsAtLoad) {
    // The address that a user sees equals the slot's content. On Windows, the user's address may be that of
    // an import thunk, so there the effect is compared instead.
    const Slots slots;
    i64 now = 0;
    const i64 returned = slots.time(&now);
    EXPECT_EQ(returned, now);
    EXPECT_NEAR(static_cast<double>(now), static_cast<double>(time(nullptr)), 2.0);
#ifndef _WIN32
    EXPECT_EQ(slots.sleep, &wiq_sleep_real);
    EXPECT_EQ(slots.time, &wiq_time_real);
    EXPECT_EQ(slots.gmtime, &wiq_gmtime_real);
    EXPECT_EQ(slots.dlopen, &wiq_dlopen_real);
    EXPECT_EQ(slots.dlclose, &wiq_dlclose_real);
    EXPECT_EQ(slots.dlsym, &wiq_dlsym_real);
#endif
}

i64 fixed_time(i64*) {
    return 1000;
}

TEST(EntryPoints, ReplacingASlotDoesNotReachTheLibrary) {
    wiq_time_real_ptr = fixed_time;
    EXPECT_EQ(wiq_time_real_ptr(nullptr), 1000);
    struct tm tm = {};
    EXPECT_EQ(wiq_get_tm(&tm), 0);
    EXPECT_GT(tm.tm_year, 100);
    EXPECT_GT(wiq_time_real(nullptr), 1000);
    wiq_time_real_ptr = wiq_time_real;
}

TEST(EntryPoints, SleepLastsAtLeastAsLongAsRequested) {
    const auto before = std::chrono::steady_clock::now();
    wiq_sleep_real(0);
    wiq_sleep_real(50);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(45));
}

TEST(EntryPoints, GmtimeConverts) {
    struct Row {
        i64 time;
        int year, mon, mday, hour, min, sec, wday, yday;
    };
    for (const Row& row :
         {Row{0, 70, 0, 1, 0, 0, 0, 4, 0}, Row{86399, 70, 0, 1, 23, 59, 59, 4, 0},
          Row{951782400, 100, 1, 29, 0, 0, 0, 2, 59}, Row{4102444800, 200, 0, 1, 0, 0, 0, 5, 0}}) {
        struct tm tm = {};
        ASSERT_EQ(wiq_gmtime_real(&row.time, &tm), 0) << row.time;
        EXPECT_EQ(tm.tm_year, row.year);
        EXPECT_EQ(tm.tm_mon, row.mon);
        EXPECT_EQ(tm.tm_mday, row.mday);
        EXPECT_EQ(tm.tm_hour, row.hour);
        EXPECT_EQ(tm.tm_min, row.min);
        EXPECT_EQ(tm.tm_sec, row.sec);
        EXPECT_EQ(tm.tm_wday, row.wday);
        EXPECT_EQ(tm.tm_yday, row.yday);
    }
}

TEST(EntryPoints, GmtimeConvertsTheYears1970To3000) {
    struct tm tm = {};
    for (i64 time : {i64{0}, i64{32535215999}})
        EXPECT_EQ(wiq_gmtime_real(&time, &tm), 0) << time;
    EXPECT_EQ(tm.tm_year, 3000 - 1900);
    EXPECT_EQ(tm.tm_yday, 364);
    EXPECT_EQ(tm.tm_sec, 59);
#ifndef _WIN32
    // After this, the runtimes of Windows differ.
    i64 time = 32535244799;
    EXPECT_EQ(wiq_gmtime_real(&time, &tm), 0);
    EXPECT_EQ(tm.tm_year, 3001 - 1900);
    EXPECT_EQ(tm.tm_hour, 7);
    ++time;
    EXPECT_EQ(wiq_gmtime_real(&time, &tm), WIQ_ERR_TIME_CONVERSION);
    time = -1;
    EXPECT_EQ(wiq_gmtime_real(&time, &tm), WIQ_ERR_TIME_CONVERSION);
#endif
}

TEST(EntryPoints, GmtimeRefusesWhatCannotBeExpressed) {
    struct tm tm = {};
    // Time zones move the runtimes' limits by less than a day.
    for (i64 time : {INT64_MAX, INT64_MIN, i64{32535215999} + 86400, i64{-86400}})
        EXPECT_EQ(wiq_gmtime_real(&time, &tm), WIQ_ERR_TIME_CONVERSION) << time;
    const i64 now = 0;
    EXPECT_EQ(wiq_gmtime_real(nullptr, &tm), WIQ_ERR_TIME_CONVERSION);
    EXPECT_EQ(wiq_gmtime_real(&now, nullptr), WIQ_ERR_TIME_CONVERSION);
}

TEST(EntryPoints, LoadsAModuleAndFindsItsSymbol) {
    wiq_lib lib = {};
    ASSERT_EQ(wiq_dlopen_real(beside(KE_TEST_MODULE).c_str(), &lib), 0);
    void* sym = nullptr;
    ASSERT_EQ(wiq_dlsym_real(&lib, "ke_answer", &sym), 0);
    ASSERT_NE(sym, nullptr);
    EXPECT_EQ(reinterpret_cast<int (*)()>(sym)(), 42);
    sym = &lib;
    EXPECT_EQ(wiq_dlsym_real(&lib, "ke_no_such_symbol", &sym), WIQ_ERR_DLSYM);
    EXPECT_EQ(sym, nullptr);
    wiq_dlclose_real(&lib);
}

TEST(EntryPoints, MissingArgumentsAreRefused) {
    wiq_lib lib = {};
    lib.handle = &lib;
    EXPECT_EQ(wiq_dlopen_real(nullptr, &lib), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(lib.handle, &lib) << "the record is unchanged";
    EXPECT_EQ(wiq_dlopen_real("module", nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_dlopen_real(nullptr, nullptr), WIQ_ERR_INVALID_ARG);
    wiq_dlclose_real(nullptr);
    void* sym = &lib;
    EXPECT_EQ(wiq_dlsym_real(nullptr, "ke_answer", &sym), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(sym, nullptr);
    sym = &lib;
    EXPECT_EQ(wiq_dlsym_real(&lib, nullptr, &sym), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(sym, nullptr);
    EXPECT_EQ(wiq_dlsym_real(&lib, "ke_answer", nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_dlsym_real(nullptr, nullptr, nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(wiq_get_tm(nullptr), WIQ_ERR_TIME_CONVERSION);
}

TEST(EntryPoints, LoadingAMissingModuleFails) {
    wiq_lib lib = {};
    EXPECT_EQ(wiq_dlopen_real("no_such_module.so", &lib), WIQ_ERR_DLOPEN);
    EXPECT_EQ(lib.errmsg, nullptr);
}

// Longer than the thread's stack, where the system's loader would copy it.
TEST(EntryPoints, LoadingAModuleWithAHugeNameFails) {
    for (const size_t length : {size_t{4095}, size_t{4096}, size_t{98304}, size_t{64} << 20}) {
        SCOPED_TRACE(length);
        for (const char* first : {"n", "/", "\\"}) {
            std::string name(length, 'n');
            name.replace(0, 1, first);
            wiq_lib lib;
            memset(&lib, 0xa5, sizeof(lib));
            EXPECT_EQ(wiq_dlopen_real(name.c_str(), &lib), WIQ_ERR_DLOPEN);
            EXPECT_EQ(lib.errmsg, nullptr);
        }
    }
}

TEST(EntryPoints, ASymbolWithAHugeNameIsNotFound) {
    wiq_lib lib = {};
    ASSERT_EQ(wiq_dlopen_real(beside(KE_TEST_MODULE).c_str(), &lib), 0);
    void* sym = &lib;
    EXPECT_EQ(wiq_dlsym_real(&lib, std::string(size_t{64} << 20, 'n').c_str(), &sym),
              WIQ_ERR_DLSYM);
    EXPECT_EQ(sym, nullptr);
    wiq_dlclose_real(&lib);
}

}  // namespace
