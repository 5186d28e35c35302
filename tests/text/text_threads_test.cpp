// Threads that use the text functions at the same time, each on its own data: every thread gets the same
// results as a single thread.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "ke_utils/core.h"
#include "ke_utils/text.h"
#include "support/start_line.h"

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 200;

class Work {
  public:
    std::string all() {
        formats();
        numbers();
        strings();
        wide_numbers();
        bytes();
        return done_;
    }

  private:
    void add(const char* text) { (done_ += text == nullptr ? "(none)" : text) += '\n'; }
    template <class Number>
    requires std::is_arithmetic_v<Number>
    void add(Number number) { add(std::to_string(number).c_str()); }

    void formats() {
        char buf[64];
        add(wiq_snprintf(buf, sizeof buf, "%d %.3f %s", 42, 2.5, "text"));
        add(buf);
        char* text = nullptr;
        // In a variable, because -Wpedantic does not know positional arguments.
        const char* format = "%2$s %1$d";
        add(wiq_asprintf(&text, format, 7, "positions"));
        add(text);
        free(text);
        char* block = nullptr;
        u64 size = 0;
        add(wiq_rasprintf(&block, &size, "%g", 0.1));
        add(wiq_rapsprintf(&block, &size, " and %05.1f", 3.25));
        add(wiq_rastrcat(&block, &size, " more"));
        add(block);
        add(wiq_struct_str("  field ", 8, &block, &size, true));
        add(block);
        free(block);
    }

    void numbers() {
        i32 a = 0;
        add(wiq_strtoint32("-17", &a));
        add(a);
        u64 b = 0;
        add(wiq_strtouint64("18446744073709551616", &b));
        add(wiq_strtouint64("0x1f", &b));
        add(b);
        double c = 0;
        add(wiq_strtodouble("6.02214076e23", &c));
        add(c);
        add(wiq_strtodouble("1,5", &c));
    }

    void strings() {
        char text[] = "  mixed Case text ";
        trim_in_place(text);
        add(text);
        add(wiq_upper_first(text));
        add(wiq_strchr_replace(text, ' ', '_'));
        add(wiq_upper_all(text));
        add(wiq_strcasecmp(text, "MIXED_case_TEXT"));
        add(wiq_strnlen(text, 5));
        add(wiq_utf8_char_sz(0xE2));
    }

    void wide_numbers() {
        wiq_uint128 a = {};
        add(wiq_uint128_from_str("340282366920938463463374607431768211455", &a));
        wiq_uint128 quotient = {};
        wiq_uint128 remainder = {};
        add(wiq_uint128_div(a, wiq_uint128{1000000007, 0}, &quotient, &remainder));
        char buf[130];
        add(wiq_uint128_to_str(wiq_uint128_mul(quotient, remainder), 10, buf, sizeof buf));
        add(buf);
        add(wiq_uint128_to_str(wiq_uint128_lshift(a, 70), 2, buf, sizeof buf));
        add(buf);
        u32 log = 0;
        add(wiq_log2_whole(4096, &log));
        add(log);
        add(wiq_get_cap_idema(wiq_get_lba_count_idema(4000, 512), 512));
    }

    void bytes() {
        u8 data[70];
        for (size_t i = 0; i < sizeof data; ++i)
            data[i] = static_cast<u8>(i * 37);
        char encoded[200];
        size_t length = sizeof encoded;
        add(wiq_base64_encode(data, sizeof data, encoded, &length));
        const std::string text(encoded, length);
        add(text.c_str());
        u8 decoded[100];
        size_t count = sizeof decoded;
        add(wiq_base64_decode(text.data(), text.size(), decoded, &count));
        add(count == sizeof data && memcmp(decoded, data, count) == 0);
        add(wiq_memdump_ex(
            data, sizeof data, 16, 4, 8, 1, true, true,
            [](void* user, u64 offset, const char* hex, const char* ascii) {
                auto* self = static_cast<Work*>(user);
                self->add(offset);
                self->add(hex);
                self->add(ascii);
                return 0;
            },
            this));
    }

    std::string done_;
};

TEST(TextThreads, EachThreadGetsTheSameResults) {
    StartLine start(kThreads);
    std::vector<std::string> first(kThreads);
    std::atomic<int> same{0};
    std::vector<std::thread> threads;
    // There is no call before these: whatever is set up on first use is set up by all threads at once.
    for (std::string& own : first) {
        threads.emplace_back([&start, &same, &own] {
            start.arrive_and_wait();
            own = Work().all();
            for (int round = 1; round < kRounds; ++round)
                same += Work().all() == own ? 1 : 0;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    const std::string expected = Work().all();
    EXPECT_NE(expected.find("MIXED_CASE_TEXT"), std::string::npos);
    EXPECT_NE(expected.find("positions 7"), std::string::npos);
    for (const std::string& text : first)
        EXPECT_EQ(text, expected);
    EXPECT_EQ(same, kThreads * (kRounds - 1));
}

}  // namespace
