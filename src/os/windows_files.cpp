// Files, directories, text conversion and stream locks on Windows: the wide-character functions of the
// system and of the runtime. Paths are UTF-8 until they get here.

// libuv's header wants to be the first to bring in the system's.
#include "os/module.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "os/invalid_parameters.h"
#include "os/os.h"
#include "os/windows_path.h"

namespace ke::os {

namespace {

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

// Some of the system's calls find a name that is too long, and some say that it is none.
FileResult result_of_name(FileResult result, const wchar_t* path) {
    const bool unclear = result == FileResult::kInvalid || result == FileResult::kOther;
    return unclear && is_too_long(path) ? FileResult::kNotFound : result;
}

// The flags of _wopen() for a mode of fopen() that creates a file which must not exist.
int exclusive_flags(const wchar_t* mode) {
    int flags = _O_CREAT | _O_EXCL | (mode[0] == L'a' ? _O_APPEND : 0);
    flags |= wcschr(mode, L'+') != nullptr ? _O_RDWR : _O_WRONLY;
    return flags | (wcschr(mode, L'b') != nullptr ? _O_BINARY : _O_TEXT);
}

FILE* create_file(const wchar_t* path, const wchar_t* mode) {
    const int descriptor = _wopen(path, exclusive_flags(mode), _S_IREAD | _S_IWRITE);
    if (descriptor == -1)
        return nullptr;
    FILE* fp = _wfdopen(descriptor, mode);
    if (fp == nullptr) {
        const int reason = errno;
        _close(descriptor);
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

}  // namespace

char* narrow_text(const wchar_t* text, u32* code) {
    const int size =
        WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text, -1, nullptr, 0, nullptr, nullptr);
    if (size == 0) {
        *code = GetLastError();
        return nullptr;
    }
    char* narrowed = static_cast<char*>(malloc(static_cast<size_t>(size)));
    if (narrowed == nullptr) {
        *code = kErrorNotEnoughMemory;
        return nullptr;
    }
    WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text, -1, narrowed, size, nullptr, nullptr);
    *code = kErrorNone;
    return narrowed;
}

wchar_t* widen_text(const char* text, u32* code) {
    const int count = MultiByteToWideChar(CP_UTF8, 0, text, -1, nullptr, 0);
    if (count == 0) {
        *code = GetLastError();
        return nullptr;
    }
    auto* widened = static_cast<wchar_t*>(malloc(static_cast<size_t>(count) * sizeof(wchar_t)));
    if (widened == nullptr) {
        *code = kErrorNotEnoughMemory;
        return nullptr;
    }
    MultiByteToWideChar(CP_UTF8, 0, text, -1, widened, count);
    *code = kErrorNone;
    return widened;
}

FILE* open_file(const char* path, const char* mode, FileResult* result) {
    return open_with(_wfopen, path, mode, result);
}

FILE* open_new_file(const char* path, const char* mode, FileResult* result) {
    // A mode that only reads creates nothing.
    return open_with(mode[0] == 'r' ? _wfopen : create_file, path, mode, result);
}

FileResult make_temp_name(char* tmpl) {
    // The runtime looks for files of the name that it makes, so it must see the name that the file will have.
    SystemPath wide(tmpl);
    if (wide.get() == nullptr)
        return FileResult::kOther;
    errno = 0;
    const InvalidParametersFail guard;
    if (_wmktemp(wide.get()) == nullptr)
        return result_of_errno();
    constexpr size_t kPlaces = 6;
    char* places = tmpl + strlen(tmpl) - kPlaces;
    const wchar_t* made = wide.get() + wcslen(wide.get()) - kPlaces;
    // Digits and small letters.
    for (size_t i = 0; i < kPlaces; ++i)
        places[i] = static_cast<char>(made[i]);
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

int open_module(const char* path, uv_lib_t* lib) {
    return uv_dlopen(path, lib);
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

size_t write_stream(FILE* fp, const char* bytes, size_t count) {
    // A stream of wide characters takes no odd number of bytes.
    const InvalidParametersFail guard;
    return fwrite(bytes, 1, count, fp);
}

}  // namespace ke::os
