// libuv's mutex inside the opaque record that the public headers declare for it.
#pragma once

#include <uv.h>

#include "ke_utils/types.h"

namespace ke::os {

static_assert(sizeof(wiq_mutex) == sizeof(uv_mutex_t));
static_assert(alignof(wiq_mutex) >= alignof(uv_mutex_t));

inline uv_mutex_t* uv_mutex(wiq_mutex* mutex) {
    return reinterpret_cast<uv_mutex_t*>(mutex);
}

// Holds a mutex until the end of its scope.
class MutexLock {
  public:
    explicit MutexLock(wiq_mutex* mutex) : mutex_(uv_mutex(mutex)) { uv_mutex_lock(mutex_); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;
    ~MutexLock() { uv_mutex_unlock(mutex_); }

  private:
    uv_mutex_t* mutex_;
};

}  // namespace ke::os
