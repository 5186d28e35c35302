// Formatting and number parsing use the "C" locale even while the process uses one whose decimal point is a
// comma.
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "ke_utils/text.h"
#include "support/pch.h"

namespace {

// Sets the process's numeric locale for the duration of a test.
class CommaLocale : public testing::Test {
  protected:
    void SetUp() override {
#ifdef _WIN32
        const char* name = "German_Germany.1252";
#else
        setenv("LOCPATH", KE_TEST_LOCALES, 1);  // built with the tests, see comma_locale
        const char* name = "comma";
#endif
        ASSERT_NE(setlocale(LC_NUMERIC, name), nullptr) << name;
        ASSERT_EQ(process_text(), "1,5");
    }
    void TearDown() override {
        EXPECT_EQ(process_text(), "1,5") << "the library has changed the process's locale";
        setlocale(LC_NUMERIC, "C");
    }
    static std::string process_text() {
        char buf[16];
        snprintf(buf, sizeof buf, "%.1f", 1.5);
        return buf;
    }
};

TEST_F(CommaLocale, FormattedText) {
    char buf[32];
    EXPECT_EQ(wiq_snprintf(buf, sizeof buf, "%.1f", 1.5), 3);
    EXPECT_STREQ(buf, "1.5");
    char* text = nullptr;
    EXPECT_EQ(wiq_asprintf(&text, "%f %s", 0.25, "x"), 10);
    EXPECT_STREQ(text, "0.250000 x");
    free(text);
    u64 size = 0;
    text = nullptr;
    EXPECT_EQ(wiq_rasprintf(&text, &size, "%g", 2.5), 3);
    EXPECT_STREQ(text, "2.5");
    EXPECT_EQ(wiq_rapsprintf(&text, &size, "|%.2e", 2.5) > 0, true);
    EXPECT_EQ(std::string(text).substr(0, 8), "2.5|2.50");
    free(text);
}

TEST_F(CommaLocale, ParsedNumbers) {
    double value = 77;
    EXPECT_EQ(wiq_strtodouble("1.5", &value), 0);
    EXPECT_EQ(value, 1.5);
    EXPECT_NE(wiq_strtodouble("1,5", &value), 0);
    i64 whole = 0;
    EXPECT_NE(wiq_strtoint64("1.000", &whole), 0);
    EXPECT_EQ(whole, 1);
}

}  // namespace
