// A tmpfile() for tests that run in parallel. Wine's tmpfile() fails if another process creates a file of the
// same name at the same moment; when it is called again, it finds another name.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

inline FILE* temporary_stream() {
    FILE* stream = nullptr;
    for (int tries = 0; stream == nullptr && tries < 20; ++tries)
        stream = tmpfile();
    return stream;
}

// The same, with this content, and at its start.
inline FILE* stream_of(const std::string& content) {
    FILE* stream = temporary_stream();
    EXPECT_NE(stream, nullptr);
    if (stream != nullptr) {
        EXPECT_EQ(fwrite(content.data(), 1, content.size(), stream), content.size());
        rewind(stream);
    }
    return stream;
}
