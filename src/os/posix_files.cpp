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
#include <climits>
#include <cstdio>
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

bool ends_in_separator(const char* path) {
    const size_t length = strlen(path);
    return length > 0 && path[length - 1] == '/';
}

// What a call came to that takes the names of files, in the terms of Windows: a name below a file, or one that is
// too long, is not found; a name that ends in a separator is no file's.
FileResult result_of_name_errno(bool ends_in_separator) {
    if (errno == ENAMETOOLONG || (errno == ENOTDIR && !ends_in_separator))
        return FileResult::kNotFound;
    return result_of_errno();
}

// The same for opening. A directory gives no access, while a file of a name that ends in a separator, which the
// system refuses in the same way, cannot be made.
FileResult result_of_open_errno(const char* path) {
    if (errno != EISDIR)
        return result_of_name_errno(ends_in_separator(path));
    struct stat status;
    const bool is_directory = stat(path, &status) == 0 && S_ISDIR(status.st_mode);
    return is_directory ? FileResult::kAccessDenied : FileResult::kOther;
}

// fopen() of a file that programs started by this one do not inherit. A directory, which can be opened for
// reading but not read, is refused.
FILE* open_existing(const char* path, const char* mode) {
    // The "e" stands behind the first letter: the runtime looks at the first seven only.
    char inherited_by_none[16];
    if (mode[0] == '\0') {
        errno = EINVAL;
        return nullptr;
    }
    snprintf(inherited_by_none, sizeof(inherited_by_none), "%ce%s", mode[0], mode + 1);
    FILE* fp = fopen(path, inherited_by_none);
    if (fp == nullptr)
        return nullptr;
    struct stat status;
    int reason = EISDIR;
    if (fstat(fileno(fp), &status) != 0)
        reason = errno;
    else if (!S_ISDIR(status.st_mode))
        return fp;
    fclose(fp);
    errno = reason;
    return nullptr;
}

// The same for a file that this call creates, for its owner only.
FILE* create_file(const char* path, const char* mode) {
    const bool update = strchr(mode, '+') != nullptr;
    const int flags = O_CREAT | O_EXCL | O_CLOEXEC | (mode[0] == 'a' ? O_APPEND : 0);
    const int descriptor = open(path, flags | (update ? O_RDWR : O_WRONLY), S_IRUSR | S_IWUSR);
    if (descriptor == -1)
        return nullptr;
    FILE* fp = fdopen(descriptor, mode);
    if (fp == nullptr) {
        const int reason = errno;
        close(descriptor);
        unlink(path);
        errno = reason;
    }
    return fp;
}

using OpenFn = FILE* (*)(const char* path, const char* mode);

FILE* open_with(OpenFn open, const char* path, const char* mode, FileResult* result) {
    const NativePath native(path);
    if (native.get() == nullptr) {
        *result = FileResult::kBadPath;
        return nullptr;
    }
    FILE* fp = open(native.get(), mode);
    *result = fp != nullptr ? FileResult::kOk : result_of_open_errno(native.get());
    return fp;
}

}  // namespace

FILE* open_file(const char* path, const char* mode, FileResult* result) {
    return open_with(open_existing, path, mode, result);
}

FILE* open_new_file(const char* path, const char* mode, FileResult* result) {
    // Only these modes create files.
    const bool creates = mode[0] == 'w' || mode[0] == 'a';
    return open_with(creates ? create_file : open_existing, path, mode, result);
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
    // A directory is no file to be removed.
    if (errno == EISDIR || errno == EPERM)
        return FileResult::kAccessDenied;
    return result_of_name_errno(ends_in_separator(native.get()));
}

namespace {

// A path's last name and the directory that it stands in, without separators at the end.
struct Place {
    struct stat directory;
    const char* name;
    size_t length;
};

bool find_place(const char* path, Place* place) {
    size_t end = strlen(path);
    while (end > 0 && path[end - 1] == '/')
        --end;
    size_t start = end;
    while (start > 0 && path[start - 1] != '/')
        --start;
    place->name = path + start;
    place->length = end - start;
    if (start == 0)
        return stat(".", &place->directory) == 0;
    char directory[PATH_MAX];  // the longest path that the system takes
    if (start >= sizeof(directory))
        return false;
    memcpy(directory, path, start);
    directory[start] = '\0';
    return stat(directory, &place->directory) == 0;
}

// Whether two paths spell one name. Two names of one file are not one name.
bool is_same_name(const char* a, const char* b) {
    Place at;
    Place bt;
    return find_place(a, &at) && find_place(b, &bt) && at.directory.st_dev == bt.directory.st_dev &&
           at.directory.st_ino == bt.directory.st_ino && at.length == bt.length &&
           memcmp(at.name, bt.name, at.length) == 0;
}

// Renames without replacing where the file system cannot do so in one step: by a second name, which is given only
// if it is free. What can have no second name, as a directory, is renamed after a look at the target; an empty
// directory that somebody else makes in between is replaced.
int rename_in_steps(const char* from, const char* to) {
    if (link(from, to) == 0) {
        if (unlink(from) == 0)
            return 0;
        const int reason = errno;
        unlink(to);
        errno = reason;
        return -1;
    }
    if (errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS && errno != EMLINK)
        return -1;
    struct stat status;
    if (lstat(to, &status) != 0)
        return rename(from, to);
    errno = EEXIST;
    return -1;
}

int rename_without_replacing(const char* from, const char* to) {
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return 0;
    // No such call in the kernel, or the file system does not know the flag.
    const bool unsupported = errno == ENOSYS || errno == EINVAL || errno == EOPNOTSUPP;
    if (unsupported && rename_in_steps(from, to) == 0)
        return 0;
    const int reason = errno;
    if (reason == EEXIST && is_same_name(from, to))
        return 0;
    errno = reason;
    return -1;
}

}  // namespace

FileResult rename_file(const char* from, const char* to) {
    const NativePath native_from(from);
    const NativePath native_to(to);
    if (native_from.get() == nullptr && native_to.get() == nullptr)
        return FileResult::kBadPath;
    if (native_from.get() == nullptr || native_to.get() == nullptr)
        return FileResult::kOther;
    if (rename_without_replacing(native_from.get(), native_to.get()) == 0)
        return FileResult::kOk;
    return result_of_name_errno(ends_in_separator(native_from.get()) ||
                                ends_in_separator(native_to.get()));
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

i64 stream_position(FILE* fp) {
    return ftell(fp);
}

size_t write_stream(FILE* fp, const char* bytes, size_t count) {
    return fwrite(bytes, 1, count, fp);
}

}  // namespace ke::os
