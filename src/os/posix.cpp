// The seam's memory, threads, time and formatting on POSIX systems. Files are in posix_files.cpp,
// text encoding in posix_encoding.cpp.
#include <locale.h>
#include <sys/random.h>
#include <time.h>
#include <unistd.h>
#include <cerrno>
#include <clocale>
#include <cstdlib>

#include "os/format_check.h"
#include "os/os.h"

namespace ke::os {

void* aligned_alloc(size_t size, size_t alignment) {
    void* block = nullptr;
    // posix_memalign() accepts no smaller alignment than that of a pointer.
    const size_t at_least_pointer = alignment < sizeof(void*) ? sizeof(void*) : alignment;
    return posix_memalign(&block, at_least_pointer, size) == 0 ? block : nullptr;
}

void aligned_free(void* ptr) {
    free(ptr);
}

i32 thread_id() {
    return gettid();
}

u64 random_u64() {
    u64 number = 0;
    if (getrandom(&number, sizeof(number), 0) == static_cast<ssize_t>(sizeof(number)))
        return number;
    // Addresses also differ from process to process, so the address of a local variable is mixed
    // in.
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    number = static_cast<u64>(now.tv_nsec) << 32 ^ static_cast<u64>(now.tv_sec) ^
             static_cast<u64>(getpid());
    return number ^ reinterpret_cast<u64>(&number);
}

void sleep_ms(u32 ms) {
    timespec left{static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000L};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

i64 unix_time() {
    return time(nullptr);
}

bool utc_time(i64 seconds, struct tm* out) {
    // The end of the year 3000 at UTC-8. The runtimes of Windows convert about as far.
    constexpr i64 kMaxSeconds = 32535244799;
    if (out == nullptr || seconds < 0 || seconds > kMaxSeconds)
        return false;
    const time_t value = static_cast<time_t>(seconds);
    return gmtime_r(&value, out) != nullptr;
}

namespace {

// While an object of this class exists, the calling thread formats in the "C" locale. Other
// threads, and the setting of the process, are untouched.
class CLocaleScope {
  public:
    CLocaleScope() : before_(uselocale(c_locale())) {}
    ~CLocaleScope() { uselocale(before_); }
    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;

  private:
    // Made once and kept for the life of the process. If it cannot be made, uselocale() gets no
    // locale and leaves the thread as it is.
    static locale_t c_locale() {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }

    locale_t before_;
};

}  // namespace

i32 format_length(const char* format, va_list args) {
    if (format == nullptr || is_refused_format(format))
        return -1;
    const CLocaleScope scope;
    return vsnprintf(nullptr, 0, format, args);
}

i32 format_text(char* buf, size_t size, const char* format, va_list args) {
    if (buf == nullptr || size == 0)
        return -1;
    const i32 length = format_or_measure(buf, size, format, args);
    return length < 0 || static_cast<size_t>(length) >= size ? -1 : length;
}

i32 format_or_measure(char* buf, size_t size, const char* format, va_list args) {
    if (format == nullptr || is_refused_format(format))
        return -1;
    const CLocaleScope scope;
    return vsnprintf(buf, size, format, args);
}

// vsnprintf() handles positional arguments itself, so both functions do the same.
i32 format_length_plain(const char* format, va_list args) {
    return format_length(format, args);
}

i32 format_text_cut(char* buf, size_t size, const char* format, va_list args) {
    if (format_or_measure(buf, size, format, args) >= 0)
        return 0;
    buf[0] = '\0';
    return -1;
}

i32 format_stream(FILE* fp, const char* format, va_list args) {
    if (is_refused_format(format))
        return -1;
    const CLocaleScope scope;
    return vfprintf(fp, format, args);
}

}  // namespace ke::os
