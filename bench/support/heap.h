// Bytes of heap in use, counted alike for every library: the chunks of the C runtime's allocator with their
// headers.
#pragma once

#include <malloc.h>

#include <cstddef>
#include <cstdlib>
#include <thread>

inline size_t heap_in_use() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// Returns how many more bytes are in use after make(). It runs on a new thread: what a thread has freed lately stays
// in its cache and counts as in use, so blocks that come from there would seem to cost nothing.
template <class Make>
size_t heap_of(Make make) {
    size_t bytes = 0;
    std::thread([&] {
        free(malloc(1));  // makes the cache
        const size_t before = heap_in_use();
        make();
        bytes = heap_in_use() - before;
    }).join();
    return bytes;
}
