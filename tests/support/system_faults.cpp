// See system_faults.h. The wrapped functions are those that the library calls, under the names that it uses.
#include "support/system_faults.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>
#include <uv.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

thread_local SystemFaults* t_armed = nullptr;

bool fault(const char* function) {
    const int reason = t_armed == nullptr ? 0 : t_armed->reason_to_fail(function);
    if (reason != 0)
        errno = reason;
    return reason != 0;
}

// Returns the number of open descriptors.
size_t open_descriptors() {
    size_t count = 0;
    DIR* dir = opendir("/proc/self/fd");
    while (readdir(dir) != nullptr)
        ++count;
    closedir(dir);
    return count;
}

}  // namespace

void SystemFaults::arm(const char* function) {
    only_ = function;
    t_armed = this;
}

void SystemFaults::disarm() {
    t_armed = nullptr;
}

void SystemFaults::fail_also(const char* function, int reason) {
    also_ = function;
    also_reason_ = reason;
}

int SystemFaults::reason_to_fail(const char* function) {
    if (also_ != nullptr && strcmp(also_, function) == 0) {
        fired_.insert(function);
        return also_reason_;
    }
    if (only_ != nullptr && strcmp(only_, function) != 0)
        return 0;
    ++seen_;
    const bool strike = mode_ == kTransient ? seen_ == nth_ : seen_ >= nth_;
    if (!strike)
        return 0;
    fired_.insert(function);
    return reason_;
}

std::set<std::string> SweepSystemCalls(const std::function<void(SystemFaults&)>& body) {
    constexpr size_t kLimit = 1000;
    std::set<std::string> all;
    for (int reason : {EINTR, EIO, ENOMEM, EMFILE, ENOSPC}) {
        for (SystemFaults::Mode mode : {SystemFaults::kTransient, SystemFaults::kPersistent}) {
            for (size_t nth = 1;; ++nth) {
                if (nth > kLimit) {
                    ADD_FAILURE() << "still failing at call " << nth;
                    return all;
                }
                SystemFaults faults(nth, mode, reason);
                const size_t before = open_descriptors();
                body(faults);
                faults.disarm();
                std::string names;
                for (const std::string& name : faults.fired())
                    names += " " + name;
                EXPECT_EQ(open_descriptors(), before) << "left open after" << names;
                if (testing::Test::HasFailure()) {
                    ADD_FAILURE() << (mode == SystemFaults::kTransient ? "only" : "from")
                                  << " call " << nth << " failing with " << strerror(reason) << ":"
                                  << names;
                    return all;
                }
                if (faults.fired().empty())
                    break;
                all.insert(faults.fired().begin(), faults.fired().end());
            }
        }
    }
    return all;
}

// Defines a wrapper that either fails with `failed` or calls the real function.
#define KE_WRAP(result, name, parameters, arguments, failed)      \
    result __real_##name parameters;                              \
    result __wrap_##name parameters;                              \
    result __wrap_##name parameters {                             \
        return fault(#name) ? (failed) : __real_##name arguments; \
    }

extern "C" {

KE_WRAP(int, access, (const char* path, int mode), (path, mode), -1)
KE_WRAP(FILE*, fdopen, (int descriptor, const char* mode), (descriptor, mode), nullptr)
KE_WRAP(FILE*, fopen, (const char* path, const char* mode), (path, mode), nullptr)
KE_WRAP(size_t, fread, (void* to, size_t size, size_t count, FILE* fp), (to, size, count, fp), 0)
KE_WRAP(int, fseek, (FILE * fp, long offset, int whence), (fp, offset, whence), -1)
KE_WRAP(int, fstat, (int descriptor, struct stat* status), (descriptor, status), -1)
KE_WRAP(long, ftell, (FILE * fp), (fp), -1)
KE_WRAP(size_t, fwrite, (const void* from, size_t size, size_t count, FILE* fp),
        (from, size, count, fp), 0)
KE_WRAP(ssize_t, getrandom, (void* to, size_t size, unsigned flags), (to, size, flags), -1)
KE_WRAP(struct tm*, gmtime_r, (const time_t* time, struct tm* out), (time, out), nullptr)
KE_WRAP(int, link, (const char* from, const char* to), (from, to), -1)
KE_WRAP(int, lstat, (const char* path, struct stat* status), (path, status), -1)
KE_WRAP(int, mkdir, (const char* path, mode_t mode), (path, mode), -1)
KE_WRAP(ssize_t, readlink, (const char* path, char* to, size_t size), (path, to, size), -1)
KE_WRAP(int, rename, (const char* from, const char* to), (from, to), -1)
KE_WRAP(int, renameat2,
        (int from_dir, const char* from, int to_dir, const char* to, unsigned flags),
        (from_dir, from, to_dir, to, flags), -1)
KE_WRAP(int, rmdir, (const char* path), (path), -1)
KE_WRAP(int, stat, (const char* path, struct stat* status), (path, status), -1)
KE_WRAP(int, unlink, (const char* path), (path), -1)
KE_WRAP(int, uv_dlopen, (const char* path, uv_lib_t* lib), (path, lib), (*lib = {}, -1))
KE_WRAP(int, uv_dlsym, (uv_lib_t * lib, const char* name, void** sym), (lib, name, sym), -1)
KE_WRAP(int, uv_os_homedir, (char* to, size_t* size), (to, size), UV_EIO)

// Unlike the others, this fault interrupts a sleep once; the library then sleeps for the remaining time.
int __real_nanosleep(const timespec* time, timespec* left);
int __wrap_nanosleep(const timespec* time, timespec* left);
int __wrap_nanosleep(const timespec* time, timespec* left) {
    if (!fault("nanosleep"))
        return __real_nanosleep(time, left);
    *left = *time;
    return -1;
}

int __real_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...) {
    if (fault("open"))
        return -1;
    va_list args;
    va_start(args, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
    va_end(args);
    return __real_open(path, flags, mode);
}

}  // extern "C"
