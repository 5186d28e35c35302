// A stream that shows a text in parts, like a runtime that reads into a buffer of a certain size. The runtime of Windows
// does not show its buffers, so the reader of streams is tested with this.
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
    size_t first = 0;   // where the bytes in the buffer begin
    size_t filled = 0;  // and where they end
    std::string buffer = {};
    int locks = 0;
};

// The stream functions that BasicStreamReader requires.
struct StretchStream {
    Stretches* from;

    void lock() const { ++from->locks; }
    void unlock() const { --from->locks; }
    int getc() const {
        if (from->at == from->text.size())
            return EOF;
        if (from->at == from->filled) {
            from->first = from->at;
            from->filled = std::min(from->at + from->size, from->text.size());
            // The end of another number follows, so that a reader that reads too far finds wrong numbers.
            from->buffer = from->text.substr(from->first, from->filled - from->first) + "7,";
        }
        return static_cast<unsigned char>(from->text[from->at++]);
    }
    ke::os::BufferedBytes buffered() const {
        const char* const bytes = from->buffer.data();
        return {bytes + (from->at - from->first), bytes + (from->filled - from->first)};
    }
    void skip(const char* end) const {
        const auto to = from->first + static_cast<size_t>(end - from->buffer.data());
        EXPECT_TRUE(to >= from->at && to <= from->filled)
            << "from " << from->at << " to " << to << " of " << from->filled;
        from->at = to;
    }
};

using StretchReader = ke::json::BasicStreamReader<StretchStream>;
