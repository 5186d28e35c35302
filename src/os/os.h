// The seam with the operating system and the C runtime. Everything that differs between platforms
// is declared here once and implemented twice, in posix*.cpp and windows*.cpp. Nothing outside
// src/os asks which platform it is on. What is the same everywhere (malloc, strlen, qsort) is not
// here, and nothing here depends on the library's containers or JSON.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <ctime>

#include "ke_utils/types.h"

namespace ke::os {

// --- Memory --------------------------------------------------------------------------------------

// Returns a block of `size` bytes at a multiple of `alignment`, or nullptr when out of memory. The
// alignment must be a power of two, and the sum of both must be far below the largest size. The
// block is released with aligned_free() only.
void* aligned_alloc(size_t size, size_t alignment);
void aligned_free(void* ptr);

// --- Threads -------------------------------------------------------------------------------------

// Returns a positive number that no other living thread of this process has.
i32 thread_id();

// --- Secrets -------------------------------------------------------------------------------------

// Returns a number that nobody outside the process can guess. If the system cannot provide one, the
// number at least differs from process to process.
u64 random_u64();

// --- Time ----------------------------------------------------------------------------------------

void sleep_ms(u32 ms);
// Returns the seconds since 1970-01-01 00:00:00 UTC.
i64 unix_time();
// Breaks a time down to UTC; returns false if the time cannot be expressed.
bool utc_time(i64 seconds, struct tm* out);

// --- Formatting, always in the "C" locale --------------------------------------------------------
// A format that is_refused_format() refuses fails here as if the runtime had rejected it.

// Returns the length of the text without its NUL, or a negative number if the runtime rejects the
// format. Positional arguments ("%2$s") are allowed.
i32 format_length(const char* format, va_list args);
// Formats into `size` bytes, and returns the length, or a negative number on failure, which
// includes a text that does not fit. Positional arguments are allowed.
i32 format_text(char* buf, size_t size, const char* format, va_list args);
// Does what format_text() does, but a text that does not fit is not a failure: its length, `size`
// or more, is returned, and the content of the buffer is then unspecified.
i32 format_or_measure(char* buf, size_t size, const char* format, va_list args);
// Does what format_length() does, without positional arguments.
i32 format_length_plain(const char* format, va_list args);
// Does what format_text() does, without positional arguments; cuts the text to `size` - 1
// characters and always terminates it. Returns 0; or -1, with an empty text, if the runtime reports
// a failure, which may happen for a text that it has measured.
i32 format_text_cut(char* buf, size_t size, const char* format, va_list args);
// Does what vfprintf() does, in the "C" locale: returns the number of characters written, or a
// negative number.
i32 format_stream(FILE* fp, const char* format, va_list args);

// --- Text encoding; the codes are Windows system error numbers -----------------------------------

constexpr u32 kErrorNone = 0;
constexpr u32 kErrorPathNotFound = 3;
constexpr u32 kErrorAccessDenied = 5;
constexpr u32 kErrorNotEnoughMemory = 8;
constexpr u32 kErrorAlreadyExists = 183;
constexpr u32 kErrorNoUnicodeTranslation = 1113;

// Returns a new UTF-8 text made from a wide one, or nullptr with the reason in *code. Invalid text
// is an error.
char* narrow_text(const wchar_t* text, u32* code);
// Returns a new wide text made from a UTF-8 one, or nullptr with the reason in *code. Invalid bytes
// are replaced.
wchar_t* widen_text(const char* text, u32* code);

// --- Files; paths are UTF-8 with either separator ------------------------------------------------

// The outcome of a file operation, which the callers map to their statuses.
enum class FileResult {
    kOk,
    kBadPath,       // the path cannot be converted to the system's encoding
    kNotFound,      // ENOENT, or the system's "file or path not found"
    kAccessDenied,  // EACCES, or the system's "access denied"
    kInvalid,       // EINVAL
    kOther,
};

// Opens a stream, or returns nullptr with the reason in *result.
FILE* open_file(const char* path, const char* mode, FileResult* result);
// Replaces the kTempSuffixLength "X" at the end of `tmpl` so that no existing file has the name.
// The caller must have checked that they are there.
constexpr size_t kTempSuffixLength = 6;
FileResult make_temp_name(char* tmpl);
// Opens a stream for a file that must not exist before the call, if the mode creates files.
FILE* open_new_file(const char* path, const char* mode, FileResult* result);
// Does what access() does, with mode 0, 2, 4 or 6.
FileResult check_access(const char* path, int mode);
FileResult remove_dir(const char* path);
FileResult remove_file(const char* path);
FileResult rename_file(const char* from, const char* to);
// Makes one directory; returns kErrorNone or the system error code.
u32 make_dir(const char* path);
// What a path leads to.
enum class PathKind { kDirectory, kOther, kUnknown };
PathKind path_kind(const char* path);
// Returns the full path of the running executable as a new UTF-8 text, or nullptr if it cannot be
// determined.
char* executable_path();

// --- Streams, locked once and then read in bulk --------------------------------------------------

void lock_stream(FILE* fp);
void unlock_stream(FILE* fp);
// Does what getc() does, for a stream that the caller has locked.
int getc_locked(FILE* fp);
// Returns the bytes that getc_locked() can return without asking the system: the unread ones in the
// buffer of a stream that the caller has locked. Empty if there are none, or if the runtime does
// not expose its buffer.
struct BufferedBytes {
    const char* first;
    const char* last;
};
BufferedBytes buffered_bytes(FILE* fp);
// Marks the buffered bytes before `end` as read.
void skip_buffered(FILE* fp, const char* end);
// Does what ftell() does, for large files too.
i64 stream_position(FILE* fp);
// Does what fwrite() does for bytes: returns how many of them the stream has taken.
size_t write_stream(FILE* fp, const char* bytes, size_t count);

}  // namespace ke::os
