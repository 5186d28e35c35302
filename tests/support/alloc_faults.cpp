// See alloc_faults.h.
#include "support/alloc_faults.h"

// Must come first, because libuv's header must be the one that includes the system's headers.
#include <uv.h>

#include <gtest/gtest.h>
#include <malloc.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

std::atomic<long> g_live{0};
std::atomic<long> g_bytes{0};
std::atomic<long> g_peak{0};
// Faults apply only to the thread that armed them; allocations of a test's other threads succeed.
thread_local AllocFaults* t_armed = nullptr;

bool fault() {
    if (t_armed != nullptr && g_on_allocation != nullptr)
        g_on_allocation();
    return t_armed != nullptr && t_armed->should_fail();
}

long size_of_block(void* block) {
#ifdef _WIN32
    return block == nullptr ? 0 : static_cast<long>(_msize(block));
#else
    return static_cast<long>(malloc_usable_size(block));
#endif
}

void add_bytes(long bytes) {
    const long now = g_bytes.fetch_add(bytes, std::memory_order_relaxed) + bytes;
    long peak = g_peak.load(std::memory_order_relaxed);
    while (now > peak && !g_peak.compare_exchange_weak(peak, now, std::memory_order_relaxed)) {
    }
}

void* counted(void* block) {
    if (block != nullptr) {
        g_live.fetch_add(1, std::memory_order_relaxed);
        add_bytes(size_of_block(block));
    }
    return block;
}

}  // namespace

void AllocFaults::arm() {
    t_armed = this;
}

void AllocFaults::disarm() {
    t_armed = nullptr;
}

bool AllocFaults::should_fail() {
    ++seen_;
    const bool strike = mode_ == kTransient ? seen_ == nth_ : seen_ >= nth_;
    fired_ = fired_ || strike;
    return strike;
}

bool g_fail_mutex_init = false;
void (*g_on_allocation)() = nullptr;

long live_blocks() {
    return g_live.load(std::memory_order_relaxed);
}

long live_bytes() {
    return g_bytes.load(std::memory_order_relaxed);
}

long peak_bytes() {
    return g_peak.load(std::memory_order_relaxed);
}

void begin_peak() {
    g_peak.store(live_bytes(), std::memory_order_relaxed);
}

namespace {

// At the end of a test program, prints how many allocations were made to fail.
struct Tally {
    Tally() = default;
    Tally(const Tally&) = delete;
    Tally& operator=(const Tally&) = delete;
    ~Tally() { printf("%zu failure points swept\n", points); }
    size_t points = 0;
};
Tally g_tally;

}  // namespace

size_t SweepAllocations(const std::function<void(AllocFaults&)>& body, size_t limit) {
    size_t points = 0;
    for (AllocFaults::Mode mode : {AllocFaults::kTransient, AllocFaults::kPersistent}) {
        for (size_t nth = 1;; ++nth) {
            if (nth > limit) {
                ADD_FAILURE() << "still failing at allocation " << nth;
                return points;
            }
            SCOPED_TRACE(testing::Message() << (mode == AllocFaults::kTransient ? "only" : "from")
                                            << " allocation " << nth << " failing");
            AllocFaults faults(nth, mode);
            const long before = live_blocks();
            body(faults);
            faults.disarm();
            EXPECT_EQ(live_blocks(), before) << "leaked or over-released blocks";
            if (!faults.fired())
                break;
            ++points;
            ++g_tally.points;
            if (testing::Test::HasFatalFailure())
                return points;
        }
    }
    return points;
}

extern "C" {

#if defined(_WIN32) && defined(__clang__)
// lld also redirects the import of a wrapped function to its wrapper, so the runtime's own functions are
// looked up by name.
#define KE_REAL(name)                  \
    reinterpret_cast<decltype(&name)>( \
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ucrtbase.dll"), #name)))

static void* __real_malloc(size_t size) {
    static const auto real = KE_REAL(malloc);
    return real(size);
}

static void* __real_calloc(size_t count, size_t size) {
    static const auto real = KE_REAL(calloc);
    return real(count, size);
}

static void* __real_realloc(void* ptr, size_t size) {
    static const auto real = KE_REAL(realloc);
    return real(ptr, size);
}

static void __real_free(void* ptr) {
    static const auto real = KE_REAL(free);
    real(ptr);
}
#else
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* ptr, size_t size);
void __real_free(void* ptr);
#endif

void* __wrap_malloc(size_t size) {
    return fault() ? nullptr : counted(__real_malloc(size));
}

void* __wrap_calloc(size_t count, size_t size) {
    return fault() ? nullptr : counted(__real_calloc(count, size));
}

void* __wrap_realloc(void* ptr, size_t size) {
    if (size != 0 && fault())
        return nullptr;
    const long size_before = size_of_block(ptr);
    void* block = __real_realloc(ptr, size);
    if (ptr == nullptr)
        return counted(block);
    if (size == 0)
        g_live.fetch_sub(1, std::memory_order_relaxed);
    if (size == 0 || block != nullptr) {
        add_bytes(size_of_block(block));
        add_bytes(-size_before);
    }
    return block;
}

void __wrap_free(void* ptr) {
    if (ptr != nullptr) {
        g_live.fetch_sub(1, std::memory_order_relaxed);
        g_bytes.fetch_sub(size_of_block(ptr), std::memory_order_relaxed);
    }
    __real_free(ptr);
}

char* __wrap_strdup(const char* text) {
    const size_t size = strlen(text) + 1;
    void* copy = __wrap_malloc(size);
    return copy == nullptr ? nullptr : static_cast<char*>(memcpy(copy, text, size));
}

// The Windows runtime's name for strdup().
char* __wrap__strdup(const char* text) {
    return __wrap_strdup(text);
}

}  // extern "C"

void* malloc_without_fault(size_t size) {
    return counted(__real_malloc(size));
}

extern "C" {

#ifdef USING_UV_SHARED
// The pointers by which the functions of libuv's DLL are called.
extern int (*__real___imp_uv_mutex_init)(uv_mutex_t* mutex);
extern int (*__real___imp_uv_mutex_init_recursive)(uv_mutex_t* mutex);

extern int (*__wrap___imp_uv_mutex_init)(uv_mutex_t* mutex);
extern int (*__wrap___imp_uv_mutex_init_recursive)(uv_mutex_t* mutex);

int (*__wrap___imp_uv_mutex_init)(uv_mutex_t* mutex) = [](uv_mutex_t* mutex) {
    return g_fail_mutex_init ? UV_EAGAIN : __real___imp_uv_mutex_init(mutex);
};
int (*__wrap___imp_uv_mutex_init_recursive)(uv_mutex_t* mutex) = [](uv_mutex_t* mutex) {
    return g_fail_mutex_init ? UV_EAGAIN : __real___imp_uv_mutex_init_recursive(mutex);
};
#else
int __real_uv_mutex_init(uv_mutex_t* mutex);
int __real_uv_mutex_init_recursive(uv_mutex_t* mutex);

int __wrap_uv_mutex_init(uv_mutex_t* mutex) {
    return g_fail_mutex_init ? UV_EAGAIN : __real_uv_mutex_init(mutex);
}

int __wrap_uv_mutex_init_recursive(uv_mutex_t* mutex) {
    return g_fail_mutex_init ? UV_EAGAIN : __real_uv_mutex_init_recursive(mutex);
}
#endif

}  // extern "C"
