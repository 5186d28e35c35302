// A pipe as a pair of streams, for tests of what ends or breaks in the middle. Binary on both platforms.
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
    // How much a pipe holds is the system's business, except on Windows.
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

    // False if what was still buffered could not be written.
    static bool close(FILE** end) {
        const bool closed = *end == nullptr || fclose(*end) == 0;
        *end = nullptr;
        return closed;
    }

    FILE* reader = nullptr;
    FILE* writer = nullptr;
};

// A write to a pipe that nobody reads is a failure while this lives, not a signal.
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
