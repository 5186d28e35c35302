// The seam's memory, threads, time and formatting on Windows, on top of the runtime's own
// functions. Files and text encoding are in windows_files.cpp.
#define _CRT_RAND_S  // NOLINT(bugprone-reserved-identifier): asks for rand_s()
#include <windows.h>

#include <malloc.h>
#include <stdio.h>
#include <time.h>
#include <clocale>

#include "os/format_check.h"
#include "os/invalid_parameters.h"
#include "os/os.h"

namespace ke::os {

void* aligned_alloc(size_t size, size_t alignment) {
    const InvalidParametersFail guard;
    return _aligned_malloc(size, alignment);
}

void aligned_free(void* ptr) {
    _aligned_free(ptr);
}

i32 thread_id() {
    return static_cast<i32>(GetCurrentThreadId());
}

u64 random_u64() {
    unsigned high = 0;
    unsigned low = 0;
    if (rand_s(&high) == 0 && rand_s(&low) == 0)
        return u64{high} << 32 | low;
    // Addresses also differ from process to process, so the address of a local variable is mixed
    // in.
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    const u64 number = static_cast<u64>(now.QuadPart) << 32 ^ GetCurrentProcessId();
    return number ^ reinterpret_cast<u64>(&now);
}

void sleep_ms(u32 ms) {
    Sleep(ms);
}

i64 unix_time() {
    return _time64(nullptr);
}

bool utc_time(i64 seconds, struct tm* out) {
    const __time64_t value = seconds;
    const InvalidParametersFail guard;
    return _gmtime64_s(out, &value) == 0;
}

namespace {

// The older runtime skips the letters that told far pointers from near ones on 16-bit systems.
#if defined(_UCRT)
constexpr const char* kModifiers = "";
#else
constexpr const char* kModifiers = "F";
#endif

// Made when the library is loaded, and kept for the life of the process. If it cannot be made it is
// nullptr, and the runtime formats in the process's own locale. It is not a static variable of the
// function below, because the compiler would guard that with a lock, and the compiler's locks bring
// threads and exceptions into the DLL.
const _locale_t kCLocale = _create_locale(LC_ALL, "C");

_locale_t c_locale() {
    return kCLocale;
}

// Returns the size of a buffer as it is passed to the runtime. No text has more than INT32_MAX
// characters, and Wine's runtime takes sizes modulo 2^32.
size_t bounded(size_t size) {
    constexpr size_t kMaxSize = size_t{1} << 31;
    return size < kMaxSize ? size : kMaxSize;
}

}  // namespace

i32 format_length(const char* format, va_list args) {
    if (format == nullptr || is_refused_format(format, kModifiers))
        return -1;
    const InvalidParametersFail guard;
    return _vscprintf_p_l(format, c_locale(), args);
}

i32 format_text(char* buf, size_t size, const char* format, va_list args) {
    if (buf == nullptr || size == 0 || format == nullptr || is_refused_format(format, kModifiers))
        return -1;
    const InvalidParametersFail guard;
    size = bounded(size);
    const i32 length = _vsprintf_p_l(buf, size, format, c_locale(), args);
    if (length >= 0 && static_cast<size_t>(length) < size)
        return length;
    // A text of exactly `size` characters may be reported as a success, without its NUL.
    buf[size - 1] = '\0';
    return -1;
}

// The runtime's function fails in the same way for a text that is too long and for a format that it
// refuses, so a failed call is followed by one that measures.
i32 format_or_measure(char* buf, size_t size, const char* format, va_list args) {
    va_list counted;  // NOLINT(cppcoreguidelines-init-variables): the next line does it
    va_copy(counted, args);
    i32 length = format_text(buf, size, format, args);
    if (length < 0)
        length = format_length(format, counted);
    va_end(counted);
    return length;
}

i32 format_length_plain(const char* format, va_list args) {
    if (format == nullptr || is_refused_format(format, kModifiers))
        return -1;
    const InvalidParametersFail guard;
    return _vscprintf_l(format, c_locale(), args);
}

i32 format_text_cut(char* buf, size_t size, const char* format, va_list args) {
    buf[0] = '\0';
    if (format == nullptr || is_refused_format(format, kModifiers))
        return -1;
    const InvalidParametersFail guard;
    // The result is also negative for a text that was cut, so it is ignored.
    _vsnprintf_s_l(buf, bounded(size), _TRUNCATE, format, c_locale(), args);
    return 0;
}

i32 format_stream(FILE* fp, const char* format, va_list args) {
    if (is_refused_format(format, kModifiers))
        return -1;
    const InvalidParametersFail guard;
    return _vfprintf_p_l(fp, format, c_locale(), args);
}

}  // namespace ke::os
