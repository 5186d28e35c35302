// Bytes of heap in use, counted alike for every library: the chunks of the C runtime's allocator with their
// headers.
#pragma once

#include <malloc.h>

#include <cstddef>

inline size_t heap_in_use() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}
