// A stream that is locked and read in bulk: the visible part of its buffer holds the bytes that are read next.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "os/os.h"
#include "support/temporary_stream.h"

namespace {

using namespace ke::os;

TEST(Stream, TheBufferHoldsTheNextBytes) {
    std::string text;
    for (int i = 0; i < 3000; ++i)
        text += std::to_string(i);
    FILE* fp = stream_of(text);
    ASSERT_NE(fp, nullptr);
    lock_stream(fp);
    EXPECT_EQ(buffered_bytes(fp).first, buffered_bytes(fp).last) << "before anything was read";
    std::string read;
    for (size_t most = 0; read.size() != text.size(); ++most) {
        const int c = getc_locked(fp);
        ASSERT_NE(c, EOF);
        read += static_cast<char>(c);
        // A runtime that does not show its buffer shows an empty one, of which nothing can be skipped.
        const BufferedBytes bytes = buffered_bytes(fp);
        const char* end = std::min(bytes.last, bytes.first + most);
        read.append(bytes.first, end);
        skip_buffered(fp, end);
        ASSERT_EQ(stream_position(fp), static_cast<i64>(read.size()));
    }
    EXPECT_EQ(getc_locked(fp), EOF);
    EXPECT_EQ(buffered_bytes(fp).first, buffered_bytes(fp).last) << "at the end";
    unlock_stream(fp);
    EXPECT_EQ(read, text);
    fclose(fp);
}

}  // namespace
