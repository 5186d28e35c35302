// Files, directories, text conversion and stream locks on Windows, by means of the wide-character
// functions of the system and of the runtime. Paths are UTF-8 until they get here.

// First, because libuv's header must be the one that includes the headers of the system.
#include "os/module.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>
#include <climits>
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

// Makes a name that is too long "not found", as it is on the other platform: only some of the
// system's calls say so.
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

bool continues(char byte) {
    return (static_cast<u8>(byte) & 0xC0) == 0x80;
}

// Returns the length of the next piece, so that no sequence and no surrogate pair is cut in two. If
// none of the last three bytes begins a sequence, the byte after them continues none, and the piece
// may end there.
size_t piece_of(const char* text, size_t left) {
    if (left <= kPiece)
        return left;
    size_t end = kPiece;
    while (end != kPiece - 3 && continues(text[end]))
        --end;
    return continues(text[end]) ? kPiece : end;
}
size_t piece_of(const wchar_t* text, size_t left) {
    if (left <= kPiece)
        return left;
    return IS_HIGH_SURROGATE(text[kPiece - 1]) ? kPiece - 1 : kPiece;
}

// Converts a text of `length` units with `piece`, which converts one piece of it, or measures it if
// there is no room. Returns a new text, or nullptr with the reason in *code. The first loop
// measures, the second converts, so both must cut the text into the same pieces.
template <class To, class From, class Convert>
To* convert(const From* text, size_t length, const Convert& piece, u32* code) {
    size_t size = 0;
    for (size_t at = 0, some = 0; at != length; at += some) {
        some = piece_of(text + at, length - at);
        const int made = piece(text + at, static_cast<int>(some), nullptr, 0);
        if (made == 0) {
            *code = GetLastError();
            return nullptr;
        }
        size += static_cast<size_t>(made);
    }
    To* converted = static_cast<To*>(malloc((size + 1) * sizeof(To)));
    if (converted == nullptr) {
        *code = kErrorNotEnoughMemory;
        return nullptr;
    }
    To* out = converted;
    To* const end = converted + size;
    for (size_t at = 0, some = 0; at != length; at += some) {
        some = piece_of(text + at, length - at);
        const int room = end - out < INT_MAX ? static_cast<int>(end - out) : INT_MAX;
        out += piece(text + at, static_cast<int>(some), out, room);
    }
    *end = 0;
    *code = kErrorNone;
    return converted;
}

}  // namespace

char* narrow_text(const wchar_t* text, u32* code) {
    const auto narrow = [](const wchar_t* from, int count, char* to, int room) {
        return WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, from, count, to, room, nullptr,
                                   nullptr);
    };
    return convert<char>(text, wcslen(text), narrow, code);
}

wchar_t* widen_text(const char* text, u32* code) {
    const auto widen = [](const char* from, int count, wchar_t* to, int room) {
        return MultiByteToWideChar(CP_UTF8, 0, from, count, to, room);
    };
    return convert<wchar_t>(text, strlen(text), widen, code);
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
    constexpr size_t kPlaces = 6;
    char* places = tmpl + strlen(tmpl) - kPlaces;
    const wchar_t* made = wide.get() + wcslen(wide.get()) - kPlaces;
    // The runtime writes digits and small letters only, which are the same in UTF-8.
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
