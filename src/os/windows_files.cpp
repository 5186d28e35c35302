// Files, directories, text conversion and stream locks on Windows, on top of the wide-character
// functions of the system and of the runtime. Paths are UTF-8 until they get here.

// First, because libuv's header must be the one that includes the headers of the system.
#include "os/module.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "os/file_result.h"
#include "os/invalid_parameters.h"
#include "os/os.h"
#include "os/windows_path.h"
#include "os/windows_text.h"

namespace ke::os {

namespace {

FileResult result_of_last_error() {
    switch (GetLastError()) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
            return FileResult::kNotFound;
        case ERROR_ACCESS_DENIED:
            return FileResult::kAccessDenied;
        default:
            return FileResult::kOther;
    }
}

// Reports a name that is too long as not found, as the other platform does: only some of the
// system's calls do so.
FileResult result_of_name(FileResult result, const wchar_t* path) {
    const bool unclear = result == FileResult::kInvalid || result == FileResult::kOther;
    return unclear && is_too_long(path) ? FileResult::kNotFound : result;
}

// Returns the flags of _wopen() for a mode of fopen() that creates a file, which must not exist.
int exclusive_flags(const wchar_t* mode) {
    int flags = _O_CREAT | _O_EXCL | (mode[0] == L'a' ? _O_APPEND : 0);
    flags |= wcschr(mode, L'+') != nullptr ? _O_RDWR : _O_WRONLY;
    return flags | (wcschr(mode, L'b') != nullptr ? _O_BINARY : _O_TEXT);
}

// Creates a file that must not exist, and opens a stream for it.
FILE* create_file(const wchar_t* path, const wchar_t* mode) {
    const int descriptor = _wopen(path, exclusive_flags(mode), _S_IREAD | _S_IWRITE);
    if (descriptor == -1)
        return nullptr;
    FILE* fp = _wfdopen(descriptor, mode);
    if (fp == nullptr) {
        const int reason = errno;
        _close(descriptor);
        // The file is new, so nobody misses it.
        _wunlink(path);
        errno = reason;
    }
    return fp;
}

using OpenFn = FILE* (*)(const wchar_t* path, const wchar_t* mode);

FILE* open_with(OpenFn open, const char* path, const char* mode, FileResult* result) {
    const SystemPath wide_path(path);
    u32 code = 0;
    wchar_t* wide_mode = widen_text(mode, &code);
    if (wide_path.get() == nullptr || wide_mode == nullptr) {
        free(wide_mode);
        *result = FileResult::kBadPath;
        return nullptr;
    }
    errno = 0;
    const InvalidParametersFail guard;
    FILE* fp = open(wide_path.get(), wide_mode);
    *result = fp != nullptr ? FileResult::kOk : result_of_name(result_of_errno(), wide_path.get());
    free(wide_mode);
    return fp;
}

// The system's conversions count in 31 bits, so a longer text is converted in pieces of at most
// this many units. Even three units out of one stay below 2^31.
constexpr size_t kPiece = size_t{1} << 28;

}  // namespace

char* narrow_text(const wchar_t* text, u32* code) {
    return narrow_in_pieces<kPiece>(text, code);
}

wchar_t* widen_text(const char* text, u32* code) {
    return widen_in_pieces<kPiece>(text, code);
}

FILE* open_file(const char* path, const char* mode, FileResult* result) {
    return open_with(_wfopen, path, mode, result);
}

FILE* open_new_file(const char* path, const char* mode, FileResult* result) {
    // A mode that only reads creates nothing.
    return open_with(mode[0] == 'r' ? _wfopen : create_file, path, mode, result);
}

