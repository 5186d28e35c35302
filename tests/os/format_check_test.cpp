// Which formats never reach the C runtimes, and which must reach them.
#include "os/format_check.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using ke::os::is_refused_format;

TEST(FormatCheck, FormatsThatPrintAreAccepted) {
    for (const char* format : {"",          "n",           "%",
                               "%%",        "%%n",         "%%%%n",
                               "100%",      "%d%%n",       "%s",
                               "%*d",       "%.*s",        "%-*.*s|",
                               "%d %u %x",  "%5dn",        "%lldn",
                               "%cn",       "%%1$n",       "%I64d",
                               "%I64dn",    "%Fn",         "%fn",
                               "%zun",      "%hhdn",       "%+ #-0'5.3d",
                               "%y",        "%5y",         "%q",
                               "abc%",      "%5",          "%.",
                               "%-",        "%$s",         "%$n",
                               "%d $n",     "%1$d",        "%1$d %2$d",
                               "%2$d %1$d", "%1$s%1$s",    "%3$d%1$d%2$d",
                               "%1$*2$d",   "%2$*1$.*3$f", "%2$s%%%1$s",
                               "%1$5d",     "%1$-05d",     "%wf",
                               "%w",        "%wfn",        "%wd8n",
                               "%lf5n",     "%:n",         "%/n"})
        EXPECT_FALSE(is_refused_format(format)) << format;
}

TEST(FormatCheck, FormatsThatStoreAreRefused) {
    for (const char* format : {"%n",
                               "ab%n",
                               "%d%n",
                               "%%%n",
                               "%%%%%n",
                               "%5n",
                               "%05n",
                               "%-n",
                               "%+n",
                               "% n",
                               "%#n",
                               "%'n",
                               "%.n",
                               "%.5n",
                               "%*n",
                               "%*.*n",
                               "%hn",
                               "%hhn",
                               "%ln",
                               "%lln",
                               "%Ln",
                               "%qn",
                               "%jn",
                               "%zn",
                               "%tn",
                               "%Zn",
                               "%In",
                               "%I32n",
                               "%I64n",
                               "%wn",
                               "%Tn",
                               "%Nn",
                               "%w8n",
                               "%w64n",
                               "%wf8n",
                               "%1$n",
                               "%1$lln",
                               "%1$*2$n",
                               "%2$n%1$d",
                               "%5-n",
                               "%.-n",
                               "%l5n",
                               "%d %y %n",
                               "%y%n",
                               "%99999999999999999999n",
                               "%s%s%s%s%s%s%s%s%s%s%n"})
        EXPECT_TRUE(is_refused_format(format)) << format;
}

// Conversions without modifiers are skipped in a separate loop. What follows them must still be checked.
TEST(FormatCheck, WhatFollowsPlainConversionsIsChecked) {
    for (const char conversion : std::string("%cdfipsuxXaAeEgGoy")) {
        const std::string plain = std::string("text %") + conversion;
        EXPECT_FALSE(is_refused_format(plain.c_str())) << plain;
        EXPECT_FALSE(is_refused_format((plain + "n").c_str())) << plain;
        EXPECT_FALSE(is_refused_format((plain + "%").c_str())) << plain;
        for (const char* refused : {"%n", "%%%n", "d%hn", "%2$d", "%99999999999d"})
            EXPECT_TRUE(is_refused_format((plain + refused).c_str())) << plain << refused;
    }
}

TEST(FormatCheck, PositionsWithAGapAreRefused) {
    for (const char* format :
         {"%2$d", "%1$d %3$d", "%3$d %1$d", "%3$d %2$d", "%1$*3$d", "%1$.*3$d", "%0$d", "%0$d%1$d",
          "%0$d%2$d", "%00$d", "%4294967296$d", "%4294967297$d", "%18446744073709551617$d",
          "%4097$d", "%1$d%1$d%3$d", "%s %2$d", "%%%2$s", "%3$5d", "%1$d %3$-5d"})
        EXPECT_TRUE(is_refused_format(format)) << format;
}

TEST(FormatCheck, WidthsAndPrecisionsBeyond31BitsAreRefused) {
    for (const char* format : {"%2147483648d", "%.2147483648d", "%99999999999d", "%-5.99999999999s",
                               "%18446744073709551617d", "%d %1$.2147483648d", "%21474836470d"})
        EXPECT_TRUE(is_refused_format(format)) << format;
    for (const char* format : {"%2147483647d", "%.2147483647d", "2147483648", "%d2147483648"})
        EXPECT_FALSE(is_refused_format(format)) << format;
}

TEST(FormatCheck, AsManyPositionsAsPosixPromises) {
    std::string format;
    for (int position = 4096; position > 0; --position)
        format += "%" + std::to_string(position) + "$d";
    EXPECT_FALSE(is_refused_format(format.c_str()));
    EXPECT_TRUE(is_refused_format((format + "%4097$d").c_str()));
    // One position is missing: at the start, in the middle, and at the ends of the words of the bit set.
    for (int left_out : {1, 2, 63, 64, 65, 2048, 4095}) {
        std::string gap = format;
        const std::string conversion = "%" + std::to_string(left_out) + "$d";
        gap.replace(gap.find(conversion), conversion.size(), "");
        EXPECT_TRUE(is_refused_format(gap.c_str())) << left_out;
    }
    EXPECT_FALSE(is_refused_format(format.substr(format.find('$') + 2).c_str())) << "1 to 4095";
}

TEST(FormatCheck, ModifiersOfOneRuntime) {
    EXPECT_TRUE(is_refused_format("%Fn", "F"));
    EXPECT_TRUE(is_refused_format("%lFn", "F"));
    EXPECT_TRUE(is_refused_format("%5Fhn", "F"));
    EXPECT_FALSE(is_refused_format("%Ff", "F"));
    EXPECT_FALSE(is_refused_format("%F", "F"));
}

}  // namespace
