// Formatted texts of 2^31 - 1 bytes; longer ones are refused.
#include "ke_utils/containers.h"
#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "large/large_test.h"

namespace {

class FormatLarge : public Large {};

i32 measured(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const i32 length = wiq_vscprintf(format, args);
    va_end(args);
    return length;
}

TEST_F(FormatLarge, TheLongestText) {
    Text text(k2G - 2, 'x');
    EXPECT_EQ(measured("%sy", text.data()), INT32_MAX);
    EXPECT_EQ(wiq_snprintf(nullptr, 0, "%sy", text.data()), INT32_MAX);
    char* made = nullptr;
    EXPECT_EQ(wiq_asprintf(&made, "%sy", text.data()), INT32_MAX);
    EXPECT_EQ(strlen(made), k2G - 1);
    EXPECT_STREQ(made + k2G - 3, "xy");
    free(made);
    wiq_strbuf buf;
    ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
    wiq_strbuf_write(&buf, "ab", 2);
    EXPECT_EQ(wiq_strbuf_printf(&buf, "%sy", text.data()), INT32_MAX);
    EXPECT_EQ(buf.len, k2G + 1);
    EXPECT_STREQ(buf.data + k2G - 1, "xy");
    EXPECT_EQ(wiq_strbuf_rprintf(&buf, "%sz", text.data()), INT32_MAX);
    EXPECT_EQ(buf.len, k2G - 1);
    EXPECT_STREQ(buf.data + k2G - 3, "xz");
    wiq_strbuf_finalize(&buf);
    char* block = nullptr;
    u64 size = 0;
    EXPECT_EQ(wiq_rasprintf(&block, &size, "%s", "ab"), 2);
    EXPECT_EQ(wiq_rapsprintf(&block, &size, "%sy", text.data()), INT32_MAX);
    EXPECT_EQ(size, k2G + 2);
    EXPECT_STREQ(block + k2G - 1, "xy");
    free(block);
}

// A size beyond 31 and 32 bits is not truncated to a small one.
TEST_F(FormatLarge, TheSizeOfABuffer) {
    for (const size_t size : {k2G, k4G, k4G + 3}) {
        SCOPED_TRACE(size);
        Text text(size, 'x');
        EXPECT_EQ(wiq_snprintf(text.data(), size, "%d", 123456), 6);
        EXPECT_STREQ(text.data(), "123456");
        EXPECT_TRUE(is_all(text.data() + 7, size - 7, 'x'));
    }
}

#ifdef _WIN32
// The runtime counts modulo 2^32, so a small length may be that of a huge text. Then the text is cut.
TEST_F(FormatLarge, TextsBeyondFourGibibytesMayBeCut) {
    Text text(k2G - 2, 'x');
    const char* x = text.data();
    for (const i32 more : {8, 1000}) {
        SCOPED_TRACE(more);
        const std::string format = "%s%s" + std::string(static_cast<size_t>(more) + 4, 'y');
        char* made = nullptr;
        const i32 length = wiq_asprintf(&made, format.c_str(), x, x);
        EXPECT_TRUE(length == more || length == WIQ_ERR_FAILED) << length;
        EXPECT_EQ(length == more ? std::string(static_cast<size_t>(more), 'x') : "",
                  made != nullptr ? made : "");
        free(made);
    }
}
#endif

// As an i32, one length would be negative, and another one small.
TEST_F(FormatLarge, LongerTextsAreRefused) {
#ifdef _WIN32
    const char* const formats[] = {"%syy"};
#else
    const char* const formats[] = {"%syy", "%s%syyyyyyyyyyyy"};
#endif
    Text text(k2G - 2, 'x');
    const char* x = text.data();
    for (const char* format : formats) {
        SCOPED_TRACE(format);
        EXPECT_LT(measured(format, x, x), 0);
        EXPECT_LT(wiq_snprintf(nullptr, 0, format, x, x), 0);
        char small[8] = "before";
        EXPECT_LT(wiq_snprintf(small, sizeof(small), format, x, x), 0);
        EXPECT_EQ(strnlen(small, sizeof(small)), strlen(small));
        char* made = small;
        EXPECT_EQ(wiq_asprintf(&made, format, x, x), WIQ_ERR_FAILED);
        EXPECT_EQ(made, nullptr);
        char* block = nullptr;
        u64 size = 0;
        wiq_rastrcat(&block, &size, "ab");
        EXPECT_EQ(wiq_rasprintf(&block, &size, format, x, x), WIQ_ERR_FAILED);
        EXPECT_EQ(wiq_rapsprintf(&block, &size, format, x, x), WIQ_ERR_FAILED);
        EXPECT_STREQ(block, "ab");
        EXPECT_EQ(size, 3u);
        free(block);
        wiq_strbuf buf;
        ASSERT_EQ(wiq_strbuf_init(&buf, 0), 0);
        wiq_strbuf_write(&buf, "ab", 2);
        EXPECT_EQ(wiq_strbuf_printf(&buf, format, x, x), WIQ_ERR_FAILED);
        EXPECT_STREQ(buf.data, "ab");
        EXPECT_EQ(buf.len, 2u);
        wiq_strbuf_finalize(&buf);
        wiq_strv strv;
        wiq_strv_init(&strv);
        EXPECT_EQ(wiq_strv_pushf(&strv, format, x, x), WIQ_ERR_FAILED);
        EXPECT_EQ(wiq_strv_get(&strv, 0), nullptr);
        wiq_strv_finalize(&strv);
    }
}

TEST_F(FormatLarge, AStringAfterAnother) {
    Text text(k2G, 'x');
    char* block = nullptr;
    u64 size = 0;
    EXPECT_EQ(wiq_rastrcat(&block, &size, "ab"), 2);
    EXPECT_EQ(wiq_rastrcat(&block, &size, text.data()), WIQ_ERR_RANGE);
    EXPECT_STREQ(block, "ab");
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(wiq_rastrcat(&block, &size, text.data() + 1), INT32_MAX);
    EXPECT_EQ(wiq_rastrcat(&block, &size, text.data() + 1), INT32_MAX);
    EXPECT_EQ(wiq_rastrcat(&block, &size, "12345"), 5);
    EXPECT_EQ(size, k4G + 6);
    EXPECT_EQ(strlen(block), k4G + 5);
    EXPECT_TRUE(is_all(block + 2, k4G - 2, 'x'));
    EXPECT_STREQ(block + k4G, "12345");
    free(block);
}

}  // namespace