FileResult make_temp_name(char* tmpl) {
    // The runtime tests whether a file has the name that it makes, so it must be given the name
    // that the file will have.
    SystemPath wide(tmpl);
    if (wide.get() == nullptr)
        return FileResult::kOther;
    errno = 0;
    const InvalidParametersFail guard;
    if (_wmktemp(wide.get()) == nullptr)
        return result_of_errno();
    char* suffix = tmpl + strlen(tmpl) - kTempSuffixLength;
    const wchar_t* made = wide.get() + wcslen(wide.get()) - kTempSuffixLength;
    // The runtime writes digits and small letters only, which are the same in UTF-8.
    for (size_t i = 0; i < kTempSuffixLength; ++i)
        suffix[i] = static_cast<char>(made[i]);
    return FileResult::kOk;
}

FileResult check_access(const char* path, int mode) {
    const SystemPath wide(path);
    if (wide.get() == nullptr)
        return FileResult::kBadPath;
    const InvalidParametersFail guard;
    return _waccess(wide.get(), mode) == 0 ? FileResult::kOk : result_of_errno();
}

FileResult remove_dir(const char* path) {
    const SystemPath wide(path);
    if (wide.get() == nullptr)
        return FileResult::kBadPath;
    return RemoveDirectoryW(wide.get()) ? FileResult::kOk : result_of_last_error();
}

FileResult remove_file(const char* path) {
    const SystemPath wide(path);
    if (wide.get() == nullptr)
        return FileResult::kBadPath;
    if (DeleteFileW(wide.get()))
        return FileResult::kOk;
    return result_of_name(result_of_last_error(), wide.get());
}

FileResult rename_file(const char* from, const char* to) {
    const SystemPath wide_from(from);
    const SystemPath wide_to(to);
    if (wide_from.get() == nullptr && wide_to.get() == nullptr)
        return FileResult::kBadPath;
    if (wide_from.get() == nullptr || wide_to.get() == nullptr)
        return FileResult::kOther;
    const InvalidParametersFail guard;
    if (_wrename(wide_from.get(), wide_to.get()) == 0)
        return FileResult::kOk;
    return result_of_name(result_of_name(result_of_errno(), wide_from.get()), wide_to.get());
}

u32 make_dir(const char* path) {
    const SystemPath wide(path);
    if (wide.get() == nullptr)
        return kErrorNotEnoughMemory;
    return CreateDirectoryW(wide.get(), nullptr) ? kErrorNone : GetLastError();
}

PathKind path_kind(const char* path) {
    const SystemPath wide(path);
    if (wide.get() == nullptr)
        return PathKind::kUnknown;
    const DWORD attributes = GetFileAttributesW(wide.get());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return PathKind::kUnknown;
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? PathKind::kDirectory : PathKind::kOther;
}

char* executable_path() {
    wchar_t path[MAX_PATH];
    if (GetModuleFileNameW(nullptr, path, MAX_PATH) == 0)
        return nullptr;
    path[MAX_PATH - 1] = L'\0';
    u32 code = 0;
    return narrow_text(path, &code);
}

// libuv converts a path to at most 32,768 UTF-16 units and lets the system measure it first, with
// an int. A unit comes from at most three bytes of UTF-8, so longer paths would not fit anyway.
int open_module(const char* path, uv_lib_t* lib) {
    constexpr size_t kMaxPath = size_t{3} * 32768;
    *lib = {};
    return strnlen(path, kMaxPath) == kMaxPath ? UV_ENAMETOOLONG : uv_dlopen(path, lib);
}

void lock_stream(FILE* fp) {
    _lock_file(fp);
}

void unlock_stream(FILE* fp) {
    _unlock_file(fp);
}

int getc_locked(FILE* fp) {
    return _getc_nolock(fp);
}

// The Universal C Runtime keeps the layout of its streams to itself.
BufferedBytes buffered_bytes(FILE*) {
    return {};
}

void skip_buffered(FILE*, const char*) {}

i64 stream_position(FILE* fp) {
    // A long has 32 bits here, and not every runtime refuses a position that does not fit into one.
    return _ftelli64(fp);
}

size_t write_stream(FILE* fp, const char* bytes, size_t count) {
    // A stream of wide characters refuses an odd number of bytes as a bad argument.
    const InvalidParametersFail guard;
    return fwrite(bytes, 1, count, fp);
}

}  // namespace ke::os
