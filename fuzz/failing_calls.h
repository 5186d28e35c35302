// Makes some system calls fail within one call of the library. After it, no descriptor may be open that was not open
// before.
#pragma once

#include <dirent.h>

#include <iterator>
#include <set>
#include <type_traits>

#include "input.h"
#include "support/system_calls.h"

namespace failing {

inline bool g_armed;
inline int g_good;   // calls that succeed before one fails
inline u32 g_which;  // which of the calls after them fail: the first one if bit 0 is set, and so on
inline int g_reason;  // the error with which they fail
inline std::multiset<std::string> g_fired;

inline size_t open_descriptors() {
    size_t count = 0;
    DIR* dir = opendir("/proc/self/fd");
    CHECK(dir != nullptr);
    while (readdir(dir) != nullptr)
        ++count;
    closedir(dir);
    return count;
}

// Selects which system calls fail in the next call of the library, and with which error.
inline void prepare(u8 good, u8 which, u8 reason) {
    constexpr int kReasons[] = {EIO,        EACCES, ENOENT,       EEXIST, EINVAL, ENOSYS,
                                EOPNOTSUPP, EPERM,  ENOMEM,       ENOSPC, EROFS,  EISDIR,
                                ENOTDIR,    EMLINK, ENAMETOOLONG, EINTR};
    g_good = good % 16;
    g_which = which == 255 ? UINT32_MAX : which;
    g_reason = kReasons[reason % std::size(kReasons)];
}

// Makes a call of the library. Returns its result; fired() tells whether a system call has failed in it.
template <class Call>
auto faulty(Call call) {
    const size_t before = open_descriptors();
    g_fired.clear();
    g_armed = true;
    const auto result = call();
    g_armed = false;
    g_which = 0;
    // If the call has returned a stream, its descriptor is open.
    size_t returned = 0;
    if constexpr (std::is_same_v<decltype(call()), FILE*>)
        returned = result != nullptr ? 1 : 0;
    CHECK(open_descriptors() == before + returned);
    return result;
}
inline bool fired() {
    return !g_fired.empty();
}

}  // namespace failing

int reason_to_fail(const char* function) {
    if (!failing::g_armed)
        return 0;
    if (failing::g_good > 0) {
        --failing::g_good;
        return 0;
    }
    const bool is_bad = failing::g_which % 2 != 0;
    // If all bits are set, the calls after the last bit fail, too.
    failing::g_which = failing::g_which == UINT32_MAX ? UINT32_MAX : failing::g_which / 2;
    if (!is_bad)
        return 0;
    failing::g_fired.insert(function);
    return failing::g_reason;
}
