// Files, directories and stream locks on POSIX systems. Paths may use either separator: "\" is
// turned into "/" on the way to the system, and every other byte is unchanged.

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

#include "os/file_result.h"
#include "os/module.h"
#include "os/os.h"

namespace ke::os {

namespace {

// A path as the system takes it. get() returns nullptr if there was no memory for it.
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

FileResult result_of(int returned) {
    return returned == 0 ? FileResult::kOk : result_of_errno();
}

bool ends_in_separator(const char* path) {
    const size_t length = strlen(path);
    return length > 0 && path[length - 1] == '/';
}

// Translates the errno of a call that takes file names into what Windows would report: a name below
// a file, and a name that is too long, are not found. A name that ends in a separator cannot be
// that of a file, which is another error.
FileResult result_of_name_errno(bool ends_in_separator) {
    if (errno == ENAMETOOLONG || (errno == ENOTDIR && !ends_in_separator))
        return FileResult::kNotFound;
    return result_of_errno();
}

// As above, for opening. Access to a directory is denied. The system gives the same error (EISDIR)
// for a name that ends in a separator if the mode would create a file of that name; that has
// nothing to do with access.
FileResult result_of_open_errno(const char* path) {
    if (errno != EISDIR)
        return result_of_name_errno(ends_in_separator(path));
    struct stat status;
    const bool is_directory = stat(path, &status) == 0 && S_ISDIR(status.st_mode);
    return is_directory ? FileResult::kAccessDenied : FileResult::kOther;
}

// Opens a file that programs started by this one do not inherit. A directory is refused: the system
// would open it for reading, although it cannot be read.
FILE* open_existing(const char* path, const char* mode) {
    // The "e" is inserted after the first letter, since the runtime reads only the first seven
    // letters of a mode.
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

// As above, for a file that this call creates, and that only its owner may read and write.
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
        // The file is new, so nobody misses it.
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
    // No other mode creates files.
    const bool creates = mode[0] == 'w' || mode[0] == 'a';
    return open_with(creates ? create_file : open_existing, path, mode, result);
}

FileResult make_temp_name(char* tmpl) {
    static constexpr char kLetters[] =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    constexpr int kMaxTries = 100;
    char* suffix = tmpl + strlen(tmpl) - kTempSuffixLength;
    for (int i = 0; i < kMaxTries; ++i) {
        u8 random[kTempSuffixLength];
        if (getrandom(random, sizeof(random), 0) != static_cast<ssize_t>(sizeof(random)))
            return FileResult::kOther;
        for (size_t k = 0; k < kTempSuffixLength; ++k)
            suffix[k] = kLetters[random[k] % (sizeof(kLetters) - 1)];
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
    // The system has two errors for an attempt to remove a directory as if it were a file.
    if (errno == EISDIR || errno == EPERM)
        return FileResult::kAccessDenied;
    return result_of_name_errno(ends_in_separator(native.get()));
}

namespace {

// The last name in a path without the separators at its end, and the directory that contains it.
struct DirectoryEntry {
    struct stat directory;
    const char* name;
    size_t length;
};

bool find_entry(const char* path, DirectoryEntry* entry) {
    size_t end = strlen(path);
    while (end > 0 && path[end - 1] == '/')
        --end;
    size_t start = end;
    while (start > 0 && path[start - 1] != '/')
        --start;
    entry->name = path + start;
    entry->length = end - start;
    if (start == 0)
        return stat(".", &entry->directory) == 0;
    char directory[PATH_MAX];  // as long as the longest path that the system takes
    if (start >= sizeof(directory))
        return false;
    memcpy(directory, path, start);
    directory[start] = '\0';
    return stat(directory, &entry->directory) == 0;
}

// Whether two paths spell the same name in the same directory. Two names of one file (hard links)
// are not the same name.
bool is_same_name(const char* a, const char* b) {
    DirectoryEntry at;
    DirectoryEntry bt;
    return find_entry(a, &at) && find_entry(b, &bt) && at.directory.st_dev == bt.directory.st_dev &&
           at.directory.st_ino == bt.directory.st_ino && at.length == bt.length &&
           memcmp(at.name, bt.name, at.length) == 0;
}

// Renames without replacing, on file systems that cannot do so in one step. It gives the file a
// second name, which fails if that name is taken, and then removes the first. What cannot have a
// second name, such as a directory, is renamed after a check that the target does not exist; an
// empty directory that somebody makes in between is then replaced.
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
    if (lstat(to, &status) == 0)
        errno = EEXIST;
    else if (errno == ENOENT)
        return rename(from, to);
    return -1;
}

int rename_without_replacing(const char* from, const char* to) {
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return 0;
    // The kernel does not have the call, or the file system does not know the flag.
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

// readlink() does not say whether it cut the path, so a path that fills the block is read again
// into a larger one.
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

// The system's loader copies a name without a separator to the stack, however long it is. No file
// has a path of PATH_MAX bytes or more, so the loader does not get to see such a name.
int open_module(const char* path, uv_lib_t* lib) {
    *lib = {};
    if (strnlen(path, PATH_MAX) == PATH_MAX)
        return UV_ENAMETOOLONG;
    const NativePath native(path);
    return native.get() != nullptr ? uv_dlopen(native.get(), lib) : UV_ENOMEM;
}

// ThreadSanitizer does not know the stream's lock, so it is told about it.
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

// glibc's header declares these two fields for its own getc_unlocked(), so they are part of its
// binary interface. MemorySanitizer does not see how the buffer is filled.
#if defined(__has_feature)
#if __has_feature(memory_sanitizer)
#define KE_HIDE_STREAM_BUFFERS
#endif
#endif
#if defined(__GLIBC__) && !defined(KE_HIDE_STREAM_BUFFERS)
BufferedBytes buffered_bytes(FILE* fp) {
    return {fp->_IO_read_ptr, fp->_IO_read_end};
}

void skip_buffered(FILE* fp, const char* end) {
    fp->_IO_read_ptr = const_cast<char*>(end);
}
#else
BufferedBytes buffered_bytes(FILE*) {
    return {};
}

void skip_buffered(FILE*, const char*) {}
#endif

i64 stream_position(FILE* fp) {
    return ftell(fp);
}

size_t write_stream(FILE* fp, const char* bytes, size_t count) {
    return fwrite(bytes, 1, count, fp);
}

}  // namespace ke::os
