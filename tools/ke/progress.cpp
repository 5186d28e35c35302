// See progress.h.
#include "progress.h"

#include <cstdio>
#include <utility>

#include "platform.h"

namespace tool {

namespace {

constexpr u64 kStep = u64{1024} * 1024;

}  // namespace

Progress::Progress(std::string name, u64 total, const Common& common)
    : name_(std::move(name)),
      total_(total),
      shown_(!common.quiet && stderr_is_terminal()),
      next_(kStep),
      start_(std::chrono::steady_clock::now()) {}

Progress::~Progress() {
    if (!drawn_)
        return;
    fputs("\r\033[K", stderr);
    fflush(stderr);
}

void Progress::draw(u64 done) {
    next_ = done + kStep;
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start_;
    const double mb = static_cast<double>(done) / 1e6;
    const double rate = passed.count() > 0 ? mb / passed.count() : 0;
    if (total_ != 0) {
        fprintf(stderr, "\r\033[Kke: reading %s %3.0f %% %.0f MB/s", name_.c_str(),
                100.0 * static_cast<double>(done) / static_cast<double>(total_), rate);
    } else {
        fprintf(stderr, "\r\033[Kke: reading %s %.0f MB %.0f MB/s", name_.c_str(), mb, rate);
    }
    fflush(stderr);
    drawn_ = true;
}

}  // namespace tool
