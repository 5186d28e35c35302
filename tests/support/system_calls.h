// The system calls of the library, under the names that it uses, each of which may fail. For programs that link the
// library statically with -Wl,--wrap for each of these functions (cmake/WrapSystemCalls.cmake reads their names from
// here); one of their sources includes this header and defines reason_to_fail().
#pragma once

#include <fcntl.h>
#include <locale.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>
#include <uv.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>

// Returns the reason why this call of a function must fail, or 0 if it must not.
int reason_to_fail(const char* function);

inline bool system_call_fails(const char* function) {
    const int reason = reason_to_fail(function);
    if (reason != 0)
        errno = reason;
    return reason != 0;
}

// Defines a wrapper that either fails with `failed` or calls the real function.
#define KE_WRAP(result, name, parameters, arguments, failed)                  \
    result __real_##name parameters;                                          \
    result __wrap_##name parameters;                                          \
    result __wrap_##name parameters {                                         \
        return system_call_fails(#name) ? (failed) : __real_##name arguments; \
    }

extern "C" {

KE_WRAP(int, access, (const char* path, int mode), (path, mode), -1)
KE_WRAP(int, clock_gettime, (clockid_t clock, timespec* time), (clock, time), -1)
// The kernel closes a descriptor in any case, and the runtime releases the stream.
KE_WRAP(int, close, (int descriptor), (descriptor), (__real_close(descriptor), -1))
KE_WRAP(int, fclose, (FILE * fp), (fp), (__real_fclose(fp), EOF))
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
KE_WRAP(locale_t, newlocale, (int categories, const char* name, locale_t base),
        (categories, name, base), nullptr)
KE_WRAP(int, posix_memalign, (void** block, size_t alignment, size_t size),
        (block, alignment, size), ENOMEM)
KE_WRAP(ssize_t, readlink, (const char* path, char* to, size_t size), (path, to, size), -1)
KE_WRAP(int, rename, (const char* from, const char* to), (from, to), -1)
KE_WRAP(int, renameat2,
        (int from_dir, const char* from, int to_dir, const char* to, unsigned flags),
        (from_dir, from, to_dir, to, flags), -1)
KE_WRAP(int, rmdir, (const char* path), (path), -1)
KE_WRAP(int, stat, (const char* path, struct stat* status), (path, status), -1)
KE_WRAP(time_t, time, (time_t * time), (time), -1)
KE_WRAP(int, unlink, (const char* path), (path), -1)
KE_WRAP(int, uv_dlopen, (const char* path, uv_lib_t* lib), (path, lib), (*lib = {}, -1))
KE_WRAP(int, uv_dlsym, (uv_lib_t * lib, const char* name, void** sym), (lib, name, sym), -1)
KE_WRAP(int, uv_os_homedir, (char* to, size_t* size), (to, size), UV_EIO)

KE_WRAP(int, vfprintf, (FILE * fp, const char* format, va_list args), (fp, format, args), -1)
KE_WRAP(int, vsnprintf, (char* to, size_t size, const char* format, va_list args),
        (to, size, format, args), -1)

// The names of the two functions above in a library that is compiled with _FORTIFY_SOURCE.
int __real___vfprintf_chk(FILE* fp, int flag, const char* format, va_list args);
int __wrap___vfprintf_chk(FILE* fp, int flag, const char* format, va_list args);
int __wrap___vfprintf_chk(FILE* fp, int flag, const char* format, va_list args) {
    return system_call_fails("vfprintf") ? -1 : __real___vfprintf_chk(fp, flag, format, args);
}
int __real___vsnprintf_chk(char* to, size_t size, int flag, size_t room, const char* format,
                           va_list args);
int __wrap___vsnprintf_chk(char* to, size_t size, int flag, size_t room, const char* format,
                           va_list args);
int __wrap___vsnprintf_chk(char* to, size_t size, int flag, size_t room, const char* format,
                           va_list args) {
    return system_call_fails("vsnprintf")
               ? -1
               : __real___vsnprintf_chk(to, size, flag, room, format, args);
}

// Unlike the others, this fault interrupts a sleep once; the library then sleeps for the remaining time.
int __real_nanosleep(const timespec* time, timespec* left);
int __wrap_nanosleep(const timespec* time, timespec* left);
int __wrap_nanosleep(const timespec* time, timespec* left) {
    if (!system_call_fails("nanosleep"))
        return __real_nanosleep(time, left);
    *left = *time;
    return -1;
}

int __real_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...) {
    if (system_call_fails("open"))
        return -1;
    va_list args;
    va_start(args, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
    va_end(args);
    return __real_open(path, flags, mode);
}

#undef KE_WRAP

}  // extern "C"
