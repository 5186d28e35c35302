// The seam with the operating system and the C runtime: everything that differs between platforms is
// declared here once and implemented twice, in posix*.cpp and windows*.cpp. Nothing outside src/os asks
// which platform it is on. What is the same everywhere (malloc, strlen, qsort) is not here, and nothing
// here knows the library's containers or JSON.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <ctime>

#include "ke_utils/types.h"

namespace ke::os {

// --- Memory ------------------------------------------------------------------------------------------

// A block of `size` bytes at a multiple of `alignment`, a power of two; the sum of both is far from the
// largest size. Released with aligned_free() only; nullptr without memory.
void* aligned_alloc(size_t size, size_t alignment);
void aligned_free(void* ptr);

// --- Threads -----------------------------------------------------------------------------------------

// A positive number that no other living thread of this process has.
i32 thread_id();

// --- Secrets -----------------------------------------------------------------------------------------

// A number that nobody outside of the process can guess. If the system has none to give, one that is at least
// different in each process.
u64 random_u64();

// --- Time --------------------------------------------------------------------------------------------

void sleep_ms(u32 ms);
// Seconds since 1970-01-01 00:00:00 UTC.
i64 unix_time();
// Broken-down UTC time; false when the time cannot be expressed.
bool utc_time(i64 seconds, struct tm* out);

// --- Formatting, always in the "C" locale ------------------------------------------------------------
// A format with a "%n" conversion, or with a gap in its positions, fails here as one that the runtime rejects.

// The length the text needs, without its NUL; positional arguments ("%2$s") allowed; negative on a format
// that the runtime rejects.
i32 format_length(const char* format, va_list args);
// Formats into `size` bytes, positional arguments allowed; the length, or negative on failure (also when
// the text does not fit).
i32 format_text(char* buf, size_t size, const char* format, va_list args);
// As format_text(), but a text that does not fit is no failure: its length, `size` or more, and the bytes then
// hold nothing of use.
i32 format_or_measure(char* buf, size_t size, const char* format, va_list args);
// As format_length(), without positional arguments.
i32 format_length_plain(const char* format, va_list args);
// As format_text() without positional arguments, cut to `size` - 1 characters and always terminated.
void format_text_cut(char* buf, size_t size, const char* format, va_list args);
// vfprintf() in the "C" locale: characters written, or negative.
i32 format_stream(FILE* fp, const char* format, va_list args);

// --- Text encoding; the codes are Windows system error numbers ---------------------------------------

constexpr u32 kErrorNone = 0;
constexpr u32 kErrorPathNotFound = 3;
constexpr u32 kErrorAccessDenied = 5;
constexpr u32 kErrorNotEnoughMemory = 8;
constexpr u32 kErrorAlreadyExists = 183;
constexpr u32 kErrorNoUnicodeTranslation = 1113;

// A new UTF-8 text of a wide one, or nullptr with the reason in *code. Invalid text is an error.
char* narrow_text(const wchar_t* text, u32* code);
// A new wide text of a UTF-8 one, or nullptr with the reason in *code. Invalid bytes are replaced.
wchar_t* widen_text(const char* text, u32* code);

// --- Files; paths are UTF-8 with either separator ----------------------------------------------------

// What a file operation came to, so that callers map it to their statuses.
enum class FileResult {
    kOk,
    kBadPath,       // the path cannot be converted to the system's encoding
    kNotFound,      // ENOENT, or the system's "file or path not found"
    kAccessDenied,  // EACCES, or the system's "access denied"
    kInvalid,       // EINVAL
    kOther,
};

// Opens a stream; *result says why it is nullptr.
FILE* open_file(const char* path, const char* mode, FileResult* result);
// Replaces the six "X" at the end of tmpl by characters that make the name of no existing file.
FileResult make_temp_name(char* tmpl);
// Opens a file that must not exist before the call, for a mode that creates files.
FILE* open_new_file(const char* path, const char* mode, FileResult* result);
// access() with mode 0, 2, 4 or 6.
FileResult check_access(const char* path, int mode);
FileResult remove_dir(const char* path);
FileResult remove_file(const char* path);
FileResult rename_file(const char* from, const char* to);
// Makes one directory: kErrorNone or the system error code.
u32 make_dir(const char* path);
// Whether a path is a directory.
enum class PathKind { kDirectory, kOther, kUnknown };
PathKind path_kind(const char* path);
// The full path of the running executable, new, in UTF-8; nullptr when it cannot be had.
char* executable_path();

// --- Streams, locked once and then read in bulk ------------------------------------------------------

void lock_stream(FILE* fp);
void unlock_stream(FILE* fp);
// getc() on a stream that the caller has locked.
int getc_locked(FILE* fp);
// ftell() of large files, too.
i64 stream_position(FILE* fp);
// fwrite() of bytes: how many the stream has taken.
size_t write_stream(FILE* fp, const char* bytes, size_t count);

}  // namespace ke::os
