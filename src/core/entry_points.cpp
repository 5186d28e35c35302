// Sleeping, the clock and loading modules: each is a plain function, and a slot that callers may
// fill with a function of their own. The library itself calls the plain functions and never reads
// the slots.

#include <uv.h>

#include "core/exports.h"
#include "ke_utils/core.h"
#include "os/module.h"
#include "os/os.h"

// wiq_lib is libuv's record under another name, so that callers need no header of libuv. The casts
// below rely on it.
static_assert(sizeof(wiq_lib) == sizeof(uv_lib_t));
static_assert(offsetof(wiq_lib, handle) == offsetof(uv_lib_t, handle));
static_assert(offsetof(wiq_lib, errmsg) == offsetof(uv_lib_t, errmsg));

namespace {

uv_lib_t* uv_lib(wiq_lib* lib) {
    return reinterpret_cast<uv_lib_t*>(lib);
}

}  // namespace

KE_SLOT void (*wiq_sleep_real_ptr)(u32 ms) = wiq_sleep_real;
KE_SLOT i64 (*wiq_time_real_ptr)(i64* t) = wiq_time_real;
KE_SLOT i32 (*wiq_gmtime_real_ptr)(const i64* t, struct tm* out) = wiq_gmtime_real;
KE_SLOT i32 (*wiq_dlopen_real_ptr)(const char* path, wiq_lib* lib) = wiq_dlopen_real;
KE_SLOT void (*wiq_dlclose_real_ptr)(wiq_lib* lib) = wiq_dlclose_real;
KE_SLOT i32 (*wiq_dlsym_real_ptr)(wiq_lib* lib, const char* name, void** sym) = wiq_dlsym_real;

void wiq_sleep_real(u32 ms) {
    ke::os::sleep_ms(ms);
}

i64 wiq_time_real(i64* t) {
    const i64 now = ke::os::unix_time();
    if (t != nullptr)
        *t = now;
    return now;
}

i32 wiq_gmtime_real(const i64* t, struct tm* out) {
    if (t == nullptr || out == nullptr || !ke::os::utc_time(*t, out))
        return WIQ_ERR_TIME_CONVERSION;
    return 0;
}

i32 wiq_dlopen_real(const char* path, wiq_lib* lib) {
    if (path == nullptr || lib == nullptr)
        return WIQ_ERR_INVALID_ARG;
    if (ke::os::open_module(path, uv_lib(lib)) == 0)
        return 0;
    // This releases the error text, too: a record that failed to open holds nothing.
    uv_dlclose(uv_lib(lib));
    return WIQ_ERR_DLOPEN;
}

void wiq_dlclose_real(wiq_lib* lib) {
    if (lib != nullptr)
        uv_dlclose(uv_lib(lib));
}

i32 wiq_dlsym_real(wiq_lib* lib, const char* name, void** sym) {
    if (sym != nullptr)
        *sym = nullptr;
    if (lib == nullptr || name == nullptr || sym == nullptr)
        return WIQ_ERR_INVALID_ARG;
    if (uv_dlsym(uv_lib(lib), name, sym) == 0)
        return 0;
    *sym = nullptr;
    return WIQ_ERR_DLSYM;
}
