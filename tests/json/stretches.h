// A stream that shows a text a stretch at a time, as a runtime does that reads it into a buffer of a certain size. The
// runtime of Windows does not show its buffers, so this is how the reader of streams is tested there.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>

#include "json/read/stream_reader.h"

struct Stretches {
    std::string text;
    size_t size;  // of the buffer
    size_t at = 0;
    size_t filled = 0;  // where the bytes in the buffer end
    int locks = 0;
};

// What BasicStreamReader asks of a stream.
struct StretchStream {
    Stretches* from;

    void lock() const { ++from->locks; }
    void unlock() const { --from->locks; }
    int getc() const {
        if (from->at == from->text.size())
            return EOF;
        if (from->at == from->filled)
            from->filled = std::min(from->at + from->size, from->text.size());
        return static_cast<unsigned char>(from->text[from->at++]);
    }
    ke::os::BufferedBytes buffered() const {
        return {from->text.data() + from->at, from->text.data() + from->filled};
    }
    void skip(const char* end) const {
        const auto to = static_cast<size_t>(end - from->text.data());
        EXPECT_TRUE(to >= from->at && to <= from->filled)
            << "from " << from->at << " to " << to << " of " << from->filled;
        from->at = to;
    }
};

using StretchReader = ke::json::BasicStreamReader<StretchStream>;
