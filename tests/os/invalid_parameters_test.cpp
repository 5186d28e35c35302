// A program that has not told the runtime what to do about invalid arguments: for each of the calls below,
// the Universal C Runtime would end the process if the library did not prevent it. This compiler's start-up
// code tells the runtime to continue, so the test undoes that first.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdio>
#include <string>

#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "ke_utils/files.h"
#include "ke_utils/json.h"
#include "ke_utils/text.h"

#pragma GCC diagnostic ignored "-Wformat"
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-extra-args"

namespace {

class InvalidParameters : public testing::Test {
  protected:
    void SetUp() override { before_ = _set_invalid_parameter_handler(nullptr); }
    void TearDown() override { _set_invalid_parameter_handler(before_); }

  private:
    _invalid_parameter_handler before_ = nullptr;
};

TEST_F(InvalidParameters, InvalidModes) {
    for (const char* mode :
         {"", "q", "rq", "+", "wx?", "r,ccs=", "r,ccs=none", "rw", "r++", "wbt"}) {
        u32 err = 0;
        FILE* fp = wiq_fopen("no_such_folder\\f", mode, &err);
        EXPECT_EQ(fp, nullptr) << mode;
        EXPECT_TRUE(static_cast<i32>(err) == WIQ_ERR_IO ||
                    static_cast<i32>(err) == WIQ_ERR_NOT_FOUND)
            << mode << " " << static_cast<i32>(err);
        std::string tmpl = "no_such_folder\\XXXXXX";
        EXPECT_EQ(wiq_mkstemp(tmpl.data(), &err, mode), nullptr) << mode;
        EXPECT_TRUE(static_cast<i32>(err) == WIQ_ERR_IO ||
                    static_cast<i32>(err) == WIQ_ERR_NOT_FOUND)
            << mode << " " << static_cast<i32>(err);
    }
    u32 err = 0;
    EXPECT_EQ(wiq_fopen("f", "q", &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_IO);
    EXPECT_EQ(wiq_fopen("f", "", &err), nullptr);
    EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_IO);
    EXPECT_EQ(wiq_access("f", 0), WIQ_ERR_ACCESS_DENIED) << "and nothing was made";
}

TEST_F(InvalidParameters, AFileWithAnInvalidModeIsRemoved) {
    for (const char* mode : {"wq", "w,ccs=none", "aa"}) {
        std::string tmpl = "invalid_XXXXXX";
        u32 err = 0;
        FILE* fp = wiq_mkstemp(tmpl.data(), &err, mode);
        if (fp != nullptr) {
            // A runtime may ignore what it does not know.
            fclose(fp);
            EXPECT_EQ(wiq_unlink(tmpl.c_str()), 0);
            continue;
        }
        EXPECT_EQ(static_cast<i32>(err), WIQ_ERR_IO) << mode;
        EXPECT_EQ(wiq_access(tmpl.c_str(), 0), WIQ_ERR_ACCESS_DENIED) << tmpl;
    }
}

TEST_F(InvalidParameters, InvalidFormats) {
    for (const char* format :
         {"%y", "%5y", "%", "abc%", "%l", "%5", "%.", "%1$d %d", "%0$d", "%-5%", "%2147483648d",
          "%.2147483648d", "%99999999999d", "%1$y", "%101$d", "ab%n", "%1$d %3$d", "%I64n"}) {
        SCOPED_TRACE(format);
        char* out = nullptr;
        char buf[64];
        const i32 length = wiq_asprintf(&out, format, 1, 2, 3);
        EXPECT_TRUE(length >= 0 || length == WIQ_ERR_FAILED || length == WIQ_ERR_NO_MEMORY)
            << length;
        free(out);
        wiq_snprintf(buf, sizeof buf, format, 1, 2, 3);
        EXPECT_LT(wiq_strnlen(buf, sizeof buf), sizeof buf);
        wiq_snprintf(nullptr, 0, format, 1, 2, 3);
        wiq_strbuf text;
        ASSERT_EQ(wiq_strbuf_init(&text, 0), 0);
        const i32 appended = wiq_strbuf_printf(&text, format, 1, 2, 3);
        EXPECT_TRUE(appended >= 0 || appended == WIQ_ERR_FAILED || appended == WIQ_ERR_NO_MEMORY);
        wiq_strbuf_finalize(&text);
    }
}

TEST_F(InvalidParameters, OtherCalls) {
    void* block = nullptr;
    EXPECT_EQ(wiq_real_aligned_alloc(&block, 8, 3), WIQ_ERR_NO_MEMORY);
    for (int mode : {1, 3, 5, 7, 8, -1, 0x7FFFFFFF})
        wiq_access(".", mode);
    struct tm tm;
    for (i64 time : {INT64_MIN, INT64_MAX, i64{-1}, i64{-43201}})
        EXPECT_EQ(wiq_gmtime_real(&time, &tm), WIQ_ERR_TIME_CONVERSION) << time;
    EXPECT_NE(wiq_rename("", ""), 0);
}

int g_heard = 0;

void __cdecl hear(const wchar_t*, const wchar_t*, const wchar_t*, unsigned, uintptr_t) {
    ++g_heard;
}

// A handler that the program has set stays set, and is called only for the program's own mistakes.
TEST_F(InvalidParameters, TheProgramsHandlerIsUnchanged) {
    _set_invalid_parameter_handler(hear);
    g_heard = 0;
    u32 err = 0;
    EXPECT_EQ(wiq_fopen("f", "q", &err), nullptr);
    char* out = nullptr;
    EXPECT_LT(wiq_asprintf(&out, "%y"), 0);
#if defined(_UCRT)
    EXPECT_EQ(g_heard, 0);
#endif
    EXPECT_EQ(_get_invalid_parameter_handler(), hear);
    g_heard = 0;
    EXPECT_EQ(fopen("f", "q"), nullptr);
#if defined(_UCRT)
    EXPECT_GT(g_heard, 0);
#endif
}

// For a stream of wide characters, the runtime accepts only even numbers of bytes.
TEST_F(InvalidParameters, AStreamOfWideCharacters) {
    FILE* fp = fopen("invalid_parameters_wide.tmp", "w,ccs=UTF-16LE");
    ASSERT_NE(fp, nullptr);
    setvbuf(fp, nullptr, _IONBF, 0);
    wiq_json_t* root = wiq_json_loads("[1,2,\"abc\"]", 0, nullptr);
    ASSERT_NE(root, nullptr);
    wiq_json_fdump(root, fp, 0, 0);
    wiq_json_unref(root);
    fclose(fp);
    EXPECT_EQ(wiq_unlink("invalid_parameters_wide.tmp"), 0);
}

}  // namespace
