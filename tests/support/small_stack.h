// Runs part of a test on a thread with a small stack, on both platforms; a function that recurses over a
// document would overflow it. Programs that use this header link ke_libuv.
#pragma once

#include <uv.h>

#include "support/pch.h"

constexpr int kSmallStack = 256 * 1024;

template <class Body>
void run_on_small_stack(Body body) {
    uv_thread_options_t options = {};
    options.flags = UV_THREAD_HAS_STACK_SIZE;
    options.stack_size = static_cast<size_t>(kSmallStack);
    uv_thread_t thread;
    const auto entry = [](void* arg) { (*static_cast<Body*>(arg))(); };
    ASSERT_EQ(uv_thread_create_ex(&thread, &options, entry, &body), 0);
    ASSERT_EQ(uv_thread_join(&thread), 0);
}
