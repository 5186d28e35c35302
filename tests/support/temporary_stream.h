// A tmpfile() for tests that run in parallel. Wine's tmpfile() fails if another process creates a file of the
// same name at the same moment; when it is called again, it finds another name.
#pragma once

#include <cstdio>

inline FILE* temporary_stream() {
    FILE* stream = nullptr;
    for (int tries = 0; stream == nullptr && tries < 20; ++tries)
        stream = tmpfile();
    return stream;
}
