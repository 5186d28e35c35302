/**
 * @file platform.hpp
 * Wraps the time functions, dynamic libraries, the allocation hooks and the leak tracker. Two
 * classes restore the hooks at the end of a scope.
 */
#ifndef KE_PLATFORM_HPP
#define KE_PLATFORM_HPP

#include <chrono>
#include <ctime>

#include "ke/status.hpp"
#include "ke/text_arg.hpp"
#include "ke_utils/core.h"

namespace ke {

/** @addtogroup cpp
 *  @{ */

/** Returns the current time in whole seconds, from the entry point wiq_time_real_ptr. */
inline std::chrono::system_clock::time_point now() noexcept {
    return std::chrono::system_clock::time_point(std::chrono::seconds(wiq_time_real_ptr(nullptr)));
}
/** Converts a time to broken-down UTC. Returns it, or WIQ_ERR_TIME_CONVERSION (-5005) if the time
 *  cannot be expressed. */
inline result<std::tm> utc(std::chrono::system_clock::time_point time) noexcept {
    const i64 seconds = std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
    std::tm fields{};
    const i32 status = wiq_gmtime_real_ptr(&seconds, &fields);
    return status == 0 ? result<std::tm>(fields) : result<std::tm>::failure(status);
}
/** Suspends the thread for at least this long. A negative time counts as 0, and a time of 2^32
 *  milliseconds or more as 2^32 - 1 milliseconds. */
inline void sleep_for(std::chrono::milliseconds time) noexcept {
    wiq_sleep_real_ptr(static_cast<u32>(time.count() < 0            ? 0
                                        : time.count() > 0xFFFFFFFF ? 0xFFFFFFFF
                                                                    : time.count()));
}
/** Returns a time of day as "hh:mm:ss.mmm". */
inline std::string time_of_day(std::chrono::milliseconds since_midnight) {
    char text[16];
    const i32 length = time_ms_to_string(static_cast<u64>(since_midnight.count()), 0, text);
    return std::string(text, static_cast<std::size_t>(length > 0 ? length - 1 : 0));
}

class dynamic_library;
namespace detail {
template <>
inline constexpr bool lends<dynamic_library> = true;
}  // namespace detail

/** Owns a loaded module and unloads it in the destructor. */
class dynamic_library {
  public:
    /** Loads a module. Returns it, or WIQ_ERR_DLOPEN (-5010) if it cannot be loaded. */
    static result<dynamic_library> open(const text_arg& path) noexcept {
        dynamic_library loaded;
        const i32 status =
            path.status() != 0 ? path.status() : wiq_dlopen_real_ptr(path.c_str(), &loaded.lib_);
        loaded.open_ = status == 0;
        return status == 0 ? result<dynamic_library>(std::move(loaded))
                           : result<dynamic_library>::failure(status);
    }
    dynamic_library(const dynamic_library&) = delete;
    dynamic_library& operator=(const dynamic_library&) = delete;
    /** @name Moves
     *  @{ */
    /** The move constructor leaves the other one empty; a move assignment exchanges the two. */
    dynamic_library(dynamic_library&& other) noexcept
        : lib_(other.lib_), open_(std::exchange(other.open_, false)) {}
    dynamic_library& operator=(dynamic_library&& other) & noexcept {
        std::swap(lib_, other.lib_);
        std::swap(open_, other.open_);
        return *this;
    }
    /** @} */
    ~dynamic_library() {
        if (open_)
            wiq_dlclose_real_ptr(&lib_);
    }
    /** Returns a pointer to a function of the module: `library.symbol<int(int)>("name")`. It is
     *  valid until the module is unloaded. Returns WIQ_ERR_DLSYM (-5011) if there is no such
     *  symbol, and ke::err_empty if no module is loaded. */
    template <class Function>
    result<Function*> symbol(const char* name) noexcept {
        static_assert(std::is_function_v<Function>,
                      "name the function's type, as int(const char*)");
        void* address = nullptr;
        const i32 status = open_ ? wiq_dlsym_real_ptr(&lib_, name, &address) : err_empty;
        return status == 0 ? result<Function*>(reinterpret_cast<Function*>(address))
                           : result<Function*>::failure(status);
    }

  private:
    dynamic_library() noexcept = default;

    wiq_lib lib_ = {nullptr, nullptr};
    bool open_ = false;
};

/** Saves the ten hook slots when it is made and restores them when it is destroyed. */
class hook_scope {
  public:
    hook_scope() noexcept = default;
    hook_scope(const hook_scope&) = delete;
    hook_scope& operator=(const hook_scope&) = delete;
    ~hook_scope() {
        wiq_malloc_pre_cb = malloc_pre_;
        wiq_malloc_post_cb = malloc_post_;
        wiq_realloc_pre_cb = realloc_pre_;
        wiq_realloc_post_cb = realloc_post_;
        wiq_aligned_alloc_pre_cb = aligned_pre_;
        wiq_aligned_alloc_post_cb = aligned_post_;
        wiq_free_cb = free_;
        wiq_aligned_free_cb = aligned_free_;
        wiq_alloc_track_pause_cb = pause_;
        wiq_alloc_track_resume_cb = resume_;
    }

  private:
    wiq_malloc_pre_fn malloc_pre_ = wiq_malloc_pre_cb;
    wiq_malloc_post_fn malloc_post_ = wiq_malloc_post_cb;
    wiq_realloc_pre_fn realloc_pre_ = wiq_realloc_pre_cb;
    wiq_realloc_post_fn realloc_post_ = wiq_realloc_post_cb;
    wiq_aligned_alloc_fn aligned_pre_ = wiq_aligned_alloc_pre_cb;
    wiq_aligned_alloc_fn aligned_post_ = wiq_aligned_alloc_post_cb;
    wiq_free_fn free_ = wiq_free_cb;
    wiq_free_fn aligned_free_ = wiq_aligned_free_cb;
    wiq_track_fn pause_ = wiq_alloc_track_pause_cb;
    wiq_track_fn resume_ = wiq_alloc_track_resume_cb;
};

/** Runs the leak tracker for a scope. The counts start at 0, and the destructor restores the hook
 *  slots. */
class leak_scope {
  public:
    /** Starts the leak tracker. */
    leak_scope() noexcept { wiq_memleak_begin(); }
    /** Returns how many blocks were allocated through the hooks and not yet released. */
    i32 balance() const noexcept { return wiq_memleak_balance(); }
    /** Returns how many allocations were made through the hooks. */
    i32 count() const noexcept { return wiq_memleak_count(); }

  private:
    hook_scope before_;
};

/** @} */

}  // namespace ke

#endif
