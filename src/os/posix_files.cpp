// Files, directories and stream locks on POSIX systems. Paths come with either separator: "\" is turned
// into "/" on the way to the system, every other byte is kept as it is.

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>
#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#endif

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "os/module.h"
#include "os/os.h"

namespace ke::os {

namespace {

// A path as the system takes it; get() is nullptr without memory.
class NativePath {
  public:
    explicit NativePath(const char* path) {
        const size_t size = strlen(path) + 1;
        text_ = size <= sizeof(inline_) ? inline_ : static_cast<char*>(malloc(size));
        for (size_t i = 0; text_ != nullptr && i < size; ++i)
            text_[i] = path[i] == '\\' ? '/' : path[i];
    }
    NativePath(const NativePath&) = delete;
    NativePath& operator=(const NativePath&) = delete;
    ~NativePath() {
        if (text_ != inline_)
            free(text_);
    }
    const char* get() const { return text_; }

  private:
    char inline_[512];
    char* text_;
};

FileResult result_of_errno() {
    switch (errno) {
        case ENOENT:
            return FileResult::kNotFound;
        case EACCES:
            return FileResult::kAccessDenied;
        case EINVAL:
            return FileResult::kInvalid;
        default:
            return FileResult::kOther;
    }
}

FileResult result_of(int returned) {
    return returned == 0 ? FileResult::kOk : result_of_errno();
}

FILE* open_with_mode(const char* path, const char* mode, FileResult* result) {
    const NativePath native(path);
    if (native.get() == nullptr) {
        *result = FileResult::kBadPath;
        return nullptr;
    }
    FILE* fp = fopen(native.get(), mode);
    *result = fp != nullptr ? FileResult::kOk : result_of_errno();
    return fp;
}

}  // namespace

FILE* open_file(const char* path, const char* mode, FileResult* result) {
    return open_with_mode(path, mode, result);
}

FILE* open_new_file(const char* path, const char* mode, FileResult* result) {
    char exclusive[16];
    const size_t length = strlen(mode);
    if (length + 2 > sizeof(exclusive)) {
        *result = FileResult::kOther;
        return nullptr;
    }
    memcpy(exclusive, mode, length);
    // A mode that only reads creates nothing: "x" would have no meaning there.
    exclusive[length] = mode[0] == 'r' ? '\0' : 'x';
    exclusive[length + 1] = '\0';
    return open_with_mode(path, exclusive, result);
}

FileResult make_temp_name(char* tmpl) {
    static constexpr char kLetters[] =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    constexpr int kTries = 100;
    constexpr size_t kPlaces = 6;
    char* places = tmpl + strlen(tmpl) - kPlaces;
    for (int i = 0; i < kTries; ++i) {
        u8 random[kPlaces];
        if (getrandom(random, sizeof(random), 0) != static_cast<ssize_t>(sizeof(random)))
            return FileResult::kOther;
        for (size_t k = 0; k < kPlaces; ++k)
            places[k] = kLetters[random[k] % (sizeof(kLetters) - 1)];
        if (check_access(tmpl, F_OK) != FileResult::kOk)
            return FileResult::kOk;
    }
    return FileResult::kOther;
}

FileResult check_access(const char* path, int mode) {
    const NativePath native(path);
    return native.get() == nullptr ? FileResult::kBadPath : result_of(access(native.get(), mode));
}

FileResult remove_dir(const char* path) {
    const NativePath native(path);
    return native.get() == nullptr ? FileResult::kBadPath : result_of(rmdir(native.get()));
}

FileResult remove_file(const char* path) {
    const NativePath native(path);
    if (native.get() == nullptr)
        return FileResult::kBadPath;
    if (unlink(native.get()) == 0)
        return FileResult::kOk;
    // A directory is no file to be removed; a file on the way is a path that leads nowhere.
    if (errno == EISDIR || errno == EPERM)
        return FileResult::kAccessDenied;
    return errno == ENOTDIR ? FileResult::kNotFound : result_of_errno();
}

FileResult rename_file(const char* from, const char* to) {
    const NativePath native_from(from);
    const NativePath native_to(to);
    if (native_from.get() == nullptr && native_to.get() == nullptr)
        return FileResult::kBadPath;
    if (native_from.get() == nullptr || native_to.get() == nullptr)
        return FileResult::kOther;
    return result_of(rename(native_from.get(), native_to.get()));
}

u32 make_dir(const char* path) {
    constexpr u32 kErrorInvalidFunction = 1;
    const NativePath native(path);
    if (native.get() == nullptr)
        return kErrorNotEnoughMemory;
    if (mkdir(native.get(), 0777) == 0)
        return kErrorNone;
    switch (errno) {
        case EEXIST:
            return kErrorAlreadyExists;
        case ENOENT:
        case ENOTDIR:
            return kErrorPathNotFound;
        case EACCES:
        case EPERM:
        case EROFS:
            return kErrorAccessDenied;
        default:
            return kErrorInvalidFunction;
    }
}

PathKind path_kind(const char* path) {
    const NativePath native(path);
    struct stat status;
    if (native.get() == nullptr || stat(native.get(), &status) != 0)
        return PathKind::kUnknown;
    return S_ISDIR(status.st_mode) ? PathKind::kDirectory : PathKind::kOther;
}

char* executable_path() {
    for (size_t size = 256;; size *= 2) {
        char* path = static_cast<char*>(malloc(size));
        if (path == nullptr)
            return nullptr;
        const ssize_t length = readlink("/proc/self/exe", path, size);
        if (length >= 0 && static_cast<size_t>(length) < size) {
            path[length] = '\0';
            return path;
        }
        free(path);
        if (length < 0)
            return nullptr;
    }
}

int open_module(const char* path, uv_lib_t* lib) {
    const NativePath native(path);
    if (native.get() != nullptr)
        return uv_dlopen(native.get(), lib);
    *lib = {};
    return UV_ENOMEM;
}

// ThreadSanitizer does not know the stream's lock and is told.
void lock_stream(FILE* fp) {
    flockfile(fp);
#if defined(__SANITIZE_THREAD__)
    __tsan_acquire(fp);
#endif
}

void unlock_stream(FILE* fp) {
#if defined(__SANITIZE_THREAD__)
    __tsan_release(fp);
#endif
    funlockfile(fp);
}

int getc_locked(FILE* fp) {
    return getc_unlocked(fp);
}

}  // namespace ke::os
