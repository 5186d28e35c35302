// A library for LD_PRELOAD. In the program that is started with it, calls of the functions below are counted, and call
// number KE_FAIL_AT fails for the reason KE_FAIL_REASON (a value of errno); with KE_FAIL_ALL, so do all calls after it.
// The name of each function that fails is written to the file KE_FAIL_LOG, one per line.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

int number_in(const char* variable) {
    const char* text = getenv(variable);
    return text == nullptr ? 0 : atoi(text);
}

// Writes the name to the log by the kernel's own calls, since the functions of the runtime may fail.
void log_name(const char* function) {
    const char* log = getenv("KE_FAIL_LOG");
    if (log == nullptr)
        return;
    const long fd =
        syscall(SYS_openat, AT_FDCWD, log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    syscall(SYS_write, fd, function, strlen(function));
    syscall(SYS_write, fd, "\n", 1);
    syscall(SYS_close, fd);
}

// Counts a call. Returns whether it must fail; if so, errno is set.
bool fails(const char* function) {
    static const int s_at = number_in("KE_FAIL_AT");
    static const int s_reason = number_in("KE_FAIL_REASON");
    static const bool s_all = number_in("KE_FAIL_ALL") != 0;
    static int s_calls = 0;
    if (s_at == 0 || ++s_calls < s_at || (s_calls > s_at && !s_all))
        return false;
    log_name(function);
    errno = s_reason;
    return true;
}

}  // namespace

// As the runtime does after a failure.
static void set_error(FILE* fp) {
    fp->_flags |= _IO_ERR_SEEN;
}

// Defines a function that either fails with `failed` or calls the next library's function of this name.
#define KE_FAILING(result, name, parameters, arguments, failed)              \
    result name parameters {                                                 \
        static auto* const s_real =                                          \
            reinterpret_cast<result(*) parameters>(dlsym(RTLD_NEXT, #name)); \
        return fails(#name) ? (failed) : s_real arguments;                   \
    }

#pragma GCC diagnostic ignored "-Wmissing-declarations"
#pragma GCC diagnostic ignored "-Wnonnull-compare"

extern "C" {

KE_FAILING(int, access, (const char* path, int mode) noexcept, (path, mode), -1)
// The kernel closes a descriptor in any case, and the runtime releases the stream.
KE_FAILING(int, close, (int fd), (fd), (s_real(fd), errno = EIO, -1))
KE_FAILING(int, fclose, (FILE * fp), (fp), (s_real(fp), errno = EIO, EOF))
KE_FAILING(int, fchmod, (int fd, mode_t mode) noexcept, (fd, mode), -1)
KE_FAILING(int, fchown, (int fd, uid_t owner, gid_t group) noexcept, (fd, owner, group), -1)
KE_FAILING(int, fflush, (FILE * fp), (fp), (set_error(fp), EOF))
KE_FAILING(FILE*, fmemopen, (void* text, size_t size, const char* mode) noexcept,
           (text, size, mode), nullptr)
KE_FAILING(FILE*, fopen, (const char* path, const char* mode), (path, mode), nullptr)
KE_FAILING(size_t, fread, (void* to, size_t size, size_t count, FILE* fp), (to, size, count, fp),
           (set_error(fp), 0))
KE_FAILING(int, fseeko, (FILE * fp, off_t offset, int whence), (fp, offset, whence), -1)
KE_FAILING(int, fsetxattr,
           (int fd, const char* name, const void* value, size_t size, int flags) noexcept,
           (fd, name, value, size, flags), -1)
KE_FAILING(int, fstat, (int fd, struct stat* status) noexcept, (fd, status), -1)
KE_FAILING(int, fsync, (int fd), (fd), -1)
KE_FAILING(size_t, fwrite, (const void* from, size_t size, size_t count, FILE* fp),
           (from, size, count, fp), (set_error(fp), 0))
KE_FAILING(ssize_t, getrandom, (void* to, size_t size, unsigned flags), (to, size, flags), -1)
KE_FAILING(ssize_t, getxattr,
           (const char* path, const char* name, void* value, size_t size) noexcept,
           (path, name, value, size), -1)
KE_FAILING(int, linkat,
           (int from_dir, const char* from, int to_dir, const char* to, int flags) noexcept,
           (from_dir, from, to_dir, to, flags), -1)
KE_FAILING(ssize_t, listxattr, (const char* path, char* names, size_t size) noexcept,
           (path, names, size), -1)
KE_FAILING(ssize_t, readlink, (const char* path, char* to, size_t size) noexcept, (path, to, size),
           -1)
KE_FAILING(char*, realpath, (const char* path, char* to) noexcept, (path, to), nullptr)
KE_FAILING(int, rename, (const char* from, const char* to) noexcept, (from, to), -1)
KE_FAILING(int, stat, (const char* path, struct stat* status) noexcept, (path, status), -1)
KE_FAILING(int, unlink, (const char* path) noexcept, (path), -1)
KE_FAILING(ssize_t, write, (int fd, const void* from, size_t size), (fd, from, size), -1)

int open(const char* path, int flags, ...) {
    static auto* const s_real =
        reinterpret_cast<int (*)(const char*, int, ...)>(dlsym(RTLD_NEXT, "open"));
    va_list args;
    va_start(args, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(args, mode_t) : 0;
    va_end(args);
    return fails("open") ? -1 : s_real(path, flags, mode);
}

}  // extern "C"
