// tmpfile() for tests that run side by side. Wine's one fails if another process makes a file of the same name at the
// same instant, and finds another name when it is called again.
#pragma once

#include <cstdio>

inline FILE* temporary_stream() {
    FILE* stream = nullptr;
    for (int tries = 0; stream == nullptr && tries < 20; ++tries)
        stream = tmpfile();
    return stream;
}
