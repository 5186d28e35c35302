// Bytes of heap in use, counted in the same way for every library: the chunks of the C runtime's allocator,
// including their headers.
#pragma once

#include <malloc.h>

#include <cstddef>
#include <cstdlib>
#include <thread>

inline size_t heap_in_use() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// Returns how many more bytes are in use after make(), which runs on a new thread: blocks that a thread has
// freed recently stay in its cache and count as in use, so blocks taken from there would appear to cost
// nothing.
template <class Make>
size_t heap_of(Make make) {
    size_t bytes = 0;
    std::thread([&] {
        free(malloc(1));  // creates the cache
        const size_t before = heap_in_use();
        make();
        bytes = heap_in_use() - before;
    }).join();
    return bytes;
}
