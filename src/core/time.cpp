// Time helpers: the current time broken down, milliseconds since midnight, and the text of a time
// of day.

#include "core/padded_decimal.h"
#include "ke_utils/core.h"

namespace {

constexpr u32 kMsPerSecond = 1000;
constexpr u32 kMsPerMinute = 60 * kMsPerSecond;
constexpr u32 kMsPerHour = 60 * kMsPerMinute;
constexpr u64 kNsPerMs = 1000000;

}  // namespace

i32 wiq_get_tm(struct tm* out) {
    const i64 now = wiq_time_real(nullptr);
    return wiq_gmtime_real(&now, out);
}

int calc_tm_to_ms(const struct tm* tm) {
    if (tm == nullptr)
        return WIQ_ERR_INVALID_ARG;
    // Unsigned arithmetic: whatever the fields are, the result wraps instead of being undefined.
    const u32 seconds = (static_cast<u32>(tm->tm_hour) * 60 + static_cast<u32>(tm->tm_min)) * 60 +
                        static_cast<u32>(tm->tm_sec);
    return static_cast<i32>(seconds * kMsPerSecond);
}

i32 time_ms_to_string(u64 ms, u64 ns, char* dst) {
    if (dst == nullptr)
        return WIQ_ERR_INVALID_ARG;
    // The sum is cut to 32 bits on purpose: it wraps after 49 days.
    const u32 time = static_cast<u32>(ms + ns / kNsPerMs);
    char* end = ke::write_padded(dst, time / kMsPerHour % 24, 2);
    *end++ = ':';
    end = ke::write_padded(end, time / kMsPerMinute % 60, 2);
    *end++ = ':';
    end = ke::write_padded(end, time / kMsPerSecond % 60, 2);
    *end++ = '.';
    end = ke::write_padded(end, time % kMsPerSecond, 3);
    *end++ = ' ';
    *end = '\0';
    return static_cast<i32>(end - dst);
}
