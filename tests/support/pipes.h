// A pipe as a pair of streams, for tests of input that ends or breaks off in the middle. Binary on both
// platforms.
#pragma once

#include <fcntl.h>

#include <csignal>
#include <cstdio>
#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

struct Pipe {
    // The system decides how much a pipe holds; only Windows uses `size`.
    explicit Pipe([[maybe_unused]] unsigned size = 4096) {
        int ends[2] = {-1, -1};
#ifdef _WIN32
        const bool made = _pipe(ends, size, _O_BINARY) == 0;
#else
        const bool made = pipe(ends) == 0;
#endif
        if (made) {
            reader = fdopen(ends[0], "rb");
            writer = fdopen(ends[1], "wb");
        }
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        close(&reader);
        close(&writer);
    }

    // Returns false if buffered data could not be written.
    static bool close(FILE** end) {
        const bool closed = *end == nullptr || fclose(*end) == 0;
        *end = nullptr;
        return closed;
    }

    FILE* reader = nullptr;
    FILE* writer = nullptr;
};

// While this object lives, a write to a pipe without a reader fails instead of raising a signal.
class NoPipeSignal {
  public:
#ifdef _WIN32
    NoPipeSignal() = default;
#else
    NoPipeSignal() : before_(signal(SIGPIPE, SIG_IGN)) {}
    NoPipeSignal(const NoPipeSignal&) = delete;
    NoPipeSignal& operator=(const NoPipeSignal&) = delete;
    ~NoPipeSignal() {
        signal(SIGPIPE, before_);
    }

  private:
    void (*before_)(int);
#endif
};
