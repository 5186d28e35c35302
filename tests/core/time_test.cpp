// Tests of the time helpers.
#include <gtest/gtest.h>

#include <cstring>
#include <ctime>

#include "ke_utils/core.h"

namespace {

TEST(Time, MillisecondsSinceMidnight) {
    struct Row {
        int hour, min, sec, ms;
    };
    for (const Row& row : {Row{0, 0, 0, 0}, Row{1, 2, 3, 3723000}, Row{23, 59, 59, 86399000},
                           Row{23, 59, 60, 86400000}, Row{-1, 0, 0, -3600000},
                           // 600 h are 2,160,000,000 ms: more than 2^31, so the 32 bits wrap
                           Row{600, 0, 0, -2134967296}}) {
        struct tm tm = {};
        tm.tm_hour = row.hour;
        tm.tm_min = row.min;
        tm.tm_sec = row.sec;
        tm.tm_mday = 5;
        EXPECT_EQ(calc_tm_to_ms(&tm), row.ms) << row.hour << ":" << row.min << ":" << row.sec;
    }
}

TEST(Time, ClockText) {
    struct Row {
        u64 ms, ns;
        const char* text;
    };
    for (const Row& row : {
             Row{0, 0, "00:00:00.000 "},
             Row{3723004, 0, "01:02:03.004 "},
             Row{90000000, 0, "01:00:00.000 "},
             Row{0, 1500000, "00:00:00.001 "},
             Row{0, 999999, "00:00:00.000 "},
             Row{999, 1000000, "00:00:01.000 "},
             Row{86399999, 0, "23:59:59.999 "},
             Row{86400000, 0, "00:00:00.000 "},
             Row{4294967295u, 0, "17:02:47.295 "},
             // the count is truncated to 32 bits
             Row{u64{1} << 32, 0, "00:00:00.000 "},
             Row{(u64{1} << 32) + 1500, 0, "00:00:01.500 "},
         }) {
        char text[15];
        memset(text, '#', sizeof(text));
        EXPECT_EQ(time_ms_to_string(row.ms, row.ns, text), 13);
        EXPECT_STREQ(text, row.text);
        EXPECT_EQ(text[14], '#');
    }
}

TEST(Time, MissingArgumentsAreRefused) {
    EXPECT_EQ(calc_tm_to_ms(nullptr), WIQ_ERR_INVALID_ARG);
    EXPECT_EQ(time_ms_to_string(1, 2, nullptr), WIQ_ERR_INVALID_ARG);
}

TEST(Time, NowIsBetweenTwoReadings) {
    const i64 before = wiq_time_real(nullptr);
    struct tm tm = {};
    EXPECT_EQ(wiq_get_tm(&tm), 0);
    i64 after = 0;
    const i64 returned = wiq_time_real(&after);
    EXPECT_EQ(returned, after);
    const i64 seconds = ((tm.tm_hour * 60) + tm.tm_min) * 60 + tm.tm_sec;
    EXPECT_GE(after, before);
    EXPECT_LE((seconds - before % 86400 + 86400) % 86400, after - before);
    EXPECT_EQ(wiq_get_tm(nullptr), WIQ_ERR_TIME_CONVERSION);
}

}  // namespace
